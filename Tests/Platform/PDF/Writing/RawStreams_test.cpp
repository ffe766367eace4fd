// Streams of loaded files, long enough to be written in one piece, as they come out of a saved file.
#include "Support/OpenDocument.h"
#include "Support/SavedDocument.h"

#include <gtest/gtest.h>

namespace orvex {
namespace {

struct Case {
    std::string name;
    std::string ahead;  ///< of the header
    std::string begin;  ///< of the stream
    std::string end;    ///< of the stream
    std::string length; ///< as the dictionary states it; empty: as it is
};

class LongStream : public testing::TestWithParam<Case> {
protected:
    /// Bytes that no end of line and no "endstream" is mistaken for.
    static std::string data() {
        std::string text;
        for (int i = 0; i < 6000; ++i) {
            text += std::to_string(i * 7919 % 100000) + " ";
        }
        return text;
    }
};

TEST_P(LongStream, IsSavedAsItIs) {
    const auto& given = GetParam();
    const std::string length = given.length.empty() ? std::to_string(data().size()) : given.length;
    const std::string file = test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R /Kept 4 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 100] >>",
         "<< /Length " + length + " >>\n" + given.begin + data() + given.end + "endstream",
         std::to_string(data().size())});
    const auto document = test::opened(Bytes(given.ahead + file));
    const test::SavedDocument saved(*document);
    std::string kept =
        saved.tool("f() { qpdf --show-object=$(qpdf --show-object=1 \"$1\" | grep -o 'Kept [0-9]*' | cut -c6-) "
                   "--raw-stream-data \"$1\"; }; f");
    kept.erase(kept.find_last_not_of("\r\n") + 1); // where the length is a lie, the end of line is data
    EXPECT_EQ(kept, data());
    EXPECT_TRUE(test::opened(saved.bytes)->dataRepresentation() == saved.bytes);
}

INSTANTIATE_TEST_SUITE_P(Files, LongStream,
                         testing::Values(Case{"Plain", "", "stream\n", "\n", ""},
                                         Case{"CarriageReturns", "", "stream\r\n", "\r\n", ""},
                                         Case{"NoEndOfLine", "", "stream\n", "", ""},
                                         Case{"LengthElsewhere", "", "stream\n", "\n", "5 0 R"},
                                         Case{"LengthTooSmall", "", "stream\n", "\n", "20000"},
                                         Case{"LengthTooLarge", "", "stream\n", "\n", "2000000"},
                                         Case{"JunkAhead", "junk\n", "stream\n", "\n", ""}),
                         [](const auto& given) { return given.param.name; });

} // namespace
} // namespace orvex
