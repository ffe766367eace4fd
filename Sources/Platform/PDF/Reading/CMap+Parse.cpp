#include "Platform/PDF/Reading/CMap_p.h"

#include "Platform/PDF/Syntax_p.h"

#include <algorithm>
#include <charconv>

namespace orvex {

namespace {

enum class TokenKind : unsigned char { end, string, literal, number, name, word, arrayStart, arrayEnd };

struct Token {
    TokenKind kind = TokenKind::end;
    std::string_view text; ///< a name without its slash, a word, a literal string as it stands
    std::string bytes;     ///< of a string
    std::uint32_t number = 0;
};

constexpr std::size_t longestOrdering = 64;
// In UTF-16 units. Ligatures have up to 18; a page of text per code would multiply.
constexpr std::size_t longestText = 64;

/// The little of PostScript that character maps are written in.
class Lexer {
public:
    explicit Lexer(std::string_view source) : rest_(source) {}

    void next(Token& token) {
        skipBlanks();
        token.bytes.clear();
        if (rest_.empty()) {
            token.kind = TokenKind::end;
            return;
        }
        const char c = rest_.front();
        if (c == '<' && rest_.size() > 1 && rest_[1] != '<') {
            token.kind = TokenKind::string;
            readHex(token.bytes);
        } else if (c == '/') {
            rest_.remove_prefix(1);
            token.kind = TokenKind::name;
            token.text = takeRegular();
        } else if (c == '[' || c == ']') {
            rest_.remove_prefix(1);
            token.kind = c == '[' ? TokenKind::arrayStart : TokenKind::arrayEnd;
        } else if (c == '(') {
            const std::size_t end = std::min(rest_.find(')'), rest_.size());
            token.kind = TokenKind::literal;
            token.text = rest_.substr(1, end - 1);
            rest_.remove_prefix(std::min(end + 1, rest_.size()));
        } else if (!isRegular(c)) {
            rest_.remove_prefix(1);
            token.kind = TokenKind::word;
            token.text = {};
        } else {
            readWord(token);
        }
    }

private:
    void skipBlanks() {
        while (!rest_.empty() && (isBlank(rest_.front()) || rest_.front() == '%')) {
            if (rest_.front() == '%') {
                rest_.remove_prefix(std::min(rest_.find_first_of("\r\n"), rest_.size()));
            } else {
                rest_.remove_prefix(1);
            }
        }
    }
    std::string_view takeRegular() {
        const auto end = std::ranges::find_if_not(rest_, isRegular);
        const auto taken = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(taken.size());
        return taken;
    }
    void readHex(std::string& bytes) {
        int high = -1;
        std::size_t at = 1;
        for (; at < rest_.size() && rest_[at] != '>'; ++at) {
            const int digit = hexDigit(rest_[at]);
            if (digit >= 0 && high >= 0) {
                bytes += static_cast<char>(high * 16 + digit);
                high = -1;
            } else if (digit >= 0) {
                high = digit;
            }
        }
        if (high >= 0) {
            bytes += static_cast<char>(high * 16);
        }
        rest_.remove_prefix(std::min(at + 1, rest_.size()));
    }
    void readWord(Token& token) {
        token.text = takeRegular();
        const char* end = token.text.data() + token.text.size();
        const auto [stopped, error] = std::from_chars(token.text.data(), end, token.number);
        token.kind = error == std::errc() && stopped == end ? TokenKind::number : TokenKind::word;
    }

    std::string_view rest_;
};

std::uint32_t valueOf(std::string_view bytes) {
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(0, 4)) {
        value = (value << 8U) | static_cast<std::uint8_t>(byte);
    }
    return value;
}

CMap::Code codeOf(std::string_view bytes) {
    return {valueOf(bytes), static_cast<std::uint8_t>(std::clamp<std::size_t>(bytes.size(), 1, 4))};
}

} // namespace

class CMapParser {
public:
    CMapParser(CMap& map, std::string_view source, const CMap::Named& named)
        : map_(map), lexer_(source), named_(named) {}

    void parse() {
        std::string_view lastName;
        std::uint32_t lastNumber = 0;
        for (lexer_.next(token_); token_.kind != TokenKind::end; lexer_.next(token_)) {
            if (token_.kind == TokenKind::name) {
                lastName = token_.text;
            } else if (token_.kind == TokenKind::number) {
                lastNumber = token_.number;
            } else if (token_.kind == TokenKind::literal && lastName == "Ordering" && map_.ordering_.empty()) {
                map_.ordering_ = token_.text.substr(0, longestOrdering);
            } else if (token_.kind == TokenKind::word && token_.text == "def" && lastName == "WMode") {
                map_.vertical_ = lastNumber == 1;
            } else if (token_.kind == TokenKind::word && token_.text == "usecmap" && named_ && !map_.base_) {
                map_.base_ = named_(lastName);
            } else if (token_.kind == TokenKind::word && token_.text.starts_with("begin")) {
                section(token_.text.substr(5));
            }
        }
    }

private:
    /// Reads the next token of a section; false at the section's end.
    bool entry() {
        lexer_.next(token_);
        return token_.kind != TokenKind::end && !(token_.kind == TokenKind::word && token_.text.starts_with("end"));
    }

    void section(std::string_view name) {
        if (name == "codespacerange") {
            codeSpaces();
        } else if (name == "cidrange") {
            identifiers(map_.identifiers_, true, 1);
        } else if (name == "cidchar") {
            identifiers(map_.identifiers_, false, 1);
        } else if (name == "notdefrange") {
            identifiers(map_.undefined_, true, 0);
        } else if (name == "notdefchar") {
            identifiers(map_.undefined_, false, 0);
        } else if (name == "bfrange") {
            textRanges();
        } else if (name == "bfchar") {
            texts();
        }
    }

    void codeSpaces() {
        while (entry()) {
            const std::string low = token_.bytes;
            if (token_.kind != TokenKind::string || !entry()) {
                return;
            }
            if (token_.kind == TokenKind::string && !low.empty() && low.size() <= 4 &&
                low.size() == token_.bytes.size()) {
                map_.spaces_.push_back({valueOf(low), valueOf(token_.bytes), static_cast<std::uint8_t>(low.size())});
            }
        }
    }

    void identifiers(std::vector<CMap::Range>& ranges, bool areRanges, std::uint32_t rising) {
        while (entry()) {
            if (token_.kind != TokenKind::string) {
                continue;
            }
            const CMap::Code low = codeOf(token_.bytes);
            CMap::Code high = low;
            if (areRanges) {
                if (!entry()) {
                    return;
                }
                high.value = valueOf(token_.bytes);
            }
            if (!entry()) {
                return;
            }
            if (token_.kind == TokenKind::number && low.value <= high.value) {
                ranges.push_back({CMap::key(low), CMap::key(high), CMap::key(low), token_.number, rising});
            }
        }
    }

    void texts() {
        while (entry()) {
            if (token_.kind != TokenKind::string) {
                continue;
            }
            const std::uint32_t code = valueOf(token_.bytes);
            if (!entry()) {
                return;
            }
            if (token_.kind == TokenKind::string) {
                addText(code, code);
            }
        }
    }

    void textRanges() {
        while (entry()) {
            if (token_.kind != TokenKind::string) {
                continue;
            }
            const std::uint32_t low = valueOf(token_.bytes);
            if (!entry()) {
                return;
            }
            const std::uint32_t high = valueOf(token_.bytes);
            if (token_.kind != TokenKind::string || !entry()) {
                return;
            }
            if (token_.kind == TokenKind::string && low <= high) {
                addText(low, high);
            } else if (token_.kind == TokenKind::arrayStart) {
                std::uint64_t code = low;
                while (entry() && token_.kind != TokenKind::arrayEnd) {
                    if (token_.kind == TokenKind::string && code <= high) {
                        addText(static_cast<std::uint32_t>(code), static_cast<std::uint32_t>(code));
                    }
                    ++code;
                }
                if (token_.kind != TokenKind::arrayEnd) {
                    return;
                }
            }
        }
    }

    /// The token's bytes are UTF-16, big end first; a single byte is a character.
    void addText(std::uint32_t low, std::uint32_t high) {
        const std::string& bytes = token_.bytes;
        const std::size_t start = map_.pool_.size();
        if (bytes.size() == 1) {
            map_.pool_ += static_cast<char16_t>(static_cast<std::uint8_t>(bytes[0]));
        }
        const std::size_t end = std::min(bytes.size(), 2 * longestText);
        for (std::size_t at = 0; at + 1 < end; at += 2) {
            map_.pool_ += static_cast<char16_t>(valueOf(std::string_view(bytes).substr(at, 2)));
        }
        map_.texts_.push_back(
            {low, high, low, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(map_.pool_.size() - start)});
    }

    CMap& map_;
    Lexer lexer_;
    const CMap::Named& named_;
    Token token_;
};

std::shared_ptr<const CMap> CMap::parse(std::string_view source, const Named& named, std::shared_ptr<const CMap> base) {
    auto map = std::make_shared<CMap>();
    map->base_ = std::move(base);
    map->cost_ = source.size();
    CMapParser(*map, source, named).parse();
    map->finish();
    return map;
}

} // namespace orvex
