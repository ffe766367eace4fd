#include "Platform/PDF/Objects/PDFObject.h"

#include "Support/Command.h"
#include "Support/ImageFixture.h"
#include "Support/OpenDocument.h"
#include "Support/PDFFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex {
namespace {

using test::opened;
using testing::ElementsAre;
using testing::IsEmpty;

/// A page's dictionary with `entries`; `more` are further objects, numbered from 4.
Bytes pageWith(const std::string& entries, const std::vector<std::string>& more = {}) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] " + entries + " >>"};
    bodies.insert(bodies.end(), more.begin(), more.end());
    return Bytes(test::pdfFromObjects(bodies));
}

PDFObject page(const Bytes& file, const std::string& password = {}) {
    return PDFObject::ofPage(*opened(file, password)->page(0));
}

TEST(PDFObject, ReadsEveryKindAndFollowsReferences) {
    using Kind = PDFObject::Kind;
    const PDFObject object =
        page(pageWith("/A 7 /B -1.5 /C /N#20m /D (t\\101xt) /E [1 4 0 R] /F << /G true >> /H 4 0 R "
                      "/I 5 0 R /J null /K 99 0 R",
                      {"42", test::streamBody("data", "/X 1")}));
    EXPECT_EQ(object.kind(), Kind::dictionary);
    EXPECT_EQ(object.get("A").integer(), 7);
    EXPECT_EQ(object.get("A").number(), 7.0);
    EXPECT_EQ(object.get("B").number(), -1.5);
    EXPECT_EQ(object.get("C").name(), "N m");
    EXPECT_EQ(object.get("D").string(), Bytes::copyOf("tAxt"));
    EXPECT_EQ(object.get("E").count(), 2U);
    EXPECT_EQ(object.get("E").at(1).integer(), 42);
    EXPECT_EQ(object.get("F").get("G").kind(), Kind::boolean);
    EXPECT_EQ(object.get("H").integer(), 42);
    EXPECT_EQ(object.get("H").objectNumber(), 4);
    EXPECT_EQ(object.get("A").objectNumber(), 0);
    EXPECT_EQ(object.get("I").kind(), Kind::stream);
    EXPECT_EQ(object.get("I").streamDictionary().get("X").integer(), 1);
    EXPECT_EQ(object.get("I").streamData()->bytes.text(), "data");
    EXPECT_TRUE(object.get("J").isNull());
    EXPECT_TRUE(object.get("K").isNull());
}

TEST(PDFObject, WhatIsOfAnotherKindReadsAsNothing) {
    const PDFObject object = page(pageWith("/Real 100.0 /Name /N /Array [1] /S 4 0 R", {test::streamBody("", "/X 1")}));
    EXPECT_EQ(object.get("Real").integer(), std::nullopt); // a real is never an integer
    EXPECT_EQ(object.get("Name").string(), std::nullopt);
    EXPECT_EQ(object.get("Name").number(), std::nullopt);
    EXPECT_EQ(object.get("Array").name(), std::nullopt);
    EXPECT_TRUE(object.get("Array").at(1).isNull());
    EXPECT_TRUE(object.get("Array").get("X").isNull());
    EXPECT_TRUE(object.get("S").get("X").isNull());
    EXPECT_THAT(object.get("Array").keys(), IsEmpty());
    EXPECT_EQ(object.get("Array").streamData(), std::nullopt);
    EXPECT_EQ(object.count(), 0U);
    EXPECT_TRUE(PDFObject().get("X").at(0).streamDictionary().isNull());
    EXPECT_EQ(PDFObject().streamData(), std::nullopt);
}

TEST(PDFObject, OutlivesTheDocument) {
    PDFObject object;
    {
        const auto document = opened(pageWith("/A 7"));
        object = PDFObject::ofPage(*document->page(0));
    }
    EXPECT_EQ(object.get("A").integer(), 7);
}

TEST(PDFObject, ABlankPageHasNoDictionary) {
    EXPECT_TRUE(PDFObject::ofPage(PDFPage()).isNull());
}

// The order of keys

const std::string shuffled =
    "/Im10 1 /Im2 << /Z (>> /No) /A [/x /y] >> /B%comment /not a key\n/Value /a 4 0 R /Im#31 2";

TEST(PDFObjectKeys, ComeInTheOrderOfTheFile) {
    EXPECT_THAT(page(pageWith("/X << " + shuffled + " >>", {"0"})).get("X").keys(),
                ElementsAre("Im10", "Im2", "B", "a", "Im1"));
    EXPECT_THAT(page(pageWith("/X 4 0 R", {"<< " + shuffled + " >>"})).get("X").keys(),
                ElementsAre("Im10", "Im2", "B", "a", "Im1"));
}

TEST(PDFObjectKeys, LeaveOutNullsAndKeepTheLaterOfTwo) {
    EXPECT_THAT(page(pageWith("/X << /C 1 /B null /A 2 /C 3 >>")).get("X").keys(), ElementsAre("A", "C"));
}

TEST(PDFObjectKeys, KeepTheirOrderBehindJunkBeforeTheHeader) {
    const Bytes file = pageWith("/X << /C 1 /B 2 /A 3 >>");
    EXPECT_THAT(page(Bytes("junk\njunk\n" + std::string(file.text()))).get("X").keys(), ElementsAre("C", "B", "A"));
}

TEST(PDFObjectKeys, KeepTheirOrderInARepairedFile) {
    std::string file(pageWith("/X << /C 1 /B 2 /A 3 >>").text());
    file.replace(file.find("xref\n0"), 4, "lost");
    EXPECT_THAT(page(Bytes(std::move(file))).get("X").keys(), ElementsAre("C", "B", "A"));
}

/// qpdf, which others fill object streams with, would sort. `other` is object 4.
Bytes fileWithObjectStream(const std::string& pageEntries, const std::string& other) {
    return Bytes(
        test::packedPDFFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] " + pageEntries + " >>", other}));
}

TEST(PDFObjectKeys, KeepTheirOrderInsideAnObjectStream) {
    EXPECT_THAT(page(fileWithObjectStream("/X << /C 1 /B 2 /A 3 >>", "7")).get("X").keys(), ElementsAre("C", "B", "A"));
    EXPECT_THAT(page(fileWithObjectStream("/X 4 0 R", "<< /C 1 /B 2 /A 3 >>")).get("X").keys(),
                ElementsAre("C", "B", "A"));
}

/// A dictionary's place in the object stream is tried in the file first, where this one opens another that never ends.
TEST(PDFObjectKeys, AreFoundBehindADictionaryThatTheFileEndsIn) {
    const std::string comment = " %" + std::string(1000, ' ') + "\n";
    std::string file(fileWithObjectStream("/X 4 0 R" + comment, "<< /C 1 /B 2 /A 3 >>").text());
    const std::string unclosed = "<< /A " + std::string(20, '(');
    const auto place = file.find("<< /C") - (file.find("stream\n") + 7);
    ASSERT_EQ(file.substr(place, unclosed.size()), std::string(unclosed.size(), ' '));
    file.replace(place, unclosed.size(), unclosed);
    EXPECT_THAT(page(Bytes(std::move(file))).get("X").keys(), ElementsAre("C", "B", "A"));
}

TEST(PDFObjectKeys, KeepTheirOrderInAnEncryptedFile) {
    // qpdf writes keys sorted; a name that is written with an escape sorts by what it means, so swap two by hand.
    const Bytes plain = pageWith("/X << /A 1 /B 2 >>");
    const Bytes encrypted = test::convert(plain, "qpdf --encrypt '' owner 128 --use-aes=y -- in out");
    std::string text(encrypted.text());
    const auto at = text.find("/A 1 /B 2");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 9, "/B 2 /A 1");
    EXPECT_THAT(page(Bytes(std::move(text))).get("X").keys(), ElementsAre("B", "A"));
}

} // namespace
} // namespace orvex
