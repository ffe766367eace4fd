// What is read of pages from the file's bytes is what the parser reads, and nothing of it is kept.
#include "Platform/PDF/Loading/PageTexts_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Reading/ContentBytes_p.h"
#include "Platform/PDF/Reading/PageText_p.h"
#include "Support/PDFFixture.h"
#include "Support/Places.h"

#include <qpdf/QPDFWriter.hh>

#include <gtest/gtest.h>

#include <malloc.h> // mallinfo2 is glibc's

namespace orvex {
namespace {

constexpr std::size_t unlimited = std::size_t{1} << 40;

std::string unpacked(const std::vector<StoredStream>& streams) {
    ContentBuffer buffer;
    unpack(streams, unlimited, buffer);
    return std::string(buffer.text());
}

struct Counts {
    int pages = 0;
    int plain = 0;    ///< whose attributes could be read
    int contents = 0; ///< whose content could be taken too
};

/// Every page's boxes, resources and content, from its text against from the parse.
Counts expectReadAsParsed(const Bytes& file) {
    const auto source = PDFSource::open(file, {});
    const auto other = source->reopen();
    const auto pages = source->pagesOf(*other);
    Counts counts{source->pageCount()};
    for (int i = 0; i < source->pageCount(); ++i) {
        SCOPED_TRACE("page " + std::to_string(i + 1));
        auto parsed = pages[static_cast<std::size_t>(i)];
        for (const auto box : {PDFDisplayBox::media, PDFDisplayBox::crop, PDFDisplayBox::bleed, PDFDisplayBox::trim,
                               PDFDisplayBox::art}) {
            EXPECT_EQ(source->box(i, box), pageBox(parsed, box));
        }
        EXPECT_EQ(source->rotation(i), pageRotation(parsed));
        PageText text;
        if (!source->readPage(i, PageTexts::Wanted::boxesAndResources, text)) {
            continue;
        }
        ++counts.plain;
        auto attributes = QPDFObjectHandle::parse(other.get(), text.attributes);
        EXPECT_EQ(attributes.getKey("/Resources").unparseResolved(),
                  inheritedAttribute(parsed, "/Resources").unparseResolved());
        if (const auto streams = storedStreams(*source, text.object, unlimited)) {
            ++counts.contents;
            EXPECT_EQ(unpacked(*streams),
                      unpacked(storedStreams(*source, source->page(i).getKey("/Contents"), unlimited)));
        }
    }
    return counts;
}

struct Case {
    std::string name;
    std::vector<std::string> objects; ///< from object 2, the root of the tree
    bool plain = true;
    bool contents = true;
};

void PrintTo(const Case& given, std::ostream* out) {
    *out << given.name;
}

class PageInItsWords : public testing::TestWithParam<Case> {};

TEST_P(PageInItsWords, IsAsTheParserReadsIt) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>"};
    bodies.insert(bodies.end(), GetParam().objects.begin(), GetParam().objects.end());
    const Counts counts = expectReadAsParsed(Bytes(test::pdfFromObjects(bodies)));
    EXPECT_EQ(counts.pages, 1);
    EXPECT_EQ(counts.plain, GetParam().plain ? 1 : 0);
    EXPECT_EQ(counts.contents, GetParam().contents ? 1 : 0);
}

std::string rootWith(const std::string& more) {
    return "<< /Type /Pages /Count 1 /Kids [3 0 R] " + more + " >>";
}

std::string pageWith(const std::string& more) {
    return "<< /Type /Page /Parent 2 0 R " + more + " >>";
}

const std::string content = test::streamBody("q 1 0 0 1 0 0 cm Q");

INSTANTIATE_TEST_SUITE_P(
    Attributes, PageInItsWords,
    testing::Values(
        Case{"Nothing", {rootWith(""), pageWith("")}},
        Case{"OwnBoxes",
             {rootWith("/MediaBox [0 0 1 1]"),
              pageWith("/MediaBox [300 200 10 20] /CropBox[11 21.5 100 100] /TrimBox [20 30 40 50] "
                       "/BleedBox [0 0 999 999] /ArtBox [1 2 3]")}},
        Case{"InheritedBoxes", {rootWith("/MediaBox [0 0 50 60] /CropBox [5 5 20 20]"), pageWith("")}},
        Case{"FromTwoLevels",
             {"<< /Type /Pages /Kids [4 0 R] /MediaBox [0 0 50 60] /Resources << /A 1 >> >>",
              "<< /Type /Page /Parent 4 0 R >>",
              "<< /Type /Pages /Parent 2 0 R /Kids [3 0 R] /CropBox [5 5 20 20] >>"}},
        Case{"BoxOfReals", {rootWith(""), pageWith("/MediaBox [+1.5 -.25 100. 0200.125]")}},
        Case{"BoxOfWhatIsNoNumber", {rootWith(""), pageWith("/MediaBox [0 0 (9) 9]")}},
        Case{"BoxOfFive", {rootWith(""), pageWith("/MediaBox [0 0 9 9 9]")}},
        Case{"BoxOfThree", {rootWith(""), pageWith("/MediaBox [0 0 9]")}},
        Case{"BoxOfHugeNumbers", {rootWith(""), pageWith("/MediaBox [0 0 99999999999 9]")}},
        Case{"BoxOfReferences", {rootWith(""), pageWith("/MediaBox [0 0 4 0 R 9]"), "80"}},
        Case{"BoxWithoutExtent", {rootWith(""), pageWith("/MediaBox [5 5 5 9]")}},
        Case{"BoxElsewhere", {rootWith(""), pageWith("/MediaBox 4 0 R"), "[0 0 70 80]"}},
        Case{"BoxNull", {rootWith("/MediaBox [0 0 50 60]"), pageWith("/MediaBox null")}, false, false},
        Case{"BoxTwice", {rootWith(""), pageWith("/MediaBox [0 0 5 6] /MediaBox [0 0 7 8]")}, false, false},
        Case{"TrimBoxTwice", {rootWith(""), pageWith("/TrimBox [0 0 5 6] /TrimBox [0 0 7 8]")}, false, false},
        Case{"ParentMissing", {rootWith("/MediaBox [0 0 5 6]"), "<< /Type /Page /Parent 9 0 R >>"}, false, false},
        Case{"NoParent", {rootWith("/MediaBox [0 0 5 6]"), "<< /Type /Page >>"}},
        Case{"ParentNoReference", {rootWith(""), "<< /Type /Page /Parent << /MediaBox [0 0 5 6] >> >>"}, false, false},
        Case{"ParentALoop",
             {rootWith(""), "<< /Type /Page /Parent 4 0 R >>", "<< /Type /Pages /Parent 4 0 R /MediaBox [0 0 5 6] >>"}},
        Case{"ParentACommentedNode",
             {rootWith(""), "<< /Type /Page /Parent 4 0 R >>", "<< /MediaBox [0 0 5 6] % >>\n >>"},
             false,
             false},
        Case{"ResourcesElsewhere",
             {rootWith("/Resources 4 0 R"), pageWith(""), "<< /Font << /F1 5 0 R >> >>", "<< /Type /Font >>"}},
        Case{"LongResourcesElsewhere",
             {rootWith("/Resources 4 0 R"), pageWith(""), "<< /Names (" + std::string(9000, 'x') + ") >>"}},
        Case{"ResourcesOfAnotherKind", {rootWith(""), pageWith("/Resources 4 0 R"), "[1 2 3]"}}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Contents, PageInItsWords,
    testing::Values(
        Case{"OneStream", {rootWith(""), pageWith("/Contents 4 0 R"), content}},
        Case{"Streams", {rootWith(""), pageWith("/Contents [4 0 R 5 0 R 4 0 R]"), content, content}},
        Case{"NoStreams", {rootWith(""), pageWith("/Contents []")}},
        Case{"LengthElsewhere",
             {rootWith(""), pageWith("/Contents 4 0 R"), "<< /Length 5 0 R >>\nstream\r\nq Q\r\nendstream", "3"}},
        Case{"LengthThatLies",
             {rootWith(""), pageWith("/Contents 4 0 R"), "<< /Length 2 >>\nstream\nq Q\nendstream"},
             true,
             false},
        Case{"LengthNegative",
             {rootWith(""), pageWith("/Contents 4 0 R"), "<< /Length -2 >>\nstream\nq Q\nendstream"},
             true,
             false},
        Case{"LengthHuge",
             {rootWith(""), pageWith("/Contents 4 0 R"), "<< /Length 999999999 >>\nstream\nq Q\nendstream"},
             true,
             false},
        Case{"OtherFilter",
             {rootWith(""), pageWith("/Contents 4 0 R"), test::streamBody("7120>", "/Filter /ASCIIHexDecode ")},
             true,
             false},
        Case{"NoFilters",
             {rootWith(""), pageWith("/Contents 4 0 R"), test::streamBody("q Q", "/Filter [] ")},
             true,
             false},
        Case{"ArrayElsewhere", {rootWith(""), pageWith("/Contents 5 0 R"), content, "[4 0 R]"}, true, false},
        Case{"Missing", {rootWith(""), pageWith("/Contents 9 0 R")}, true, false},
        Case{"NoStream", {rootWith(""), pageWith("/Contents 4 0 R"), "<< /Length 3 >>"}, true, false},
        Case{"Twice", {rootWith(""), pageWith("/Contents 4 0 R /Contents []"), content}, true, false}),
    testing::PrintToStringParamName());

/// Pages with everything of their own, fonts apart.
Bytes longFile(int pages) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>", "",
                                    "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"};
    std::string kids;
    for (int i = 0; i < pages; ++i) {
        const auto reference = [&](std::size_t ahead) { return std::to_string(bodies.size() + ahead) + " 0 R "; };
        kids += reference(1);
        bodies.push_back(
            pageWith("/MediaBox [0 0 612 792] /Contents [" + reference(2) + "] /Resources " + reference(3)));
        bodies.push_back(test::streamBody(test::showing("Page " + std::to_string(i + 1)) + " /Im Do"));
        bodies.push_back("<< /Font << /F1 3 0 R >> /XObject << /Im " + reference(2) + ">> >>");
        bodies.push_back(test::streamBody("\x80", "/Subtype /Image /Width 1 /Height 1 /ColorSpace /DeviceGray "));
    }
    bodies[1] = "<< /Type /Pages /Count " + std::to_string(pages) + " /Kids [" + kids + "] >>";
    return Bytes(test::pdfFromObjects(bodies));
}

Bytes inObjectStreams(const Bytes& file) {
    QPDF pdf;
    pdf.processMemoryFile("input", reinterpret_cast<const char*>(file.data()), file.size());
    QPDFWriter writer(pdf);
    writer.setOutputMemory();
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.write();
    const auto buffer = writer.getBufferSharedPointer();
    return Bytes::copyOf({buffer->getBuffer(), buffer->getSize()});
}

TEST(PageTexts, AreThoseOfPagesInObjectStreams) {
    const Counts counts = expectReadAsParsed(inObjectStreams(longFile(300)));
    EXPECT_EQ(counts.contents, 300);
}

TEST(PageTexts, AreLeftToTheParserWhenPagesLieAboutInManyStreams) {
    const auto source = PDFSource::open(inObjectStreams(longFile(2000)), {});
    PageText text;
    int plain = 0;
    for (int i = 0; i < source->pageCount(); ++i) {
        plain += source->readPage(i * 601 % source->pageCount(), PageTexts::Wanted::boxes, text) ? 1 : 0;
    }
    EXPECT_GT(plain, 64);
    EXPECT_LT(plain, 200);
    EXPECT_EQ(source->box(1234, PDFDisplayBox::media), (Rect{0, 0, 612, 792}));
    const auto inOrder = PDFSource::open(source->bytes(), {});
    for (int pass = 0; pass < 3; ++pass) {
        for (int i = 0; i < inOrder->pageCount(); ++i) {
            ASSERT_TRUE(inOrder->readPage(i, PageTexts::Wanted::boxes, text));
        }
    }
}

/// Heap that is in use.
std::size_t heap() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void readPages(const PDFSource& source, int from, int to) {
    for (int i = from; i < to; ++i) {
        const auto lines = readTextLines(source, i);
        ASSERT_EQ(lines.size(), 1U);
        ASSERT_EQ(lines[0].text, "Page " + std::to_string(i + 1));
        ASSERT_EQ(source.box(i, PDFDisplayBox::crop), (Rect{0, 0, 612, 792}));
    }
}

TEST(PageTexts, LeaveNothingOfThePagesBehind) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's allocator does not count";
#endif
    constexpr int pages = 2000;
    constexpr std::size_t perPage = 400; // qpdf notes the picture that a page names; a page that it parsed takes 5,000
    for (const Bytes& file : {longFile(pages), inObjectStreams(longFile(pages))}) {
        const auto source = PDFSource::open(file, {});
        readPages(*source, 0, 100);
        const std::size_t before = heap();
        readPages(*source, 100, pages);
        EXPECT_LT(heap(), before + pages * perPage);
    }
}

TEST(PageTexts, AreTheParsersForRealFiles) {
    const auto files = test::sharedPDFs(12);
    if (files.empty()) {
        GTEST_SKIP() << "no shared files here";
    }
    Counts sum;
    for (const auto& path : files) {
        SCOPED_TRACE(path.filename().string());
        try {
            const Counts counts = expectReadAsParsed(readFile(path));
            sum = {sum.pages + counts.pages, sum.plain + counts.plain, sum.contents + counts.contents};
        } catch (const PDFOpenError&) { // nothing to compare
        }
    }
    EXPECT_GT(sum.contents * 2, sum.pages) << "most pages are sound";
    RecordProperty("pages", sum.pages);
    RecordProperty("plain", sum.plain);
    RecordProperty("contents", sum.contents);
}

} // namespace
} // namespace orvex
