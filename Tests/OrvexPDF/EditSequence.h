// Sequences of edits as data: made at random, described, and cut down to what matters.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace orvex::test {

enum class EditKind {
    insertPage,
    insertImage,
    insertDocument,
    remove,
    removeByPage,
    replace,
    replaceForced,
    move,
    rotate,
    updateMeta,
    batch,
    undo,
    redo
};

/// Numbers are reduced to the document at hand when the edit is made, so that any part of a sequence is a sequence.
struct Edit {
    EditKind kind = EditKind::undo;
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    std::vector<Edit> parts; ///< of a batch
};
using Edits = std::vector<Edit>;

inline std::string describe(const Edits& edits) {
    static constexpr std::array names = {
        "insertPage", "insertImage", "insertDocument", "remove", "removeByPage", "replace", "replaceForced",
        "move",       "rotate",      "updateMeta",     "batch",  "undo",         "redo"};
    std::ostringstream text;
    for (const auto& edit : edits) {
        text << names.at(static_cast<std::size_t>(edit.kind)) << '(' << edit.a << ", " << edit.b;
        text << (edit.parts.empty() ? "" : ", {" + describe(edit.parts) + "}") << ") ";
    }
    return text.str();
}

/// Any edits; batches nest twice at most, and only outside them things are undone.
inline Edits randomEdits(std::mt19937& random, std::size_t count, int depth = 0) {
    static constexpr std::array inBatches = {EditKind::insertPage,    EditKind::insertImage, EditKind::insertDocument,
                                             EditKind::remove,        EditKind::remove,      EditKind::removeByPage,
                                             EditKind::replace,       EditKind::move,        EditKind::move,
                                             EditKind::replaceForced, EditKind::rotate,      EditKind::updateMeta};
    static constexpr std::array outside = {EditKind::undo, EditKind::undo, EditKind::redo, EditKind::batch};
    Edits edits(count);
    for (auto& edit : edits) {
        const auto choice = random() % (inBatches.size() + outside.size());
        edit.kind = choice < inBatches.size() ? inBatches[choice] : outside[choice - inBatches.size()];
        edit.kind = depth > 0 && choice >= inBatches.size() ? EditKind::batch : edit.kind;
        edit.kind = depth > 1 && edit.kind == EditKind::batch ? EditKind::remove : edit.kind;
        edit.a = static_cast<std::uint32_t>(random() % 1000);
        edit.b = static_cast<std::uint32_t>(random() % 1000);
        if (edit.kind == EditKind::batch) {
            edit.parts = randomEdits(random, random() % 4, depth + 1);
        }
    }
    return edits;
}

/// The shortest sequence reached by leaving out one edit, or one part of a batch, as long as it still fails.
inline Edits shrunk(Edits edits, const std::function<bool(const Edits&)>& fails) {
    for (bool shorter = true; shorter;) {
        shorter = false;
        for (std::size_t i = 0; i < edits.size() && !shorter; ++i) {
            std::vector<Edits> candidates(1, edits);
            candidates[0].erase(candidates[0].begin() + static_cast<std::ptrdiff_t>(i));
            for (std::size_t part = 0; part < edits[i].parts.size(); ++part) {
                candidates.push_back(edits);
                auto& parts = candidates.back()[i].parts;
                parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(part));
            }
            for (auto& candidate : candidates) {
                if (fails(candidate)) {
                    edits = std::move(candidate);
                    shorter = true;
                    break;
                }
            }
        }
    }
    return edits;
}

} // namespace orvex::test
