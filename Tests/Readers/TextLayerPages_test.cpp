// The text layer on pages of files: turned ones, and boxes that do not start at the origin.
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"
#include "Support/TextLayerCase.h"

#include <gtest/gtest.h>

#include <sstream>

namespace orvex {
namespace {

using test::ExpectedItem;
using test::Reader;

/// A page of a file with the layer turned to match the page's rotation: found boxes are those of the page as shown.
struct LoadedPage {
    int rotation;
    Rect media;
    Rect crop;
};

const std::vector<LoadedPage> loadedPages = [] {
    const Rect plain{0, 0, 600, 800};
    const Rect offset{100, -200, 600, 800};
    std::vector<LoadedPage> pages;
    for (const int rotation : {0, 90, 180, 270}) {
        pages.push_back({rotation, plain, plain});
        pages.push_back({rotation, offset, offset});
        pages.push_back({rotation, offset, {140, -180, 550, 750}});
    }
    return pages;
}();

/// A size as it is shown.
Size turned(const Size& size, int rotation) {
    return rotation % 180 == 0 ? size : Size{size.height, size.width};
}

/// Where a rectangle of page space is shown in `view`, a box of the page, from the view's upper left corner.
Rect shown(const Rect& rect, const Rect& view, int rotation) {
    switch (rotation) {
    case 90:
        return {rect.y - view.y, rect.x - view.x, rect.height, rect.width};
    case 180:
        return {view.maxX() - rect.maxX(), rect.y - view.y, rect.width, rect.height};
    case 270:
        return {view.maxY() - rect.maxY(), view.maxX() - rect.maxX(), rect.height, rect.width};
    default:
        return {rect.x - view.x, view.maxY() - rect.maxY(), rect.width, rect.height};
    }
}

/// The rectangle of page space that is shown as `rect`.
Rect inPageSpace(const Rect& rect, const Rect& view, int rotation) {
    switch (rotation) {
    case 90:
        return {view.x + rect.y, view.y + rect.x, rect.height, rect.width};
    case 180:
        return {view.maxX() - rect.maxX(), view.y + rect.y, rect.width, rect.height};
    case 270:
        return {view.maxX() - rect.maxY(), view.maxY() - rect.maxX(), rect.height, rect.width};
    default:
        return {view.x + rect.x, view.maxY() - rect.maxY(), rect.width, rect.height};
    }
}

/// Readers show the crop box. Qt PDF gives PDFium's boxes in page space, upside down by the height of what is shown.
Rect asReported(const Rect& box, const LoadedPage& page, Reader reader) {
    const Rect rect = inPageSpace(box, page.media, page.rotation);
    if (reader == Reader::pdfium) {
        return {rect.x, turned(page.crop.size(), page.rotation).height - rect.maxY(), rect.width, rect.height};
    }
    return shown(rect, page.crop, page.rotation);
}

std::string boxEntry(const std::string& key, const Rect& box) {
    std::ostringstream out;
    out << key << " [" << box.x << ' ' << box.y << ' ' << box.maxX() << ' ' << box.maxY() << "]";
    return out.str();
}

std::vector<ExpectedItem> itemsOfLoadedPages() {
    const double height = 20;
    std::vector<ExpectedItem> items;
    double y = 100;
    for (const std::string line : {"A line of text", "and another one"}) {
        items.push_back({line, {90, y, test::naturalWidth(line, height), height}});
        y += 50;
    }
    return items;
}

std::shared_ptr<OrvexPDFDocument> documentOfLoadedPages() {
    std::vector<test::FixturePage> pages;
    for (const auto& page : loadedPages) {
        pages.push_back({"q 0 0 1 rg 200 300 9 9 re f Q", boxEntry("", page.media),
                         boxEntry("/CropBox", page.crop) + " /Rotate " + std::to_string(page.rotation)});
    }
    auto document = OrvexPDFDocument::fromData(test::pdfFromPages(pages));
    for (std::size_t i = 0; i < loadedPages.size(); ++i) {
        const auto page = document->orvexPage(static_cast<std::int64_t>(i));
        page->textRotation = loadedPages[i].rotation;
        page->foundPage =
            test::foundPage(itemsOfLoadedPages(), turned(loadedPages[i].media.size(), loadedPages[i].rotation));
    }
    return document;
}

class TextLayerPages : public testing::TestWithParam<Reader> {};

TEST_P(TextLayerPages, StandsRightOnTurnedAndOffsetPages) {
    ASSERT_TRUE(test::hasReader(GetParam())) << test::name(GetParam()) << " is not installed";
    const test::SavedDocument saved(*documentOfLoadedPages());
    const auto pages = test::read(GetParam(), saved.path());
    ASSERT_GE(pages.size(), loadedPages.size());
    for (std::size_t i = 0; i < loadedPages.size(); ++i) {
        const LoadedPage& page = loadedPages[i];
        test::TextLayerCase c{boxEntry("/CropBox", page.crop) + " turned by " + std::to_string(page.rotation),
                              itemsOfLoadedPages(),
                              {"A line of text", "and another one"}};
        for (auto& item : c.items) {
            item.box = asReported(item.box, page, GetParam());
        }
        test::expectReads(c, GetParam(), pages[i]);
    }
}

TEST(TextLayerPagesLook, IsTheSameWithAndWithoutTheLayer) {
    ASSERT_TRUE(test::hasReader(Reader::poppler) && test::hasReader(Reader::mupdf));
    const auto bare = documentOfLoadedPages();
    for (const auto& page : bare->orvexPages()) {
        page->foundPage = nullptr;
    }
    test::expectSamePixels(*documentOfLoadedPages(), *bare);
}

INSTANTIATE_TEST_SUITE_P(InEveryReader, TextLayerPages,
                         testing::Values(Reader::poppler, Reader::popplerLayout, Reader::mupdf, Reader::ghostscript,
                                         Reader::pdfium, Reader::pdfjs),
                         [](const auto& instance) {
                             std::string name = test::name(instance.param);
                             std::erase(name, '-');
                             return name;
                         });
} // namespace
} // namespace orvex
