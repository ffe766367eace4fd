#include "Support/TextLayerCase.h"

#include "Platform/Text/Font.h"
#include "Support/Command.h"
#include "Support/SavedDocument.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace orvex::test {

namespace {

bool covers(const Rect& outer, const Rect& inner) {
    constexpr double tolerance = 0.3;
    return outer.x <= inner.x + tolerance && outer.maxX() >= inner.maxX() - tolerance &&
           outer.y <= inner.y + tolerance && outer.maxY() >= inner.maxY() - tolerance;
}

/// What lies on an item's box, where the order of the texts differs from the items' own.
std::vector<Match> lyingOn(const std::vector<ExpectedItem>& items, const std::vector<ReadPiece>& pieces) {
    std::vector<Match> matches;
    for (const auto& item : items) {
        std::optional<Rect> all;
        for (const auto& piece : pieces) {
            if (covers(item.box, {piece.box.midX(), piece.box.midY(), 0, 0})) {
                unite(all, piece.box);
            }
        }
        matches.push_back({item.box, all.value_or(Rect{}), item.text});
    }
    return matches;
}

void expectBoxes(const TextLayerCase& c, const std::vector<ReadPiece>& pieces, bool inOrder) {
    const auto matches = inOrder ? matched(c.items, pieces) : lyingOn(c.items, pieces);
    ASSERT_TRUE(matches) << "the boxes hold another text";
    for (const auto& [item, read, text] : *matches) {
        if (c.overlaps) {
            EXPECT_GE(overlap(item, read), 0.9) << text;
        } else {
            EXPECT_TRUE(covers(read, item)) << text;
        }
    }
}

Lines withoutBlanks(const Lines& lines) {
    Lines result;
    std::ranges::transform(lines, std::back_inserter(result), squeezed);
    return result;
}

bool holdsRightToLeft(const TextLayerCase& c) {
    return std::ranges::any_of(c.lines,
                               [](const auto& line) { return line.find_first_of("\xD6\xD7\xD8\xD9") != line.npos; });
}

/// Every page as pixels, one after the other.
std::string pixels(const SavedDocument& saved, const std::string& command) {
    const TempFolder folder;
    const std::string out = quoted((folder.path() / "page").string());
    const auto result = run(command + " " + out + " " + quoted(saved.path()) + " && cat " + out + "*");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return result.output;
}

} // namespace

double naturalWidth(const std::string& text, double height) {
    return Font::require("Helvetica")->lineWidth(text) * height;
}

std::shared_ptr<const OrvexFoundPage> foundPage(const std::vector<ExpectedItem>& items, Size size) {
    OrvexFoundPage page{OrvexFoundSize(size)};
    page.items.emplace();
    for (const auto& item : items) {
        page.items->emplace_back(item.text, OrvexFoundBox(item.box));
    }
    return std::make_shared<const OrvexFoundPage>(page);
}

void expectReads(const TextLayerCase& c, Reader reader, const ReadPage& page) {
    SCOPED_TRACE(c.name);
    const auto other = c.others.find(reader);
    if (other != c.others.end() && other->second.empty()) {
        return;
    }
    const Lines& expected = other == c.others.end() ? c.lines : other->second;
    if (c.butForBlanks.contains(reader)) {
        EXPECT_EQ(withoutBlanks(page.lines), withoutBlanks(expected));
    } else {
        EXPECT_EQ(page.lines, expected);
    }
    if (other == c.others.end() || holdsRightToLeft(c)) {
        expectBoxes(c, page.pieces, !holdsRightToLeft(c));
    }
}
void expectSamePixels(const PDFDocument& with, const PDFDocument& without) {
    const SavedDocument layered(with);
    const SavedDocument plain(without);
    const std::string poppler = R"(sh -c 'pdftoppm -r 72 "$1" "$0"')";
    const std::string mupdf = R"(sh -c 'mutool draw -q -r 72 -o "$0-%d.ppm" "$1"')";
    for (const auto& command : {poppler, mupdf}) {
        const std::string seen = pixels(layered, command);
        EXPECT_GT(seen.size(), 100'000U);
        EXPECT_TRUE(seen == pixels(plain, command)) << command;
    }
}

} // namespace orvex::test
