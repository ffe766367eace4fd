// Character maps, as files embed them.
#include "Platform/PDF/Reading/CMap_p.h"

#include <gtest/gtest.h>

namespace orvex {
namespace {

std::vector<std::uint32_t> codes(const CMap& map, std::string_view string) {
    std::vector<std::uint32_t> all;
    while (!string.empty()) {
        const auto code = map.next(string);
        all.push_back(code.value);
        string.remove_prefix(code.length);
    }
    return all;
}

std::string text(const CMap& map, std::uint32_t code) {
    std::string text;
    map.appendText(text, code);
    return text;
}

TEST(CMap, CodeSpacesSayHowManyBytesACodeHas) {
    const auto map = CMap::parse("4 begincodespacerange <00> <80> <8140> <9FFC> <A0> <DF> <E0408080> <E0FCFFFF> "
                                 "endcodespacerange");
    EXPECT_EQ(codes(*map, "A\x81\x40\xA1\xE0\x41\x81\x82"),
              (std::vector<std::uint32_t>{0x41, 0x8140, 0xA1, 0xE0418182}));
    // the second byte is outside: still two bytes; what no space begins with is as short as any
    EXPECT_EQ(codes(*map, "\x81\x20\xFFz"), (std::vector<std::uint32_t>{0x8120, 0xFF, 0x7A}));
    // a string that ends inside a code
    EXPECT_EQ(codes(*map, "\xE0\x41"), (std::vector<std::uint32_t>{0xE041}));
    EXPECT_EQ(codes(*CMap::parse(""), "abc"), (std::vector<std::uint32_t>{0x6162, 0x63}));
}

TEST(CMap, IdentifiersComeFromRangesCharactersAndTheUndefined) {
    const auto map = CMap::parse("1 begincodespacerange <00> <FF> endcodespacerange 1 begincidrange <20> <7E> 231 "
                                 "endcidrange 1 begincidchar <80> 97 endcidchar 1 beginnotdefrange <00> <1F> 1 "
                                 "endnotdefrange");
    EXPECT_EQ(map->identifier({0x21, 1}), 232U);
    EXPECT_EQ(map->identifier({0x80, 1}), 97U);
    EXPECT_EQ(map->identifier({0x10, 1}), 1U);
    EXPECT_EQ(map->identifier({0x90, 1}), std::nullopt);
    EXPECT_EQ(map->identifier({0x21, 2}), std::nullopt);
}

TEST(CMap, WhatIsDefinedLaterHolds) {
    const auto map = CMap::parse("2 begincidrange <0010> <0030> 100 <0018> <0020> 500 endcidrange\n"
                                 "1 begincidchar <001A> 7 endcidchar");
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected = {{0x10, 100}, {0x17, 107}, {0x18, 500},
                                                                           {0x19, 501}, {0x1A, 7},   {0x1B, 503},
                                                                           {0x20, 508}, {0x21, 117}, {0x30, 132}};
    for (const auto& [code, identifier] : expected) {
        EXPECT_EQ(map->identifier({code, 2}), identifier) << code;
    }
}

TEST(CMap, TextsAreUTF16) {
    const auto map =
        CMap::parse("3 beginbfrange <10> <12> <D83DDE00> <20> <22> [<0041> <00420043> <D83D>] <30> <31> "
                    "<00FE> endbfrange 4 beginbfchar <40> <0000> <41> <FFFD> <44> <FFFF> <42> <41> <43> < 00 4 1 > "
                    "endbfchar");
    EXPECT_EQ(text(*map, 0x12), "😂");
    EXPECT_EQ(text(*map, 0x20) + text(*map, 0x21), "ABC");
    EXPECT_EQ(text(*map, 0x22), "") << "half a character";
    EXPECT_EQ(text(*map, 0x31), "ÿ");
    EXPECT_EQ(text(*map, 0x40) + text(*map, 0x41) + text(*map, 0x44), "")
        << "neither zero nor the replacement says anything";
    EXPECT_EQ(text(*map, 0x42) + text(*map, 0x43), "AA");
}

TEST(CMap, DamagedSourcesGiveWhatCanBeRead) {
    EXPECT_EQ(text(*CMap::parse("beginbfchar <01> <0041> <02>"), 1), "A");
    EXPECT_EQ(text(*CMap::parse("beginbfrange <01> <05> endbfrange beginbfchar <01> <0041>"), 1), "A");
    EXPECT_EQ(text(*CMap::parse("beginbfrange <01> <02> [<0041> endbfrange beginbfchar <09> <0042> endbfchar"), 9),
              "B");
    EXPECT_EQ(text(*CMap::parse("2 beginbfrange <05> <01> <0041> <06> <06> <0043> endbfrange"), 6), "C");
    EXPECT_EQ(text(*CMap::parse("beginbfchar <01> <0041"), 1), "A");
    EXPECT_EQ(text(*CMap::parse("<<<<>>>>(((%"), 1), "");
    EXPECT_FALSE(CMap::parse("/Nothing usecmap", CMap::named)->isVertical());
}

TEST(CMap, OnlyPlainNamesAreLookedUp) {
    EXPECT_EQ(CMap::named("../../../../etc/passwd"), nullptr);
    EXPECT_EQ(CMap::named(""), nullptr);
    EXPECT_TRUE(CMap::named("Identity-V")->isVertical());
}

} // namespace
} // namespace orvex
