#include "OrvexPDF/SqueezeMode.h"
#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/UserDefaults.h"

#include <gtest/gtest.h>
#include <thread>

namespace orvex {
namespace {

constexpr std::string_view custom =
    R"({"id":"x","title":"X","dpi":96,"quality":60,"colors":"graytones","method":"original"})";

OrvexPDFSqueezeModePtr decode(std::string_view text, std::string* why = nullptr) {
    return OrvexPDFSqueezeMode::from(Bytes::copyOf(text), why);
}

OrvexPDFSqueezeModePtr mode(std::string id, std::int64_t dpi) {
    return std::make_shared<OrvexPDFSqueezeMode>(dpi, 50, OrvexPDFSqueezeColors::colors, OrvexPDFSqueezeMethod::best,
                                                 std::move(id), "Title");
}

/// The custom mode with one piece of its text exchanged.
std::string changed(std::string_view from, std::string_view to) {
    std::string text(custom);
    const auto place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
}

TEST(SqueezeMode, PresetsAreFoundByTheirExactId) {
    const auto strong = getSqueezeMode("strong");
    ASSERT_TRUE(strong);
    EXPECT_EQ(strong->dpi, 72);
    EXPECT_EQ(strong->quality, 25);
    EXPECT_FALSE(getSqueezeMode("Strong"));
    EXPECT_FALSE(getSqueezeMode(""));
}

TEST(SqueezeMode, TheDefaultModesAreFreshAndInOrder) {
    struct Expected {
        std::string_view id;
        std::string_view title;
        std::int64_t dpi;
        std::int64_t quality;
    };
    constexpr Expected expected[] = {{"strong", "Strong Compression", 72, 25},
                                     {"medium", "Medium Compression", 144, 50},
                                     {"low", "Low Compression", 300, 75}};
    const auto modes = generateDefaultSqueezeModes();
    ASSERT_EQ(modes.size(), std::size(expected));
    for (std::size_t i = 0; i < modes.size(); ++i) {
        EXPECT_EQ(modes[i]->id, expected[i].id);
        EXPECT_EQ(modes[i]->title, expected[i].title);
        EXPECT_EQ(modes[i]->dpi, expected[i].dpi);
        EXPECT_EQ(modes[i]->quality, expected[i].quality);
        EXPECT_EQ(modes[i]->colors, OrvexPDFSqueezeColors::colors);
        EXPECT_EQ(modes[i]->method, OrvexPDFSqueezeMethod::best);
        EXPECT_NE(modes[i], generateDefaultSqueezeModes()[i]);
    }
}

TEST(SqueezeMode, TitlesAreTheHostsTranslationLookedUpAnew) {
    setLocalizedStringTable([](std::string_view key) { return key == "Low Compression" ? "Wenig" : ""; });
    const auto modes = generateDefaultSqueezeModes();
    setLocalizedStringTable({});
    EXPECT_EQ(modes[2]->title, "Wenig");
    EXPECT_EQ(modes[0]->title, "Strong Compression");
    EXPECT_EQ(generateDefaultSqueezeModes()[2]->title, "Low Compression");
}

TEST(SqueezeMode, OfTwoModesWithOneIdTheEarlierIsReturned) {
    auto& modes = squeezeModes();
    const auto before = modes;
    modes = {mode("twin", 1), mode("twin", 2)};
    EXPECT_EQ(getSqueezeMode("twin"), modes[0]);
    EXPECT_FALSE(getSqueezeMode("strong")) << "no preset stands in";
    modes.clear();
    EXPECT_FALSE(getSqueezeMode("twin"));
    modes = before;
}

TEST(SqueezeMode, TheModeOfTheListIsSharedNotCopied) {
    const auto medium = getSqueezeMode("medium");
    const auto dpi = medium->dpi;
    medium->dpi = 99;
    EXPECT_EQ(getSqueezeMode("medium")->dpi, 99);
    medium->dpi = dpi;
}

TEST(SqueezeMode, TheListIsMadeOnceForAllThreads) {
    std::vector<OrvexPDFSqueezeModePtr> seen(4);
    std::vector<std::thread> threads;
    for (auto& slot : seen) {
        threads.emplace_back([&slot] { slot = getSqueezeMode("low"); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto& found : seen) {
        EXPECT_EQ(found, seen[0]);
    }
}

TEST(SqueezeMode, EqualityIsByIdAlone) {
    EXPECT_EQ(*mode("medium", 10), *mode("medium", 20));
    EXPECT_FALSE(*mode("medium", 10) == *mode("low", 10));
}

TEST(SqueezeMode, ValuesAreStoredAsGiven) {
    const OrvexPDFSqueezeMode odd(-5, 1000, OrvexPDFSqueezeColors::blackAndWhite, OrvexPDFSqueezeMethod::original, "",
                                  "");
    EXPECT_EQ(odd.dpi, -5);
    EXPECT_EQ(odd.quality, 1000);
    EXPECT_EQ(odd.colors, OrvexPDFSqueezeColors::blackAndWhite);
}

TEST(SqueezeMode, ACustomModeDecodesToExactlyItsValues) {
    const auto decoded = decode(custom);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->id, "x");
    EXPECT_EQ(decoded->title, "X");
    EXPECT_EQ(decoded->dpi, 96);
    EXPECT_EQ(decoded->quality, 60);
    EXPECT_EQ(decoded->colors, OrvexPDFSqueezeColors::graytones);
    EXPECT_EQ(decoded->method, OrvexPDFSqueezeMethod::original);
    EXPECT_EQ(decoded->toData().text(), custom);
}

TEST(SqueezeMode, IntegralNumbersInAnyFormAreIntegers) {
    EXPECT_EQ(decode(changed("96", "96.0"))->dpi, 96);
    EXPECT_EQ(decode(changed("96", "9.6e1"))->dpi, 96);
}

struct BadMode {
    std::string text;
    std::string why;
};

TEST(SqueezeMode, EveryKeyIsRequiredAndTyped) {
    for (const auto& [text, why] : {
             BadMode{changed(R"("title":"X",)", ""), "missing key \"title\""},
             {changed(R"("id":"x",)", ""), "missing key \"id\""},
             {changed(R"("dpi":96,)", ""), "missing key \"dpi\""},
             {changed(R"("quality":60,)", ""), "missing key \"quality\""},
             {changed(R"("colors":"graytones",)", ""), "missing key \"colors\""},
             {changed(R"(,"method":"original")", ""), "missing key \"method\""},
             {changed("graytones", "gray"),
              "colors: Cannot initialize OrvexPDFSqueezeColors from invalid String value gray"},
             {changed("graytones", "Graytones"),
              "colors: Cannot initialize OrvexPDFSqueezeColors from invalid String value Graytones"},
             {changed("\"original\"", "\"\""),
              "method: Cannot initialize OrvexPDFSqueezeMethod from invalid String value "},
             {changed("96", "96.5"), "dpi: Number 96.5 is not representable in Swift."},
             {changed("96", "\"96\""), "dpi: Expected to decode Int but found a string instead."},
             {changed("96", "null"), "dpi: Cannot get value of type Int -- found null value instead"},
             {changed("\"X\"", "7"), "title: Expected to decode String but found number instead."},
             {"[]", "Expected to decode Dictionary<String, Any> but found an array instead."},
             {"", "Not valid JSON: Unexpected end of file around line 1, column 1."},
         }) {
        std::string reason;
        EXPECT_FALSE(decode(text, &reason)) << text;
        EXPECT_EQ(reason, why);
        EXPECT_FALSE(decode(text)) << text;
    }
}

TEST(SqueezeMode, APresetSurvivesEncodingAndDecoding) {
    for (const auto& preset : generateDefaultSqueezeModes()) {
        const auto back = OrvexPDFSqueezeMode::from(preset->toData());
        ASSERT_TRUE(back);
        EXPECT_EQ(*back, *preset);
        EXPECT_EQ(back->toData(), preset->toData());
        EXPECT_EQ(back->title, preset->title);
        EXPECT_EQ(back->dpi, preset->dpi);
        EXPECT_EQ(back->quality, preset->quality);
        EXPECT_EQ(back->colors, preset->colors);
        EXPECT_EQ(back->method, preset->method);
    }
}

TEST(SqueezeMode, ATitleThatIsNotUTF8CannotBeEncoded) {
    auto broken = mode("x", 1);
    broken->title = "\xFF";
    EXPECT_THROW((void)broken->toData(), JSONError);
}

TEST(SqueezeEnumerations, HaveExactRawValues) {
    EXPECT_EQ(rawValue(OrvexPDFSqueezeColors::colors), "colors");
    EXPECT_EQ(rawValue(OrvexPDFSqueezeColors::graytones), "graytones");
    EXPECT_EQ(rawValue(OrvexPDFSqueezeColors::blackAndWhite), "blackAndWhite");
    EXPECT_EQ(rawValue(OrvexPDFSqueezeMethod::best), "best");
    EXPECT_EQ(rawValue(OrvexPDFSqueezeMethod::original), "original");
    EXPECT_EQ(rawValue(OrvexPDFSqueezePresetModes::strong), "strong");
    EXPECT_EQ(rawValue(OrvexPDFSqueezePresetModes::medium), "medium");
    EXPECT_EQ(rawValue(OrvexPDFSqueezePresetModes::low), "low");
}

TEST(SqueezeEnumerations, UnknownRawValuesGiveNothing) {
    EXPECT_EQ(fromRawValue<OrvexPDFSqueezeColors>("blackAndWhite"), OrvexPDFSqueezeColors::blackAndWhite);
    EXPECT_EQ(fromRawValue<OrvexPDFSqueezeMethod>("best"), OrvexPDFSqueezeMethod::best);
    EXPECT_EQ(fromRawValue<OrvexPDFSqueezePresetModes>("medium"), OrvexPDFSqueezePresetModes::medium);
    EXPECT_FALSE(fromRawValue<OrvexPDFSqueezeColors>("BlackAndWhite"));
    EXPECT_FALSE(fromRawValue<OrvexPDFSqueezeMethod>(""));
    EXPECT_FALSE(fromRawValue<OrvexPDFSqueezePresetModes>("strong "));
}

} // namespace
} // namespace orvex
