#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/FontsModule_p.h"
#include "Platform/Text/HarfBuzz_p.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>

namespace orvex {

namespace {

using HbBuffer = std::unique_ptr<hb_buffer_t, HbDestroy<hb_buffer_destroy>>;

/// An opened face; fonts and faces of the shaper may be used by several threads once they are made.
struct Face {
    explicit Face(const FontFile& file) {
        const HbBlob blob(hb_blob_create_from_file(file.path.c_str()));
        const HbFace face(hb_face_create(blob.get(), file.index));
        font.reset(hb_font_create(face.get()));
        unitsPerEm = std::max(1U, hb_face_get_upem(face.get()));
        hb_font_make_immutable(font.get());
    }
    [[nodiscard]] bool has(char32_t character) const {
        hb_codepoint_t glyph = 0;
        return hb_font_get_nominal_glyph(font.get(), character, &glyph) != 0;
    }
    HbFont font;
    double unitsPerEm = 1;
};

/// Faces and the choice of faces, for the life of the process.
class Faces {
public:
    static Faces& shared() {
        static Faces faces;
        return faces;
    }

    const Face& open(const FontFile& file) {
        const std::lock_guard lock(mutex_);
        return faces_.try_emplace(file, file).first->second;
    }

    /// An installed face for a character that the wanted face lacks.
    std::optional<FontFile> standIn(char32_t character, bool bold) {
        const std::lock_guard lock(mutex_);
        const auto [entry, isNew] = standIns_.try_emplace({character, bold});
        if (isNew) {
            entry->second = fontFileWith(character, bold);
        }
        return entry->second;
    }

private:
    std::mutex mutex_;
    std::map<FontFile, Face> faces_;
    std::map<std::pair<char32_t, bool>, std::optional<FontFile>> standIns_;
};

/// A line on its way to glyphs, character by character.
struct Line {
    std::u32string text;  ///< what it says
    std::u32string shown; ///< what is drawn for it: the same, or a box for what no face has
    std::vector<FontFile> files;
};

/// The face for each character: the wanted one where it can, and marks with what they stand on. Where no installed face
/// has a character, a box stands for it; many faces' own missing glyph is blank.
void chooseFiles(Line& line, const Font& font) {
    constexpr char32_t box = U'\u25A1';
    const FontFile own{font.path(), 0};
    const Face& wanted = Faces::shared().open(own);
    for (char32_t& character : line.shown) {
        const bool withPrevious = !line.files.empty() && takesNoRoom(character) &&
                                  (Faces::shared().open(line.files.back()).has(character) || !wanted.has(character));
        if (withPrevious) {
            line.files.push_back(line.files.back());
        } else if (wanted.has(character)) {
            line.files.push_back(own);
        } else if (auto other = Faces::shared().standIn(character, font.isBold())) {
            line.files.push_back(*other);
        } else {
            character = box;
            line.files.push_back(wanted.has(box) ? own : Faces::shared().standIn(box, font.isBold()).value_or(own));
        }
    }
}

/// A cluster's text goes to its first glyph: from its own start to the start of the cluster that follows in the text.
void giveText(ShapedRun& run, std::span<const hb_glyph_info_t> infos, std::u32string_view text, std::size_t end) {
    std::set<std::size_t> starts{end};
    for (const auto& info : infos) {
        starts.insert(info.cluster);
    }
    for (std::size_t i = 0; i < infos.size(); ++i) {
        if (i == 0 || infos[i - 1].cluster != infos[i].cluster) {
            const std::size_t from = infos[i].cluster;
            run.glyphs[i].text = text.substr(from, *starts.upper_bound(from) - from);
        }
    }
}

/// Glyphs of the characters from `start` on, `length` of them, all of one face and direction.
ShapedRun shapeRun(const Line& line, std::size_t start, std::size_t length, bool rightToLeft) {
    const FontFile& file = line.files[start];
    const Face& face = Faces::shared().open(file);
    const HbBuffer buffer(hb_buffer_create());
    hb_buffer_add_utf32(buffer.get(), reinterpret_cast<const std::uint32_t*>(line.shown.data()),
                        static_cast<int>(line.shown.size()), static_cast<unsigned>(start), static_cast<int>(length));
    hb_buffer_set_direction(buffer.get(), rightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_buffer_guess_segment_properties(buffer.get());
    hb_shape(face.font.get(), buffer.get(), nullptr, 0);

    unsigned count = 0;
    const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
    const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(buffer.get(), &count);
    ShapedRun run{file, {}};
    for (unsigned i = 0; i < count; ++i) {
        ShapedGlyph glyph;
        glyph.id = infos[i].codepoint;
        glyph.advance = positions[i].x_advance / face.unitsPerEm;
        glyph.ownAdvance = hb_font_get_glyph_h_advance(face.font.get(), glyph.id) / face.unitsPerEm;
        glyph.offset = {positions[i].x_offset / face.unitsPerEm, positions[i].y_offset / face.unitsPerEm};
        run.glyphs.push_back(std::move(glyph));
    }
    giveText(run, {infos, count}, line.text, start + length);
    return run;
}

void appendRuns(ShapedLine& shaped, const Line& line, const DirectionRun& direction) {
    std::vector<ShapedRun> runs;
    const std::size_t end = direction.start + direction.length;
    for (std::size_t start = direction.start; start < end;) {
        std::size_t next = start + 1;
        while (next < end && line.files[next] == line.files[start]) {
            ++next;
        }
        runs.push_back(shapeRun(line, start, next - start, direction.rightToLeft));
        start = next;
    }
    if (direction.rightToLeft) {
        std::ranges::reverse(runs);
    }
    std::ranges::move(runs, std::back_inserter(shaped.runs));
}

} // namespace

ShapedLine shaped(std::string_view utf8, const Font& font) {
    Line line;
    line.text = codePoints(utf8);
    line.shown = line.text;
    chooseFiles(line, font);
    ShapedLine shaped;
    for (const auto& direction : directionRuns(line.text)) {
        appendRuns(shaped, line, direction);
    }
    for (const auto& run : shaped.runs) {
        for (const auto& glyph : run.glyphs) {
            shaped.width += glyph.advance;
        }
    }
    return shaped;
}

} // namespace orvex
