// Files whose objects are compressed together, as other people's readers find their way in them.
#include "Platform/PDF/Writing/ObjectPlaces_p.h"
#include "Support/OpenDocument.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>

#include <memory>

namespace orvex {
namespace {

using testing::HasSubstr;

struct Row {
    std::uint64_t kind;
    std::uint64_t place;
    std::uint64_t index;
    bool operator==(const Row&) const = default;
};

std::uint64_t number(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

/// Of a cross-reference stream's data, where each byte is the difference to the one above.
std::vector<Row> rowsOf(const std::string& data, std::size_t width) {
    std::vector<Row> rows;
    std::string row(width + 2, '\0');
    EXPECT_EQ(data.size() % (width + 3), 0U);
    for (std::size_t at = 0; at + width + 3 <= data.size(); at += width + 3) {
        EXPECT_EQ(data[at], 2);
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = static_cast<char>(row[i] + data[at + 1 + i]);
        }
        rows.push_back({number(row.substr(0, 1)), number(row.substr(1, width)), number(row.substr(width + 1))});
    }
    return rows;
}

TEST(CrossReferenceStream, HasColumnsAsWideAsTheFileIsLong) {
    const std::pair<std::size_t, std::size_t> cases[] = {
        {0, 1},          {255, 1},        {256, 2},        {65'535, 2},     {65'536, 3},
        {16'777'215, 3}, {16'777'216, 4}, {4294967295, 4}, {4294967296, 5}, {20'000'000'000, 5}};
    for (const auto& [position, width] : cases) {
        ObjectPlaces places;
        places.setLoose(2, position);
        places.setPacked(1, 3, 99);
        places.setLoose(3, position / 2);
        EXPECT_EQ(places.size(), 4U);
        EXPECT_THAT(places.streamEntries(), HasSubstr("/W [1 " + std::to_string(width) + " 1]"));
        EXPECT_THAT(places.streamEntries(), HasSubstr("/Columns " + std::to_string(width + 2) + " "));
        EXPECT_EQ(rowsOf(places.streamData(), width),
                  (std::vector<Row>{{0, 0, 0}, {2, 3, 99}, {1, position, 0}, {1, position / 2, 0}}))
            << position;
    }
}

std::shared_ptr<PDFDocument> blankPages(int count) {
    auto document = std::make_shared<PDFDocument>();
    for (int i = 0; i < count; ++i) {
        document->insertPage(std::make_shared<PDFPage>(), i);
    }
    return document;
}

TEST(PackedFile, OfManyObjectsHasSeveralStreamsOfThem) {
    const test::SavedDocument saved(*blankPages(250));
    EXPECT_THAT(saved.tool("pdfinfo"), HasSubstr("Pages:           250"));
    EXPECT_THAT(saved.tool("mutool pages"), HasSubstr("pagenum=\"250\""));
    EXPECT_EQ(saved.tool("f() { mutool show \"$1\" grep | grep -c '/Type/ObjStm'; }; f"), "3\n");
    EXPECT_EQ(test::opened(saved.bytes)->pageCount(), 250);
}

TEST(PackedFile, OfOnePageHasOne) {
    const test::SavedDocument saved(*blankPages(1));
    EXPECT_EQ(saved.tool("f() { mutool show \"$1\" grep | grep -c '/Type/ObjStm'; }; f"), "1\n");
}

TEST(PackedFile, HoldsObjectsLongerThanAStreamIsToGet) {
    const std::string text(100'000, 'x');
    const auto document = test::opened(Bytes(test::packedPDFFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R /A 4 0 R /B 5 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>", "(A" + text + ")", "(B" + text + ")"})));
    const test::SavedDocument saved(*document);
    EXPECT_THAT(saved.show("trailer/Root/A"), HasSubstr("(A" + text + ")"));
    EXPECT_THAT(saved.show("trailer/Root/B"), HasSubstr("(B" + text + ")"));
    EXPECT_LT(saved.bytes.size(), 4'000U);
}

} // namespace
} // namespace orvex
