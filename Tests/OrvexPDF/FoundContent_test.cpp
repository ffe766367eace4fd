#include "OrvexPDF/Alias.h"
#include "OrvexPDF/FoundContent.h"
#include "Support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace orvex {
namespace {

using test::LogRecorder;
using testing::HasSubstr;
using testing::StartsWith;

Bytes json(std::string_view text) {
    return Bytes::copyOf(text);
}

OrvexFoundFont someFont() {
    OrvexFoundFont font;
    font.name = "Body \"Sans\"";
    font.size = 10.5;
    font.bold = true;
    font.caps = false;
    font.italic = true;
    font.mono = false;
    font.serif = true;
    font.underline = false;
    return font;
}

OrvexFoundPage somePage() {
    OrvexFoundPage page(OrvexFoundSize(612, 792.5));
    OrvexFoundItem item("Größe 日本 😀/\\\n", OrvexFoundBox(Rect{1, 2, -3, 0.1}));
    item.font = someFont();
    item.bl = -0.0;
    item.cf = 1e-5;
    page.items = {item, OrvexFoundItem()};
    page.fonts = {someFont()};
    page.dpi = 300;
    return page;
}

/// The one warning that a failure leaves.
void expectOneWarning(const LogRecorder& recorder, std::string_view function) {
    const auto lines = recorder.lines(LogLevel::warning);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].module, "OrvexPDF");
    EXPECT_EQ(lines[0].file, "FoundContent");
    EXPECT_EQ(lines[0].function, function);
    EXPECT_THAT(lines[0].message, StartsWith("Thrown error: "));
}

TEST(FoundContent, AnEmptyObjectIsARecordWithEveryFieldAbsentAndBack) {
    EXPECT_EQ(OrvexFoundPage::from(json("{}")), OrvexFoundPage());
    EXPECT_EQ(OrvexFoundDocument::from(json("{}")), OrvexFoundDocument());
    EXPECT_EQ(OrvexFoundPage().toJSONString(false), "{}");
    EXPECT_EQ(OrvexFoundDocument().toJSONString(false), "{}");
}

TEST(FoundContent, AnEmptyListIsPresentAndStaysSo) {
    const auto page = OrvexFoundPage::from(json(R"({"items":[]})"));
    ASSERT_TRUE(page && page->items);
    EXPECT_TRUE(page->items->empty());
    EXPECT_EQ(page->toJSONString(false), R"({"items":[]})");
    EXPECT_THAT(OrvexFoundPage(OrvexFoundSize(1, 2)).toJSONString(false), testing::Not(HasSubstr("items")));
}

TEST(FoundContent, IntegersAreNumbersAndPrettySizesPutHeightFirst) {
    const auto page = OrvexFoundPage::from(json(R"({"size":{"w":612,"h":792}})"));
    ASSERT_TRUE(page);
    EXPECT_EQ(page->size, OrvexFoundSize(612, 792));
    EXPECT_EQ(page->toJSONString(true), "{\n  \"size\" : {\n    \"h\" : 792,\n    \"w\" : 612\n  }\n}");
}

TEST(FoundContent, KeysThatARecordDoesNotHaveAreIgnored) {
    const auto page = OrvexFoundPage::from(json(R"({"items":[{"text":"a","bold":true}]})"));
    ASSERT_TRUE(page && page->items);
    ASSERT_EQ(page->items->size(), 1U);
    EXPECT_EQ(page->items->front().text, "a");
    EXPECT_FALSE(page->items->front().font);
}

TEST(FoundContent, ANumberIsNoBooleanAndLeavesOneWarning) {
    const LogRecorder recorder(moduleLogger());
    std::string why;
    EXPECT_FALSE(OrvexFoundPage::from(json(R"({"items":[{"font":{"bold":1}}]})"), &why));
    expectOneWarning(recorder, "from(jsonData:)");
    EXPECT_EQ(why, "items[0].font.bold: Expected to decode Bool but found number instead.");
}

TEST(FoundContent, NullIsAbsent) {
    const auto page = OrvexFoundPage::from(json(R"({"dpi":null})"));
    ASSERT_TRUE(page);
    EXPECT_FALSE(page->dpi);
}

TEST(FoundContent, ACoordinateThatIsNotANumberMakesTheEncodingFail) {
    OrvexFoundPage page(OrvexFoundSize(1, 1));
    page.items = {OrvexFoundItem("a", OrvexFoundBox(Rect{std::numeric_limits<double>::quiet_NaN(), 0, 1, 1}))};
    {
        const LogRecorder recorder(moduleLogger());
        EXPECT_FALSE(page.toData(false));
        expectOneWarning(recorder, "toData(pretty:)");
        EXPECT_THAT(recorder.lines().front().message, HasSubstr("Unable to encode Double.nan directly in JSON."));
    }
    const LogRecorder recorder(moduleLogger());
    EXPECT_EQ(page.toJSONString(true), "{}");
    expectOneWarning(recorder, "toData(pretty:)");
}

TEST(FoundContent, ATextThatIsNotUTF8MakesTheEncodingFail) {
    OrvexFoundDocument document;
    document.author = "\xFF";
    const LogRecorder recorder(moduleLogger());
    EXPECT_EQ(document.toJSONString(false), "{}");
    expectOneWarning(recorder, "toData(pretty:)");
}

TEST(FoundContent, ARectangleNeedsAllFourNumbersAndIsUnchanged) {
    OrvexFoundBox box(Rect{1, 2, -3, 4});
    EXPECT_EQ(box.cgRect(), (Rect{1, 2, -3, 4}));
    box.h.reset();
    EXPECT_FALSE(box.cgRect());
    EXPECT_FALSE(OrvexFoundBox().cgRect());
}

TEST(FoundContent, ASizeNeedsBothNumbers) {
    OrvexFoundSize size(Size{3, 4});
    EXPECT_EQ(size.w, 3);
    EXPECT_EQ(size.h, 4);
    EXPECT_EQ(size.cgSize(), (Size{3, 4}));
    size.w.reset();
    EXPECT_FALSE(size.cgSize());
}

TEST(FoundContent, PagesReadOneByOneAreThoseOfTheDocument) {
    OrvexFoundDocument document;
    document.author = "A";
    document.pages = {somePage(), OrvexFoundPage(), OrvexFoundPage(OrvexFoundSize(1, 2))};
    for (const bool pretty : {false, true}) {
        const auto pages = OrvexFoundPages::from(*document.toData(pretty));
        ASSERT_TRUE(pages);
        ASSERT_EQ(pages->count(), 3U);
        for (const std::size_t i : {2U, 0U, 1U, 0U}) {
            EXPECT_EQ(pages->page(i), document.pages->at(i)) << i;
        }
    }
}

TEST(FoundContent, AFaultInsideAPageShowsWhenThatPageIsReadAndNamesItsPlace) {
    const LogRecorder recorder(moduleLogger());
    std::string why;
    const auto pages = OrvexFoundPages::from(json(R"({"pages":[{},{"items":[{"text":5}]},{"dpi":[}},7]})"), &why);
    ASSERT_TRUE(pages);
    EXPECT_TRUE(recorder.lines().empty());
    EXPECT_EQ(pages->page(0, &why), OrvexFoundPage());
    EXPECT_FALSE(pages->page(1, &why));
    expectOneWarning(recorder, "page(_:)");
    EXPECT_EQ(why, "pages[1].items[0].text: Expected to decode String but found number instead.");
    EXPECT_FALSE(pages->page(2, &why));
    EXPECT_FALSE(pages->page(3, &why));
    EXPECT_EQ(why, "pages[3]: Expected to decode Dictionary<String, Any> but found number instead.");
}

TEST(FoundContent, WhatIsNoDocumentHasNoPagesToRead) {
    const LogRecorder recorder(moduleLogger());
    std::string why;
    EXPECT_FALSE(OrvexFoundPages::from(json(R"({"size":{"w":1,"h":2}})"), &why));
    EXPECT_FALSE(OrvexFoundPages::from(json(R"({"pages":null})"), &why));
    EXPECT_TRUE(recorder.lines().empty());
    EXPECT_EQ(why, "");
    for (const auto* text :
         {"", "[]", R"({"pages":5})", R"({"pages":[{}]} 1)", R"({"pages":[{})", R"({"author":1,"pages":[]})"}) {
        why.clear();
        EXPECT_FALSE(OrvexFoundPages::from(json(text), &why)) << text;
        EXPECT_NE(why, "") << text;
    }
}

TEST(FoundContent, SlashesAreEscapedAndReadBack) {
    OrvexFoundPage page;
    page.items = {OrvexFoundItem("a/b", OrvexFoundBox())};
    EXPECT_EQ(page.toJSONString(false), R"({"items":[{"box":{},"text":"a\/b"}]})");
    EXPECT_EQ(OrvexFoundPage::from(*page.toData(false)), page);
}

TEST(FoundContent, CompactOutputFollowsTheOrderOfDeclaration) {
    OrvexFoundDocument document;
    document.author = "A";
    document.creator = "C";
    document.source = "pdf";
    document.pages = {somePage()};
    const std::string font =
        R"({"name":"Body \"Sans\"","size":10.5,"bold":true,"caps":false,"italic":true,"mono":false,"serif":true,"underline":false})";
    EXPECT_EQ(document.toJSONString(false),
              R"({"author":"A","creator":"C","source":"pdf","pages":[{"size":{"h":792.5,"w":612},"items":[)"
              R"({"box":{"x":1,"y":2,"w":-3,"h":0.1},"font":)" +
                  font + R"(,"text":"Größe 日本 😀\/\\\n","bl":-0,"cf":1e-05},{}],"fonts":[)" + font +
                  R"(],"dpi":300}]})");
}

TEST(FoundContent, PrettyOutputSortsTheKeysOfEveryRecord) {
    OrvexFoundItem item("t", OrvexFoundBox(Rect{1, 2, 3, 4}));
    item.font = OrvexFoundFont();
    item.bl = 1;
    item.cf = 2;
    OrvexFoundPage page;
    page.items = {item};
    EXPECT_EQ(page.toJSONString(true), R"({
  "items" : [
    {
      "bl" : 1,
      "box" : {
        "h" : 4,
        "w" : 3,
        "x" : 1,
        "y" : 2
      },
      "cf" : 2,
      "font" : {

      },
      "text" : "t"
    }
  ]
})");
}

TEST(FoundContent, ReadsBackWhatItWrote) {
    OrvexFoundDocument document;
    document.source = "pdf";
    document.pages = {somePage(), OrvexFoundPage()};
    for (const bool pretty : {false, true}) {
        EXPECT_EQ(OrvexFoundDocument::from(*document.toData(pretty)), document);
        EXPECT_EQ(OrvexFoundPage::from(*somePage().toData(pretty)), somePage());
    }
}

TEST(FoundContent, WrongTypesAnywhereFailTheWholeDecoding) {
    for (const auto text : {R"({"size":[]})",
                            R"({"size":{"w":"612"}})",
                            R"({"items":{}})",
                            R"({"items":[1]})",
                            R"({"items":[{"text":"a"},{"text":5}]})",
                            R"({"items":[null]})",
                            R"({"dpi":"300"})",
                            R"({"dpi":true})",
                            R"({"fonts":[{"name":1}]})",
                            R"({"fonts":[{"bold":"true"}]})",
                            "[]",
                            "null",
                            "\"{}\"",
                            "1",
                            "",
                            "{",
                            "{}}",
                            "{\"items\":[}",
                            R"({"dpi":1e999})",
                            R"({"dpi":01})",
                            R"({"items":[{"text":"\ud800"}]})",
                            "{\"items\":[{\"text\":\"\xFF\"}]}"}) {
        const LogRecorder recorder(moduleLogger());
        EXPECT_FALSE(OrvexFoundPage::from(json(text))) << text;
        expectOneWarning(recorder, "from(jsonData:)");
    }
}

TEST(FoundContent, ADocumentFailsWhenOneOfItsPagesDoes) {
    const LogRecorder recorder(moduleLogger());
    std::string why;
    EXPECT_FALSE(OrvexFoundDocument::from(json(R"({"pages":[{},{"size":{"h":false}}]})"), &why));
    EXPECT_EQ(why, "pages[1].size.h: Expected to decode Double but found bool instead.");
}

TEST(FoundContent, ReadsWhatOtherWritersProduce) {
    for (const auto text : {"\xEF\xBB\xBF{\"dpi\":300}", " \r\n{ \"dpi\" :\t3e2 , }\n", R"({"dpi":300,"dpi":"second"})",
                            R"({"\u0064pi":300.0,"unknown":{"x":[01,"\q"]}})"}) {
        const auto page = OrvexFoundPage::from(json(text));
        ASSERT_TRUE(page) << text;
        EXPECT_EQ(page->dpi, 300) << text;
    }
}

} // namespace
} // namespace orvex
