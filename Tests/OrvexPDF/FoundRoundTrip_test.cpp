// Found content that was written into a page and is read out of it again.
#include "OrvexPDF/Document.h"
#include "Platform/Text/Font.h"

#include <gtest/gtest.h>

namespace orvex {
namespace {

constexpr double pageWidth = 600;
constexpr double pageHeight = 800;

struct Item {
    std::string text;
    Rect box;
};
struct RoundTrip {
    const char* name;
    std::vector<Item> items;
};

double naturalWidth(const std::string& text, double height) {
    return Font::require("Helvetica")->lineWidth(text) * height;
}

RoundTrip lines(const char* name, const std::vector<std::string>& texts) {
    RoundTrip result{name, {}};
    for (const auto& text : texts) {
        const double top = 60 + 34 * static_cast<double>(result.items.size());
        result.items.push_back({text, {60, top, naturalWidth(text, 19), 20}});
    }
    return result;
}

RoundTrip words(const char* name, const std::vector<std::string>& texts, double gap, double height = 20,
                double stretch = 1) {
    RoundTrip result{name, {}};
    double x = 60;
    for (const auto& text : texts) {
        const double width = naturalWidth(text, height) * stretch;
        result.items.push_back({text, {x, 60, width, height}});
        x += width + gap;
    }
    return result;
}

RoundTrip ideographs(const char* name, double gap) {
    RoundTrip result{name, {}};
    for (const char* text : {"永", "和", "九", "年", "歲", "在"}) {
        result.items.push_back({text, {60 + (20 + gap) * static_cast<double>(result.items.size()), 60, 20, 20}});
    }
    return result;
}

OrvexFoundPage found(const RoundTrip& trip, double scale = 1) {
    OrvexFoundPage page{OrvexFoundSize(pageWidth * scale, pageHeight * scale)};
    page.items.emplace();
    for (const auto& [text, box] : trip.items) {
        page.items->emplace_back(text,
                                 OrvexFoundBox({box.x * scale, box.y * scale, box.width * scale, box.height * scale}));
    }
    return page;
}

OrvexFoundPage readBack(const OrvexFoundPage& page) {
    OrvexPDFDocument document;
    const auto blank = std::make_shared<OrvexPDFPage>();
    blank->foundPage = std::make_shared<const OrvexFoundPage>(page);
    document.insertPage(blank, 0);
    const auto again = OrvexPDFDocument::fromData(*document.dataRepresentation());
    return again->orvexPage(0)->extractFoundPage();
}

void expectSame(const RoundTrip& trip, const OrvexFoundPage& read) {
    // A blank page is 612 by 792 points; what was found on 600 by 800 is stretched to it.
    const double sx = 612 / pageWidth;
    const double sy = 792 / pageHeight;
    ASSERT_EQ(read.items->size(), trip.items.size());
    for (std::size_t i = 0; i < trip.items.size(); ++i) {
        const auto& [text, box] = trip.items[i];
        const auto& item = read.items->at(i);
        EXPECT_EQ(item.text, text);
        const Rect rect = *item.box->cgRect();
        EXPECT_NEAR(rect.x, box.x * sx, 0.5) << text;
        EXPECT_NEAR(rect.y, box.y * sy, 0.5) << text;
        EXPECT_NEAR(rect.width, box.width * sx, 0.5) << text;
        EXPECT_NEAR(rect.height, box.height * sy, 0.5) << text;
    }
}

class FoundRoundTrip : public testing::TestWithParam<RoundTrip> {};

TEST_P(FoundRoundTrip, GivesTheSameItems) {
    expectSame(GetParam(), readBack(found(GetParam())));
}

TEST_P(FoundRoundTrip, GivesTheSameItemsWhenTheyWereFoundInPixels) {
    expectSame(GetParam(), readBack(found(GetParam(), 300.0 / 72)));
}

const std::vector<std::string> fox = {"The", "quick", "brown", "fox", "ill", "W"};
const std::vector<RoundTrip> trips = {
    lines("Latin", {"Žluťoučký kůň příliš", "Ænima œuvre Straße naïve", "The quick brown fox"}),
    lines("Ligatures", {"ﬁnal oﬃce ﬂow"}),
    lines("Cyrillic", {"Съешь же ещё этих мягких", "французских булок, да выпей чаю"}),
    lines("Greek", {"Ξεσκεπάζω την ψυχοφθόρα", "βδελυγμία ᾳ ὥρα"}),
    lines("CJK", {"永和九年歲在癸丑", "暮春之初、会于會稽。", "日本語のテキスト", "日本 Tokyo 東京 123"}),
    lines("Hangul", {"다람쥐 헌 쳇바퀴에 타고파", "한국어"}),
    lines("Devanagari", {"ऋषियों को सताने वाले", "हिन्दी क्षेत्र"}),
    lines("Thai", {"เป็นมนุษย์สุดประเสริฐ", "น้ำใจ ภาษาไทย"}),
    lines("CombiningMarks", {"e\u0301a\u0308o\u0302 n\u0303 test", "x\u0305y\u0336z"}),
    lines("OutsideTheBasicPlane", {"𝒜𝒷𝒸 math", "😀 smile 👍🏽", "𠮷野家 𐍈"}),
    lines("Hebrew", {"שלום עולם טוב", "נִקּוּד עִבְרִי"}),
    lines("Arabic", {"مرحبا بالعالم", "المبلغ 1,234.50 دولار"}),
    lines("MixedDirections", {"שלום World 123", "abc שלום def", "השעה 12:30 היום", "(בסוגריים) טקסט", "a (ב) c"}),
    words("Words", fox, 6),
    words("TouchingWords", fox, 0),
    words("StretchedWords", fox, 4, 20, 1.8),
    words("SqueezedWords", fox, 0, 20, 0.6),
    words("WordsOnePixelHigh", fox, 6, 0.24, 75),
    words("SmallWords", fox, 0.4, 1.5),
    ideographs("Ideographs", 2),
    ideographs("IdeographsFarApart", 3.6),
    ideographs("TouchingIdeographs", 0),
};

INSTANTIATE_TEST_SUITE_P(Items, FoundRoundTrip, testing::ValuesIn(trips),
                         [](const auto& trip) { return std::string(trip.param.name); });

} // namespace
} // namespace orvex
