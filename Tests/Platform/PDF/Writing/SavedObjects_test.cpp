// What was loaded is in the saved file: object by object, as qpdf reads both.
#include "SideBySide.h"
#include "Support/OpenDocument.h"
#include "Support/Pages.h"
#include "Support/Places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <vector>

namespace orvex {
namespace {

using test::parsed;
using test::SideBySide;

/// Everything, but for what tells of signatures, which do not hold any longer.
std::string differenceOfFiles(const Bytes& before, const Bytes& after) {
    const auto first = parsed(before);
    const auto second = parsed(after);
    return SideBySide().difference(first->getRoot(), second->getRoot(), {"/Perms", "/DSS"}) +
           SideBySide().difference(first->getTrailer(), second->getTrailer(),
                                   {"/Root", "/ID", "/Size", "/Prev", "/XRefStm", "/Encrypt", "/Index", "/W", "/Length",
                                    "/Filter", "/DecodeParms", "/Type"});
}

Bytes saved(const PDFDocument& document) {
    return document.dataRepresentation().value_or(Bytes());
}

/// In a file of these objects, be they packed or not.
void expectUnchanged(const std::vector<std::string>& objects) {
    for (const auto& file : {test::pdfFromObjects(objects), test::packedPDFFromObjects(objects)}) {
        const Bytes before = Bytes::copyOf(file);
        const Bytes after = saved(*test::opened(before));
        EXPECT_EQ(differenceOfFiles(before, after), "");
        EXPECT_TRUE(saved(*test::opened(after)) == after) << "saved again it is another file";
    }
}

std::vector<std::string> objectsKeeping(const std::string& value, const std::vector<std::string>& more = {}) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R /Kept " + value + " >>",
                                    "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 100] >>"};
    bodies.insert(bodies.end(), more.begin(), more.end());
    return bodies;
}

std::string fileKeeping(const std::string& value, const std::vector<std::string>& more) {
    return test::pdfFromObjects(objectsKeeping(value, more));
}

class SavedValue : public testing::TestWithParam<std::string> {};

TEST_P(SavedValue, IsWhatWasLoaded) {
    expectUnchanged(objectsKeeping(GetParam()));
    expectUnchanged(objectsKeeping("4 0 R", {GetParam()}));
    expectUnchanged(objectsKeeping("[/Before " + GetParam() + " << /In [" + GetParam() + "] >> 1]"));
}

INSTANTIATE_TEST_SUITE_P(Spelled, SavedValue,
                         testing::Values("null", "true", "false", "0", "-17", "+4", "1234567890123", "1.50", "-.5",
                                         "4.", "00012", "()", "(text)", "(a \\(b\\) \\\\ c\\n\\r\\t\\005)",
                                         "(nested (brackets) here)", "<>", "<00fF7>", "<FEFF00E40042>",
                                         "(\x80\xFF\x01)", "/Name", "/", "/With#20blank", "/With#23hash", "/Hash#23",
                                         "/#2FSlash", "/Stray#", "/\xC3\xA4", "[]", "<< >>",
                                         "<< /A#20b 1 /C#23 2 /#5B 3 >>", "[[[[]]] << /A << /B [] >> >>]",
                                         "<< /Gone 99 0 R /Here 1 >>", "[99 0 R 3 0 R 0 0 R 1]",
                                         "<< /Itself 1 0 R >>"));

TEST(SavedObjects, KeepStreamsHoweverTheyAreStored) {
    const std::string data = "some data\r\nendobj 5 0 obj";
    expectUnchanged(objectsKeeping("4 0 R", {test::streamBody(data)}));
    expectUnchanged(objectsKeeping("4 0 R", {test::streamBody("")}));
    expectUnchanged(objectsKeeping("[4 0 R 5 0 R]", {"<< /Length 5 0 R /A#20b (x) >>\nstream\n12345\nendstream", "5"}));
    expectUnchanged(objectsKeeping("4 0 R", {test::streamBody("4142>", "/Filter /ASCIIHexDecode /DecodeParms null")}));
    expectUnchanged(objectsKeeping("4 0 R", {"<< /Length 3 >>\nstream\nlonger than stated\nendstream"}));
}

TEST(SavedObjects, NestAsDeepAsTheyDid) {
    expectUnchanged(objectsKeeping(std::string(400, '[') + "1" + std::string(400, ']')));
}

TEST(SavedObjects, ThatNothingRefersToAreLeftOut) {
    const Bytes after = saved(*test::opened(Bytes(fileKeeping("5 0 R", {"(unused)", "[6 0 R]", "(used)"}))));
    EXPECT_EQ(after.text().find("(unused)"), std::string_view::npos);
    EXPECT_NE(after.text().find("(used)"), std::string_view::npos);
    EXPECT_EQ(parsed(after)->getObjectCount(), 5U);
}

TEST(SavedObjects, OfRevisedFilesAreTheLatest) {
    std::string file = fileKeeping("4 1 R", {"(first)"});
    const std::size_t table = file.rfind("xref\n", file.rfind("trailer"));
    const std::size_t object = file.size();
    file += "4 1 obj\n(second)\nendobj\n";
    const std::size_t latest = file.size();
    std::string place = std::to_string(object);
    place.insert(0, 10 - place.size(), '0');
    file += "xref\n4 1\n" + place + " 00001 n \ntrailer\n<< /Root 1 0 R /Size 5 /Prev " + std::to_string(table) +
            " >>\nstartxref\n" + std::to_string(latest) + "\n%%EOF\n";
    const Bytes before = Bytes::copyOf(file);
    const Bytes after = saved(*test::opened(before));
    EXPECT_EQ(differenceOfFiles(before, after), "");
    EXPECT_EQ(after.text().find("(first)"), std::string_view::npos);
    EXPECT_EQ(after.text().find("/Prev"), std::string_view::npos);
}

std::vector<std::string> idsOf(const Bytes& file) {
    auto ids = parsed(file)->getTrailer().getKey("/ID");
    return {ids.getArrayItem(0).unparseBinary(), ids.getArrayItem(1).unparseBinary()};
}

TEST(SavedObjects, AreNamedByAnIDThatFollowsFromThem) {
    const auto bodies = [](const std::string& kept) {
        return std::vector<std::string>{"<< /Type /Catalog /Pages 2 0 R /Kept " + kept + " >>",
                                        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 100] >>"};
    };
    const auto idsWith = [&](const std::string& kept, const std::string& id) {
        return idsOf(saved(*test::opened(Bytes(test::pdfFromObjects(bodies(kept), id)))));
    };
    const auto one = idsWith("1", "/ID [<0102> <0304>]");
    EXPECT_EQ(one.front(), "<0102>");
    EXPECT_EQ(one, idsWith("1", "/ID [<0102> <0506>]"));
    EXPECT_NE(one.back(), idsWith("2", "/ID [<0102> <0304>]").back());
    const auto fresh = idsWith("1", "");
    EXPECT_EQ(fresh.front(), fresh.back());
    EXPECT_EQ(fresh.front().size(), 34U);
    EXPECT_EQ(idsWith("1", "/ID 5"), fresh);
    EXPECT_EQ(idsWith("1", "/ID [1 2]"), fresh);
}

bool isSigned(QPDF& pdf) {
    auto form = pdf.getRoot().getKey("/AcroForm");
    return form.isDictionary() && form.hasKey("/SigFlags");
}

TEST(SavedObjects, OfRealFilesAreAllThere) {
    const auto files = test::sharedPDFs(9);
    if (files.empty()) {
        GTEST_SKIP() << "the shared corpus is not there";
    }
    int compared = 0;
    for (const auto& path : files) {
        try {
            const Bytes before = readFile(path);
            const auto document = test::opened(before);
            if (const auto pdf = parsed(before); test::isSound(*pdf) && !isSigned(*pdf)) {
                EXPECT_EQ(differenceOfFiles(before, saved(*document)), "") << path;
                ++compared;
            }
        } catch (const PDFOpenError&) { // refused
        }
    }
    EXPECT_GT(compared, 10);
    std::cout << compared << " files compared\n";
}

} // namespace
} // namespace orvex
