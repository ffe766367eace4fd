#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace orvex {

namespace {

constexpr char32_t replacement = 0xFFFD;

struct CodePointRange {
    char32_t first;
    char32_t last;
};

template <std::size_t N> bool contains(const std::array<CodePointRange, N>& ranges, char32_t c) {
    const auto after = std::upper_bound(ranges.begin(), ranges.end(), c,
                                        [](char32_t v, const CodePointRange& r) { return v < r.first; });
    return after != ranges.begin() && c <= std::prev(after)->last;
}

constexpr std::array<CodePointRange, 10> whiteSpace = {{{0x09, 0x0D},
                                                        {0x20, 0x20},
                                                        {0x85, 0x85},
                                                        {0xA0, 0xA0},
                                                        {0x1680, 0x1680},
                                                        {0x2000, 0x200B},
                                                        {0x2028, 0x2029},
                                                        {0x202F, 0x202F},
                                                        {0x205F, 0x205F},
                                                        {0x3000, 0x3000}}};

/// Marks, joiners and modifiers that belong to the character before them, in the scripts that texts are likely to use.
constexpr std::array<CodePointRange, 61> extending = {{
    {0x0300, 0x036F},   {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x05BF, 0x05BF}, {0x05C1, 0x05C2},   {0x05C4, 0x05C5},
    {0x05C7, 0x05C7},   {0x0610, 0x061A}, {0x064B, 0x065F}, {0x0670, 0x0670}, {0x06D6, 0x06DC},   {0x06DF, 0x06E4},
    {0x06E7, 0x06E8},   {0x06EA, 0x06ED}, {0x0711, 0x0711}, {0x0730, 0x074A}, {0x0900, 0x0903},   {0x093A, 0x093C},
    {0x093E, 0x094F},   {0x0951, 0x0957}, {0x0962, 0x0963}, {0x0981, 0x0983}, {0x09BC, 0x09BC},   {0x09BE, 0x09CD},
    {0x0A01, 0x0A03},   {0x0A3C, 0x0A4D}, {0x0A81, 0x0A83}, {0x0ABC, 0x0ABC}, {0x0ABE, 0x0ACD},   {0x0B01, 0x0B03},
    {0x0B3E, 0x0B4D},   {0x0BBE, 0x0BCD}, {0x0C3E, 0x0C56}, {0x0CBE, 0x0CD6}, {0x0D3E, 0x0D4D},   {0x0E31, 0x0E31},
    {0x0E34, 0x0E3A},   {0x0E47, 0x0E4E}, {0x0EB1, 0x0EB1}, {0x0EB4, 0x0EBC}, {0x0EC8, 0x0ECE},   {0x0F71, 0x0F84},
    {0x102B, 0x103E},   {0x1160, 0x11FF}, {0x135D, 0x135F}, {0x17B4, 0x17D3}, {0x180B, 0x180D},   {0x1AB0, 0x1ACE},
    {0x1DC0, 0x1DFF},   {0x200C, 0x200D}, {0x20D0, 0x20F0}, {0x302A, 0x302F}, {0x3099, 0x309A},   {0xA66F, 0xA672},
    {0xA67C, 0xA67D},   {0xFB1E, 0xFB1E}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}, {0xE0020, 0xE007F},
    {0xE0100, 0xE01EF},
}};

constexpr char32_t zeroWidthJoiner = 0x200D;

bool isRegionalIndicator(char32_t c) {
    return c >= 0x1F1E6 && c <= 0x1F1FF;
}

/// Emoji are joined to one picture by a joiner; letters are not.
bool isPictographic(char32_t c) {
    return (c >= 0x1F000 && c <= 0x1FAFF) || (c >= 0x2190 && c <= 0x2BFF);
}

/// Whether a new character starts at `c`, going by the two code points before it.
class CharacterBreaks {
public:
    bool startsAt(char32_t c) {
        const bool starts = !continues(c);
        flagHalf_ = isRegionalIndicator(c) && !(flagHalf_ && !starts);
        previous_ = c;
        return starts;
    }

private:
    [[nodiscard]] bool continues(char32_t c) const {
        if (previous_ == 0) {
            return false;
        }
        return (previous_ == '\r' && c == '\n') || (contains(extending, c) && previous_ != '\n' && previous_ != '\r') ||
               (previous_ == zeroWidthJoiner && isPictographic(c)) || (flagHalf_ && isRegionalIndicator(c));
    }

    char32_t previous_ = 0;
    bool flagHalf_ = false;
};

/// The lead byte's share of the code point and how many bytes follow; no bytes for a byte that cannot lead.
struct Lead {
    char32_t bits = 0;
    std::size_t following = 0;
    char32_t smallest = 0; ///< below it the form is longer than needed
};

Lead readLead(unsigned char byte) {
    if (byte >= 0xC2 && byte <= 0xDF) {
        return {byte & 0x1FU, 1, 0x80};
    }
    if (byte >= 0xE0 && byte <= 0xEF) {
        return {byte & 0x0FU, 2, 0x800};
    }
    if (byte >= 0xF0 && byte <= 0xF4) {
        return {byte & 0x07U, 3, 0x10000};
    }
    return {};
}

/// The length of the valid sequence at the start of `text` (not empty), 0 when it is invalid.
std::size_t decode(std::string_view text, char32_t& codePoint) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) {
        codePoint = first;
        return 1;
    }
    const Lead lead = readLead(first);
    if (lead.following == 0 || text.size() <= lead.following) {
        return 0;
    }
    codePoint = lead.bits;
    for (std::size_t i = 1; i <= lead.following; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80) {
            return 0;
        }
        codePoint = (codePoint << 6U) | (byte & 0x3FU);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < lead.smallest || codePoint > 0x10FFFF || surrogate ? 0 : lead.following + 1;
}

/// Where the last code point of `text` starts; an invalid byte stands for itself.
std::size_t lastStart(std::string_view text) {
    const bool ascii = static_cast<unsigned char>(text.back()) < 0x80;
    const std::size_t longest = ascii ? 1 : std::min<std::size_t>(text.size(), 4);
    for (std::size_t length = 2; length <= longest; ++length) {
        char32_t codePoint = 0;
        if (decode(text.substr(text.size() - length), codePoint) == length) {
            return text.size() - length;
        }
    }
    return text.size() - 1;
}

} // namespace

char32_t nextEncodedCodePoint(std::string_view text, std::size_t& offset) {
    char32_t codePoint = 0;
    const std::size_t length = decode(text.substr(offset), codePoint);
    offset += length == 0 ? 1 : length;
    return length == 0 ? replacement : codePoint;
}

std::u32string codePoints(std::string_view utf8) {
    std::u32string text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        text += nextCodePoint(utf8, at);
    }
    return text;
}

char32_t firstCodePoint(std::string_view text) {
    std::size_t at = 0;
    return nextCodePoint(text, at);
}

char32_t lastCodePoint(std::string_view text) {
    std::size_t at = lastStart(text);
    return nextCodePoint(text, at);
}

void appendUTF8(std::string& text, char32_t codePoint) {
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    const char32_t c = codePoint > 0x10FFFF || surrogate ? replacement : codePoint;
    const auto put = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (c < 0x80) {
        put(c);
        return;
    }
    if (c < 0x800) {
        put(0xC0U | (c >> 6U));
    } else if (c < 0x10000) {
        put(0xE0U | (c >> 12U));
        put(0x80U | ((c >> 6U) & 0x3FU));
    } else {
        put(0xF0U | (c >> 18U));
        put(0x80U | ((c >> 12U) & 0x3FU));
        put(0x80U | ((c >> 6U) & 0x3FU));
    }
    put(0x80U | (c & 0x3FU));
}

bool isValidUTF8(std::string_view text) {
    char32_t codePoint = 0;
    while (!text.empty()) {
        const std::size_t length = decode(text, codePoint);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string_view trimWhitespaceAndNewlines(std::string_view text) {
    const auto isGraphic = [](char byte) { return byte > ' ' && byte <= '~'; };
    if (!text.empty() && isGraphic(text.front()) && isGraphic(text.back())) {
        return text;
    }
    char32_t c = 0;
    while (!text.empty()) {
        const std::size_t length = decode(text, c);
        if (length == 0 || !contains(whiteSpace, c)) {
            break;
        }
        text.remove_prefix(length);
    }
    while (!text.empty()) {
        const std::size_t start = lastStart(text);
        if (decode(text.substr(start), c) == 0 || !contains(whiteSpace, c)) {
            break;
        }
        text = text.substr(0, start);
    }
    return text;
}

std::size_t countCharacters(std::string_view text) {
    std::size_t count = 0;
    CharacterBreaks breaks;
    for (std::size_t offset = 0; offset < text.size();) {
        count += breaks.startsAt(nextCodePoint(text, offset)) ? 1U : 0U;
    }
    return count;
}

} // namespace orvex
