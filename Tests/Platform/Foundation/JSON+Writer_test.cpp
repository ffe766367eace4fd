#include "Platform/Foundation/JSON.h"

#include <gtest/gtest.h>
#include <limits>

namespace orvex {
namespace {

using Array = JSONValue::Array;
using Object = JSONValue::Object;

struct NumberCase {
    double value;
    std::string_view text;
};

TEST(WriteJSON, NumbersAreShortestAndDropAnEmptyFraction) {
    for (const auto& [value, text] : {NumberCase{1.0, "1"},
                                      {0.1, "0.1"},
                                      {-0.0, "-0"},
                                      {1e-5, "1e-05"},
                                      {1e16, "1e+16"},
                                      {0, "0"},
                                      {-12.5, "-12.5"},
                                      {9007199254740992.0, "9007199254740992"},
                                      {9007199254740994.0, "9.007199254740994e+15"},
                                      {0.30000000000000004, "0.30000000000000004"},
                                      {1e15, "1000000000000000"},
                                      {5e-324, "5e-324"}}) {
        EXPECT_EQ(writeJSON(value, false), text);
    }
    EXPECT_EQ(writeJSON(std::numeric_limits<std::int64_t>::max(), false), "9223372036854775807");
    EXPECT_EQ(writeJSON(std::numeric_limits<std::int64_t>::min(), false), "-9223372036854775808");
}

TEST(WriteJSON, TextEscapesWhatItMustAndSlashes) {
    EXPECT_EQ(writeJSON("\"\\/\b\f\n\r\t", false), R"("\"\\\/\b\f\n\r\t")");
    EXPECT_EQ(writeJSON(std::string("\0\x01\x1F", 3), false), R"("\u0000\u0001\u001f")");
    EXPECT_EQ(writeJSON("\x7F é \xE2\x80\xA8 😀", false), "\"\x7F é \xE2\x80\xA8 😀\"");
}

TEST(WriteJSON, CompactKeepsTheOrderOfMembers) {
    EXPECT_EQ(
        writeJSON(Object{{"b", 1}, {"a", Array{true, false, nullptr, "x"}}, {"c", Object{}}, {"d", Array{}}}, false),
        R"({"b":1,"a":[true,false,null,"x"],"c":{},"d":[]})");
}

TEST(WriteJSON, PrettySortsKeysAtEveryLevelByBytes) {
    const JSONValue value = Object{{"b", Object{{"z", 1}, {"Z", 2}, {"é", 3}}}, {"a", Array{1, Object{{"k", "v"}}}}};
    EXPECT_EQ(writeJSON(value, true), R"({
  "a" : [
    1,
    {
      "k" : "v"
    }
  ],
  "b" : {
    "Z" : 2,
    "z" : 1,
    "é" : 3
  }
})");
}

TEST(WriteJSON, PrettyEmptyContainersHoldAnEmptyLine) {
    EXPECT_EQ(writeJSON(Array{}, true), "[\n\n]");
    EXPECT_EQ(writeJSON(Object{}, true), "{\n\n}");
    EXPECT_EQ(writeJSON(Object{{"a", Array{}}}, true), "{\n  \"a\" : [\n\n  ]\n}");
}

std::string errorOf(const JSONValue& value) {
    try {
        return writeJSON(value, false);
    } catch (const JSONError& e) {
        return e.what();
    }
}

TEST(WriteJSON, NumbersThatAreNotFiniteFailAndNameTheirPlace) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(
        errorOf(Object{{"a", Array{0, Object{{"x", nan}}}}}),
        "invalidValue(nan, Swift.EncodingError.Context(codingPath: [CodingKeys(stringValue: \"a\", intValue: nil), "
        "_CodingKey(stringValue: \"Index 1\", intValue: 1), CodingKeys(stringValue: \"x\", intValue: nil)], "
        "debugDescription: \"Unable to encode Double.nan directly in JSON.\", underlyingError: nil))");
    EXPECT_NE(errorOf(infinity).find("Unable to encode Double.inf directly in JSON."), std::string::npos);
    EXPECT_NE(errorOf(-infinity).find("Unable to encode Double.-inf directly in JSON."), std::string::npos);
}

TEST(WriteJSON, TextThatIsNotUTF8Fails) {
    EXPECT_THROW((void)writeJSON("\xFF", false), JSONError);
    EXPECT_THROW((void)writeJSON(Object{{"\xC3", 1}}, false), JSONError);
}

JSONValue nested(std::size_t depth) {
    JSONValue value = 1;
    for (std::size_t i = 0; i < depth; ++i) {
        value = Array{std::move(value)};
    }
    return value;
}

TEST(WriteJSON, NestingIsLimited) {
    EXPECT_EQ(writeJSON(nested(jsonDepthLimit), false), std::string(512, '[') + "1" + std::string(512, ']'));
    EXPECT_THROW((void)writeJSON(nested(jsonDepthLimit + 1), false), JSONError);
}

} // namespace
} // namespace orvex
