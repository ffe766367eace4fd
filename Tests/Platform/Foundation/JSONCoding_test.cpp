#include "Platform/Foundation/JSONCoding.h"

#include <gtest/gtest.h>
#include <map>

namespace orvex {

enum class Colour { red, green };

struct Leaf {
    std::optional<std::string> text;
    std::optional<bool> flag;
    friend bool operator==(const Leaf&, const Leaf&) = default;
};

struct Tree {
    std::int64_t count = 0;
    std::optional<Colour> colour;
    std::optional<std::vector<Leaf>> leaves;
    std::optional<double> height;
    friend bool operator==(const Tree&, const Tree&) = default;
};

template <> struct JSONEnumeration<Colour> {
    static constexpr std::string_view name = "Colour";
    static constexpr std::array<std::pair<Colour, std::string_view>, 2> cases{
        {{Colour::red, "red"}, {Colour::green, "green"}}};
};

template <> struct JSONRecord<Leaf> {
    static constexpr std::array fields{jsonField<&Leaf::text>("text"), jsonField<&Leaf::flag>("flag")};
};

/// The same record, once read in order and once on all cores.
template <bool sideBySide> struct Entry {
    std::optional<std::string> text;
    std::optional<double> number;
    std::optional<std::vector<Leaf>> leaves;
};
template <bool sideBySide> struct Catalogue {
    std::optional<std::vector<Entry<sideBySide>>> entries;
    std::optional<double> last;
};
template <> inline constexpr bool isReadSideBySide<Entry<true>> = true;

template <bool sideBySide> struct JSONRecord<Entry<sideBySide>> {
    static constexpr std::array fields{jsonField<&Entry<sideBySide>::text>("text"),
                                       jsonField<&Entry<sideBySide>::number>("number"),
                                       jsonField<&Entry<sideBySide>::leaves>("leaves")};
};
template <bool sideBySide> struct JSONRecord<Catalogue<sideBySide>> {
    static constexpr std::array fields{jsonField<&Catalogue<sideBySide>::entries>("entries"),
                                       jsonField<&Catalogue<sideBySide>::last>("last")};
};

template <> struct JSONRecord<Tree> {
    static constexpr std::array fields{jsonField<&Tree::count>("count"), jsonField<&Tree::colour>("colour"),
                                       jsonField<&Tree::leaves>("leaves"), jsonField<&Tree::height>("height")};
};

namespace {

Tree decodeTree(std::string_view text) {
    return decodeJSON<Tree>(Bytes::copyOf(text));
}

std::string errorOf(std::string_view text) {
    try {
        (void)decodeTree(text);
        return "no error";
    } catch (const JSONError& e) {
        return e.what();
    }
}

TEST(JSONCoding, WritesInDeclarationOrderOrSorted) {
    const Tree tree{3, Colour::green, std::vector<Leaf>{{"t", true}, {}}, 1.5};
    EXPECT_EQ(encodeJSON(tree, false),
              R"({"count":3,"colour":"green","leaves":[{"text":"t","flag":true},{}],"height":1.5})");
    EXPECT_EQ(encodeJSON(Tree{1, Colour::red, {}, 2.0}, true),
              "{\n  \"colour\" : \"red\",\n  \"count\" : 1,\n  \"height\" : 2\n}");
}

TEST(JSONCoding, ReadsBackWhatItWrote) {
    const Tree tree{-7, Colour::red, std::vector<Leaf>{{}, {"a/b \"é\"", false}}, 0.1};
    EXPECT_EQ(decodeTree(encodeJSON(tree, false)), tree);
    EXPECT_EQ(decodeTree(encodeJSON(tree, true)), tree);
}

TEST(JSONCoding, AbsentAndNullOptionalsAreAbsentAndUnknownKeysPassedOver) {
    EXPECT_EQ(decodeTree(R"({"count":1,"colour":null,"x":{"leaves":[1]},"leaves":null})"), Tree{1});
}

TEST(JSONCoding, OfEqualKeysTheFirstCounts) {
    EXPECT_EQ(decodeTree(R"({"count":1,"count":2,"height":null,"height":5})"), Tree{1});
    EXPECT_EQ(decodeTree(R"({"c\u006funt":1,"count":"never read"})"), Tree{1});
}

struct ErrorCase {
    std::string_view text;
    std::string_view error;
};

TEST(JSONCoding, ErrorsAreDescribedWithTheirPath) {
    const ErrorCase cases[] = {
        {R"({"count":"1"})",
         R"(typeMismatch(Swift.Int, Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "count", intValue: nil)], debugDescription: "Expected to decode Int but found a string instead.", underlyingError: nil)))"},
        {R"({"count":1,"leaves":[{},{"flag":0}]})",
         R"(typeMismatch(Swift.Bool, Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "leaves", intValue: nil), _CodingKey(stringValue: "Index 1", intValue: 1), CodingKeys(stringValue: "flag", intValue: nil)], debugDescription: "Expected to decode Bool but found number instead.", underlyingError: nil)))"},
        {R"({"count":1,"leaves":{}})",
         R"(typeMismatch(Swift.Array<Any>, Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "leaves", intValue: nil)], debugDescription: "Expected to decode Array<Any> but found a dictionary instead.", underlyingError: nil)))"},
        {R"([])",
         R"(typeMismatch(Swift.Dictionary<Swift.String, Any>, Swift.DecodingError.Context(codingPath: [], debugDescription: "Expected to decode Dictionary<String, Any> but found an array instead.", underlyingError: nil)))"},
        {R"({})",
         R"(keyNotFound(CodingKeys(stringValue: "count", intValue: nil), Swift.DecodingError.Context(codingPath: [], debugDescription: "No value associated with key CodingKeys(stringValue: \"count\", intValue: nil) (\"count\").", underlyingError: nil)))"},
        {R"({"count":null})",
         R"(valueNotFound(Swift.Int, Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "count", intValue: nil)], debugDescription: "Cannot get value of type Int -- found null value instead", underlyingError: nil)))"},
        {R"({"count":1,"leaves":[null]})",
         R"(valueNotFound(Swift.Dictionary<Swift.String, Any>, Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "leaves", intValue: nil), _CodingKey(stringValue: "Index 0", intValue: 0)], debugDescription: "Cannot get keyed decoding container -- found null value instead", underlyingError: nil)))"},
        {R"({"count":96.5})",
         R"(dataCorrupted(Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "count", intValue: nil)], debugDescription: "Number 96.5 is not representable in Swift.", underlyingError: nil)))"},
        {R"({"count":1,"colour":"Red"})",
         R"(dataCorrupted(Swift.DecodingError.Context(codingPath: [CodingKeys(stringValue: "colour", intValue: nil)], debugDescription: "Cannot initialize Colour from invalid String value Red", underlyingError: nil)))"},
        {R"({"count":01})",
         R"(dataCorrupted(Swift.DecodingError.Context(codingPath: [], debugDescription: "The given data was not valid JSON.", underlyingError: Optional(Number with leading zero around line 1, column 10.))))"},
    };
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(errorOf(text), error) << text;
    }
}

TEST(JSONCoding, SummariesAreForPeople) {
    const auto summaryOf = [](std::string_view text) {
        try {
            (void)decodeTree(text);
        } catch (const JSONError& e) {
            return e.summary();
        }
        return std::string();
    };
    EXPECT_EQ(summaryOf(R"({"count":1,"leaves":[{},{"flag":0}]})"),
              "leaves[1].flag: Expected to decode Bool but found number instead.");
    EXPECT_EQ(summaryOf("{}"), "missing key \"count\"");
    EXPECT_EQ(summaryOf("{"), "Not valid JSON: Unexpected end of file around line 1, column 2.");
}

template <bool sideBySide> std::string decodedCatalogue(const std::string& text) {
    try {
        return encodeJSON(decodeJSON<Catalogue<sideBySide>>(Bytes::copyOf(text)), false);
    } catch (const JSONError& e) {
        return e.what();
    }
}

/// `count` entries, of which those listed are given in full.
std::string catalogue(const std::map<std::size_t, std::string>& special, const std::string& end = "],\"last\":1}") {
    constexpr std::size_t count = 3000;
    std::string text = "{\"entries\" : [";
    for (std::size_t i = 0; i < count; ++i) {
        const auto found = special.find(i);
        text += i > 0 ? " , " : "";
        text += found != special.end()
                    ? found->second
                    : R"({"text":"[}\\\"{)" + std::to_string(i) + R"(\\","number":-)" + std::to_string(i) + ".25}";
    }
    return text + end;
}

TEST(JSONCoding, ListsReadOnAllCoresAreAsThoseReadInOrder) {
    const std::string cases[] = {
        catalogue({}),
        catalogue({}, ",],\"last\":1}"),
        catalogue({{0, R"({"leaves":[{"text":"\\"},{}],"x":[{"y":"]"}]})"}, {2999, "{}"}}),
        catalogue({{1000, R"({"number":"1"})"}, {2000, R"({"text":2})"}}),
        catalogue({{2000, R"({"leaves":[{},{"flag":0}]})"}}),
        catalogue({{7, "null"}}),
        catalogue({{7, "1"}, {8, "[]"}}),
        catalogue({{1000, R"({"number":01})"}}),
        catalogue({{1000, R"({"number":"1"})"}, {2000, R"({"text" 2})"}}),
        catalogue({{1000, R"({"number":"1"})"}}, "],\"last\":}"),
        catalogue({{1000, R"({"text":"a"}})"}}),
        catalogue({{1000, R"({"text":"a)"}}),
        catalogue({{1000, R"({"text":"a")"}}),
        catalogue({{1000, R"({"text":[})"}}),
        catalogue({{1000, R"({"x":{]}})"}}),
        catalogue({{1000, R"({} {})"}}),
        catalogue({{1000, "\\"}}),
        catalogue({{1000, ""}}),
        catalogue({{2999, R"({"text":"\q"})"}}),
        catalogue({}, ""),
        catalogue({}, "]"),
        catalogue({}, "]}}"),
    };
    for (const auto& text : cases) {
        ASSERT_GT(text.size(), 100'000U);
        const std::string inOrder = decodedCatalogue<false>(text);
        EXPECT_TRUE(decodedCatalogue<true>(text) == inOrder) << inOrder.substr(0, 300) << "\n"
                                                             << decodedCatalogue<true>(text).substr(0, 300);
    }
}

TEST(JSONCoding, ListsOfElementsLongerAndShorterThanTheFirstHoldWhatIsThere) {
    for (const std::size_t count : {0U, 1U, 2U, 3U, 3000U}) {
        for (const std::size_t first : {0U, 5U, 500U}) { // the first element's length is what room is made for
            Tree tree;
            tree.leaves.emplace();
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t length = i == 0 ? first : i % 40;
                tree.leaves->push_back({std::string(length, 'x') + std::to_string(i), i % 2 == 0});
            }
            const auto back = decodeJSON<Tree>(Bytes(encodeJSON(tree, false)));
            EXPECT_TRUE(back == tree) << count << " elements, the first " << first;
            EXPECT_LE(back.leaves->capacity(), 2 * count + 2);
        }
    }
}

} // namespace
} // namespace orvex
