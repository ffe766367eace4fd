#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/Strings.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace orvex {
namespace {

using testing::HasSubstr;
using namespace std::string_view_literals;

/// Reads everything and writes it down again: what the reader saw.
JSONValue readTree(JSONReader& reader) {
    switch (reader.kind()) {
    case JSONKind::null:
        reader.skip();
        return nullptr;
    case JSONKind::boolean:
        return reader.readBool();
    case JSONKind::number:
        return reader.readDouble();
    case JSONKind::string:
        return reader.readString();
    case JSONKind::array: {
        JSONValue::Array elements;
        reader.enterArray();
        while (reader.nextElement()) {
            elements.push_back(readTree(reader));
        }
        return elements;
    }
    case JSONKind::object: {
        JSONValue::Object members;
        reader.enterObject();
        while (const auto key = reader.nextKey()) {
            std::string name(*key);
            members.push_back({std::move(name), readTree(reader)});
        }
        return members;
    }
    }
    return nullptr;
}

std::string reread(std::string_view text) {
    try {
        JSONReader reader(Bytes::copyOf(text));
        const auto tree = readTree(reader);
        reader.finish();
        return writeJSON(tree, false);
    } catch (const JSONError& e) {
        return e.what();
    }
}

bool succeeds(const std::function<void()>& work) {
    try {
        work();
        return true;
    } catch (const JSONError&) {
        return false;
    }
}

/// Whether the structure alone is accepted, with nothing read.
bool passes(std::string_view text) {
    const bool skipped = succeeds([&] {
        JSONReader reader(Bytes::copyOf(text));
        reader.skip();
        reader.finish();
    });
    EXPECT_EQ(skipped, succeeds([&] { JSONReader(Bytes::copyOf(text)).checkStructure(); })) << text;
    EXPECT_TRUE(skipped || !succeeds([&] {
                    JSONReader reader(Bytes::copyOf(text));
                    (void)readTree(reader);
                    reader.finish();
                }))
        << "read, but not skipped: " << text;
    return skipped;
}

struct TextCase {
    std::string_view text;
    std::string_view read;
};

TEST(JSONReader, ReadsEveryKindOfValue) {
    for (const auto& [text, read] : {TextCase{"null", "null"},
                                     {"true", "true"},
                                     {"false", "false"},
                                     {"\"\"", "\"\""},
                                     {" \t\r\n1 \n", "1"},
                                     {"[]", "[]"},
                                     {"{}", "{}"},
                                     {"[ ]", "[]"},
                                     {"{ }", "{}"},
                                     {R"([1,"a",[[]],{"k":{}}])", R"([1,"a",[[]],{"k":{}}])"},
                                     {R"( { "a" : [ 1 , 2 ] , "b" : null } )", R"({"a":[1,2],"b":null})"}}) {
        EXPECT_EQ(reread(text), read) << text;
    }
}

TEST(JSONReader, AcceptsOneCommaTooMany) {
    EXPECT_EQ(reread("[1,2,]"), "[1,2]");
    EXPECT_EQ(reread("{\"a\":1 , }"), "{\"a\":1}");
    EXPECT_EQ(reread("[[1,],]"), "[[1]]");
}

TEST(JSONReader, RefusesWhatHasNoStructure) {
    for (const auto text : {"",
                            " ",
                            "\xEF\xBB\xBF",
                            "[,]",
                            "{,}",
                            "[1,,2]",
                            "[1,,]",
                            "[,1]",
                            "{\"a\":1,,}",
                            "[1 2]",
                            "[1",
                            "[1,",
                            "{\"a\"",
                            "{\"a\":",
                            "{\"a\":1",
                            "{\"a\" 1}",
                            "{a:1}",
                            "{1:1}",
                            "{\"a\":}",
                            "[}",
                            "{]",
                            "\"",
                            "\"\\",
                            "\"\\\"",
                            "]",
                            "}",
                            ",",
                            ":",
                            "nul",
                            "truE",
                            "True",
                            "tru",
                            "NaN",
                            "Infinity",
                            "+1",
                            ".5",
                            "'a'",
                            "1 1",
                            "{} x",
                            "[] []",
                            "/* c */ 1",
                            "1 // c",
                            "// c\n1",
                            "\x0B"
                            "1",
                            "\xC2\xA0"
                            "1",
                            "{\"a\":1]",
                            "[1}",
                            "0x1",
                            "1a",
                            "\xFF\xFF"}) {
        EXPECT_FALSE(passes(text)) << text;
    }
    EXPECT_FALSE(passes("\0"sv));
    EXPECT_FALSE(passes("[1]\0"sv));
}

TEST(JSONReader, MalformedTextIsReportedWithItsPlace) {
    EXPECT_EQ(
        reread("[1, x]"),
        "dataCorrupted(Swift.DecodingError.Context(codingPath: [], debugDescription: \"The given data was not valid "
        "JSON.\", underlyingError: Optional(Unexpected character 'x' around line 1, column 5.)))");
    EXPECT_THAT(reread("[1,\n  2"), HasSubstr("Unexpected end of file around line 2, column 4."));
    EXPECT_THAT(reread("{\n\n  é}"), HasSubstr("Unexpected character 'é' around line 3, column 3."));
}

std::string wide(std::string_view ascii, std::size_t unit, bool bigEndian, bool mark) {
    std::string text;
    const auto put = [&](unsigned value) {
        for (std::size_t i = 0; i < unit; ++i) {
            const std::size_t place = bigEndian ? unit - 1 - i : i;
            text += static_cast<char>(static_cast<unsigned char>(place < 2 ? value >> (8 * place) : 0));
        }
    };
    if (mark) {
        put(0xFEFF);
    }
    for (const char c : ascii) {
        put(static_cast<unsigned char>(c));
    }
    return text;
}

TEST(JSONReader, RecognisesUTF16AndUTF32WithAndWithoutAMark) {
    for (const std::string_view text : {R"({"a":"b"})", "[]", "7"}) {
        for (const std::size_t unit : {2U, 4U}) {
            for (const bool bigEndian : {false, true}) {
                for (const bool mark : {false, true}) {
                    EXPECT_EQ(reread(wide(text, unit, bigEndian, mark)), text) << unit << bigEndian << mark;
                }
            }
        }
    }
    EXPECT_EQ(reread("\xEF\xBB\xBF[1]"), "[1]");
}

TEST(JSONReader, ReadsAllOfUTF16AndRefusesHalves) {
    EXPECT_EQ(reread("\"\0\xE9\0\x3D\xD8\0\xDE\"\0"sv), "\"é😀\"");
    EXPECT_FALSE(passes("\"\0\x3D\xD8\"\0"sv)) << "a high surrogate alone";
    EXPECT_FALSE(passes("\"\0\0\xDE\"\0"sv)) << "a low surrogate alone";
    EXPECT_FALSE(passes("[\0]\0 "sv)) << "half a unit";
    EXPECT_FALSE(passes("[\0\0\0]\0\0\0\0\0\x11\0"sv)) << "beyond the last code point";
}

TEST(JSONReader, ReadsEscapes) {
    EXPECT_EQ(reread(R"("\"\\\/\b\f\n\r\t")"), R"("\"\\\/\b\f\n\r\t")");
    EXPECT_EQ(reread(R"("\u00e9\u00E9\uD83D\uDE00")"), "\"éé😀\"");
    EXPECT_EQ(reread(R"("a\u0000b")"), R"("a\u0000b")");
    EXPECT_EQ(reread(R"({"\u0061\n":1})"), R"({"a\n":1})");
}

TEST(JSONReader, RefusesMalformedTexts) {
    for (const auto text : {R"("\q")", R"("\u12")", R"("\u12x4")", R"("\ud800")", R"("\ud800\u0041")", R"("\udc00")",
                            R"("\ud800\ud800")", R"("\ud800x")", "\"a\nb\"", "\"\x01\"", "\"\t\"", "\"\xFF\"",
                            "\"\xC3\"", "\"\xED\xA0\x80\"", R"("\U0041")", R"("\u+041")", R"("\u-041")"}) {
        EXPECT_TRUE(passes(text)) << text;
        EXPECT_THAT(reread(text), HasSubstr("The given data was not valid JSON.")) << text;
    }
}

std::string doubleOf(std::string_view text) {
    try {
        JSONReader reader(Bytes::copyOf(text));
        return describe(reader.readDouble());
    } catch (const JSONError& e) {
        return e.summary();
    }
}

TEST(JSONReader, ReadsDoublesFromAnyNumber) {
    for (const auto& [text, read] : {TextCase{"0", "0.0"},
                                     {"-0", "-0.0"},
                                     {"-0.0", "-0.0"},
                                     {"1", "1.0"},
                                     {"1.5e3", "1500.0"},
                                     {"1E+2", "100.0"},
                                     {"1e-2", "0.01"},
                                     {"0e999999999999", "0.0"},
                                     {"0.0e-5", "0.0"},
                                     {"9007199254740993", "9007199254740992.0"},
                                     {"1.7976931348623157e308", "1.7976931348623157e+308"},
                                     {"4.9e-324", "5e-324"},
                                     {"0.1000000000000000055511151231257827", "0.1"}}) {
        EXPECT_EQ(doubleOf(text), read) << text;
    }
}

TEST(JSONReader, DoublesThatDoNotFitFail) {
    EXPECT_EQ(doubleOf("1e400"), "Number 1e400 is not representable in Swift.");
    EXPECT_EQ(doubleOf("-1e400"), "Number -1e400 is not representable in Swift.");
    EXPECT_EQ(doubleOf("1e-400"), "Number 1e-400 is not representable in Swift.");
}

TEST(JSONReader, RefusesMalformedNumbers) {
    for (const auto text : {"01", "-01", "00", "1.", "1.e2", "-", "1e", "1e+", "1.5.2", "1-2", "--1", "1e5e5", "-.5"}) {
        EXPECT_TRUE(passes(text)) << text;
        EXPECT_THAT(doubleOf(text), HasSubstr("Not valid JSON: ")) << text;
    }
}

std::string intOf(std::string_view text) {
    try {
        JSONReader reader(Bytes::copyOf(text));
        return std::to_string(reader.readInt());
    } catch (const JSONError& e) {
        return e.what();
    }
}

TEST(JSONReader, ReadsIntegersFromAnyIntegralNumber) {
    for (const auto& [text, read] : {TextCase{"96", "96"},
                                     {"96.0", "96"},
                                     {"9.6e1", "96"},
                                     {"960e-1", "96"},
                                     {"96.000e0", "96"},
                                     {"-0", "0"},
                                     {"-0.0", "0"},
                                     {"0e99999999999999999999", "0"},
                                     {"-12", "-12"},
                                     {"9223372036854775807", "9223372036854775807"},
                                     {"-9223372036854775808", "-9223372036854775808"},
                                     {"9007199254740993", "9007199254740993"},
                                     {"9007199254740993.0", "9007199254740993"},
                                     {"1e18", "1000000000000000000"},
                                     {"0.000000000000000096e18", "96"}}) {
        EXPECT_EQ(intOf(text), read) << text;
    }
}

TEST(JSONReader, IntegersWithAFractionOrOutOfRangeAreCorruptNotMismatched) {
    for (const auto text : {"96.5", "9.65e1", "0.5", "1e-1", "9223372036854775808", "-9223372036854775809", "1e19",
                            "1e400", "1e99999999999999999999", "1e-99999999999999999999"}) {
        EXPECT_THAT(intOf(text), testing::StartsWith("dataCorrupted(")) << text;
        EXPECT_THAT(intOf(text), HasSubstr("Number " + std::string(text) + " is not representable")) << text;
    }
}

TEST(JSONReader, NothingIsConvertedFromAnotherKind) {
    const std::pair<std::string_view, std::string_view> found[] = {
        {"\"1\"", "a string"}, {"1", "number"}, {"true", "bool"}, {"[]", "an array"}, {"{}", "a dictionary"}};
    for (const auto& [text, word] : found) {
        JSONReader reader(Bytes::copyOf(text));
        const std::string seen(word);
        const auto expectMismatch = [&, kind = reader.kind()](JSONKind own, const std::string& type, auto read) {
            if (kind == own) {
                return;
            }
            try {
                read();
                ADD_FAILURE() << type << " from " << text;
            } catch (const JSONError& e) {
                EXPECT_EQ(e.kind(), JSONErrorKind::typeMismatch);
                EXPECT_EQ(e.summary(), "Expected to decode " + type + " but found " + seen + " instead.");
            }
        };
        expectMismatch(JSONKind::boolean, "Bool", [&] { (void)reader.readBool(); });
        expectMismatch(JSONKind::number, "Double", [&] { (void)reader.readDouble(); });
        expectMismatch(JSONKind::number, "Int", [&] { (void)reader.readInt(); });
        expectMismatch(JSONKind::string, "String", [&] { (void)reader.readString(); });
        expectMismatch(JSONKind::array, "Array<Any>", [&] { reader.enterArray(); });
        expectMismatch(JSONKind::object, "Dictionary<String, Any>", [&] { reader.enterObject(); });
    }
}

TEST(JSONReader, WhatIsSkippedIsNotChecked) {
    for (const auto text : {R"({"x":01,"a":1})", R"({"x":1.e2,"a":1})", R"({"x":"\q","a":1})",
                            "{\"x\":\"\xFF\",\"a\":1}", R"({"x":["\ud800",{"\q":-}],"a":1})"}) {
        JSONReader reader(Bytes::copyOf(std::string_view(text)));
        std::string seen;
        reader.enterObject();
        while (const auto key = reader.nextKey()) {
            seen += *key;
            if (*key == "a") {
                EXPECT_EQ(reader.readInt(), 1);
            } else {
                reader.skip();
            }
        }
        EXPECT_EQ(seen, "xa") << text;
    }
}

TEST(JSONReader, TheKeysOfAnObjectThatIsReadAreChecked) {
    for (const auto text : {R"({"\q":1})", "{\"\xFF\":1}", R"({"\ud800":1})"}) {
        JSONReader reader(Bytes::copyOf(std::string_view(text)));
        reader.enterObject();
        EXPECT_THROW((void)reader.nextKey(), JSONError) << text;
    }
}

std::string nested(std::size_t depth, std::string_view open, std::string_view close) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += open;
    }
    text += "1";
    for (std::size_t i = 0; i < depth; ++i) {
        text += close;
    }
    return text;
}

TEST(JSONReader, NestingIsLimited) {
    EXPECT_TRUE(passes(nested(jsonDepthLimit, "[", "]")));
    EXPECT_TRUE(passes(nested(jsonDepthLimit, "{\"a\":", "}")));
    EXPECT_FALSE(passes(nested(jsonDepthLimit + 1, "[", "]")));
    EXPECT_FALSE(passes(nested(jsonDepthLimit + 1, "{\"a\":", "}")));
    EXPECT_FALSE(passes(std::string(10'000'000, '[')));
    EXPECT_THAT(reread(nested(513, "[", "]")), HasSubstr("Too many nested arrays or dictionaries"));
}

TEST(JSONReader, AnyBytesGiveAValueOrAnError) {
    std::mt19937 random(7);
    const std::string_view seed = R"({"a":[1,-2.5e3,"x\u00e9\n",true,null],"b":{"c":"é😀"},})";
    const std::string_view alphabet = "{}[],:\"\\u0dE1-.+eatrufalsn \n\xC3\xFF\xED"sv;
    for (int round = 0; round < 100'000; ++round) {
        std::string text(seed);
        const unsigned changes = 1 + random() % 4;
        for (unsigned i = 0; i < changes; ++i) {
            const std::size_t place = random() % text.size();
            switch (random() % 3) {
            case 0:
                text[place] = alphabet[random() % alphabet.size()];
                break;
            case 1:
                text.erase(place, 1 + random() % 3);
                break;
            default:
                text.insert(place, 1, alphabet[random() % alphabet.size()]);
            }
            if (text.empty()) {
                text = "0";
            }
        }
        const std::string once = reread(text);
        if (once.find("Swift.") == std::string::npos) {
            ASSERT_EQ(reread(once), once) << text;
        }
    }
}

TEST(JSONReader, DecimalsOfEveryShortLengthAreTheNearestDoubles) {
    const std::string digits = "90718263540918";
    for (const std::string sign : {"", "-"}) {
        for (std::size_t whole = 1; whole < 9; ++whole) {
            for (std::size_t places = 1; places < 9; ++places) {
                for (const std::string behind : {"]", ",7.5,12345678]", " , 1e5 ]", "e2]", "E-1,0]"}) {
                    const std::string number = sign + digits.substr(0, whole) + "." + digits.substr(whole, places);
                    const std::string literal = number + behind.substr(0, behind.find_first_of("], "));
                    JSONReader reader(Bytes::copyOf("[" + number + behind));
                    reader.enterArray();
                    ASSERT_TRUE(reader.nextElement());
                    EXPECT_EQ(reader.readDouble(), std::strtod(literal.c_str(), nullptr)) << number << behind;
                }
            }
        }
    }
    for (const std::string wrong : {"01.5]  ", "1.x]   ", "1.]     ", ".5]     ", "1.5.5]  ", "1.5-2]  "}) {
        JSONReader reader(Bytes::copyOf("[" + wrong));
        reader.enterArray();
        ASSERT_TRUE(reader.nextElement());
        EXPECT_THROW(static_cast<void>(reader.readDouble()), JSONError) << wrong;
    }
}

} // namespace
} // namespace orvex
