#include "EditModel.h"

#include <cstdlib>
#include <iostream>

namespace orvex::test {
namespace {

std::uint32_t numberFrom(const char* variable, std::uint32_t otherwise) {
    const char* text = std::getenv(variable);
    return text != nullptr ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : otherwise;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t usualCount = 300; // everything takes ten times as long
#else
constexpr std::uint32_t usualCount = 3000;
#endif

// ORVEX_EDIT_SEED and ORVEX_EDIT_COUNT choose other sequences, and more of them.
TEST(ManagerHistory, IsExactForAnySequenceOfEdits) {
    const auto seed = numberFrom("ORVEX_EDIT_SEED", 20240229);
    const auto sequences = numberFrom("ORVEX_EDIT_COUNT", usualCount);
    std::cout << "seed " << seed << ", " << sequences << " sequences" << std::endl;
    std::mt19937 random(seed);
    const auto file = fileOfPages(4);
    for (std::uint32_t i = 0; i < sequences; ++i) {
        const auto edits = randomEdits(random, 1 + random() % 12);
        const bool compareBytes = i % 10 == 0; // saving takes most of the time
        const auto failureOf = [&](const Edits& tried) { return EditRun(file).failureOf(tried, compareBytes); };
        if (failureOf(edits).empty()) {
            continue;
        }
        const auto shortest = shrunk(edits, [&](const Edits& tried) { return !failureOf(tried).empty(); });
        FAIL() << failureOf(shortest) << "\nsequence " << i << " of seed " << seed << ": " << describe(shortest);
    }
}

TEST(EditModel, ShrinksToWhatStillFails) {
    const auto edit = [](EditKind kind, Edits parts = {}) { return Edit{kind, 0, 0, std::move(parts)}; };
    const Edits edits = {edit(EditKind::move), edit(EditKind::batch, {edit(EditKind::rotate), edit(EditKind::remove)}),
                         edit(EditKind::undo), edit(EditKind::insertImage)};
    const auto holdsRotate = [](const Edits& tried) { return describe(tried).find("rotate") != std::string::npos; };
    EXPECT_EQ(describe(shrunk(edits, holdsRotate)), "batch(0, 0, {rotate(0, 0) }) ");
}

} // namespace
} // namespace orvex::test
