#include "Platform/PDF/Loading/DictionaryText_p.h"

#include "Platform/PDF/Syntax_p.h"

#include <algorithm>
#include <charconv>

namespace orvex {

namespace {

constexpr int deepestNesting = 50;
constexpr std::ptrdiff_t mostDigits = 18;

/// Zeros are white space only to some.
bool isSpace(char c) {
    return isBlank(c) && c != '\0';
}

bool isHexDigit(char c) {
    return hexDigit(c) >= 0;
}

/// Control characters are white space to some parsers and part of a name to others.
bool isOfName(char c) {
    return static_cast<unsigned char>(c) > ' ' && !isDelimiter(c);
}

} // namespace

void TextScanner::skipSpace() {
    while (at_ != end_ && isSpace(*at_)) {
        ++at_;
    }
}

bool TextScanner::endsToken() const {
    return at_ == end_ || isSpace(*at_) || isDelimiter(*at_);
}

std::string_view TextScanner::rest() {
    skipSpace();
    return {at_, static_cast<std::size_t>(end_ - at_)};
}

bool TextScanner::word(std::string_view word) {
    if (!rest().starts_with(word)) {
        return false;
    }
    at_ += word.size();
    return endsToken();
}

std::optional<TextValue> TextScanner::valueAt(int depth) {
    skipSpace();
    const char* const start = at_;
    TextValue value;
    if (!scan(value.kind, depth)) {
        return std::nullopt;
    }
    value.text = {start, static_cast<std::size_t>(at_ - start)};
    return value;
}

std::optional<TextValue> TextScanner::nextReference() {
    for (;;) {
        skipSpace();
        const char* const start = at_;
        TextValue value;
        if (at_ == end_ || !scanFlat(value.kind)) {
            return std::nullopt;
        }
        if (value.kind == TextKind::reference) {
            value.text = {start, static_cast<std::size_t>(at_ - start)};
            return value;
        }
    }
}

/// A value, or a bracket of one.
bool TextScanner::scanFlat(TextKind& kind) {
    const bool opens = *at_ == '[' || (*at_ == '<' && end_ - at_ > 1 && at_[1] == '<');
    if (!opens && *at_ != ']' && *at_ != '>') {
        return scan(kind, 0);
    }
    at_ += *at_ == '<' ? 2 : 1;
    kind = TextKind::array;
    return true;
}

bool TextScanner::scan(TextKind& kind, int depth) {
    if (at_ == end_ || depth > deepestNesting) {
        return false;
    }
    switch (*at_) {
    case '/':
        kind = TextKind::name;
        return scanName(false);
    case '(':
        kind = TextKind::string;
        return scanString();
    case '[':
        kind = TextKind::array;
        return scanArray(depth);
    case '<':
        if (end_ - at_ > 1 && at_[1] == '<') {
            kind = TextKind::dictionary;
            return scanDictionary(nullptr, depth);
        }
        kind = TextKind::string;
        return scanHexString();
    default:
        if (isDigit(*at_) || *at_ == '-' || *at_ == '+' || *at_ == '.') {
            return scanNumber(kind);
        }
        kind = TextKind::keyword;
        return scanKeyword();
    }
}

bool TextScanner::scanName(bool isKey) {
    for (++at_; !endsToken(); ++at_) {
        if (!isOfName(*at_)) {
            return false;
        }
        if (*at_ == '#') {
            const bool isEscape = end_ - at_ > 2 && isHexDigit(at_[1]) && isHexDigit(at_[2]);
            if (isKey || !isEscape || (at_[1] == '0' && at_[2] == '0')) {
                return false;
            }
        }
    }
    return true;
}

bool TextScanner::scanNumber(TextKind& kind) {
    const char* const start = at_;
    at_ += *at_ == '-' || *at_ == '+' ? 1 : 0;
    const char* const digits = at_;
    at_ = std::find_if_not(at_, end_, isDigit);
    auto count = at_ - digits;
    kind = TextKind::integer;
    if (at_ != end_ && *at_ == '.') {
        kind = TextKind::real;
        const char* const decimals = ++at_;
        at_ = std::find_if_not(at_, end_, isDigit);
        count += at_ - decimals;
    }
    if (count == 0 || count > mostDigits || !endsToken()) {
        return false;
    }
    if (kind == TextKind::integer && isDigit(*start) && scanReferenceTail()) {
        kind = TextKind::reference;
    }
    return true;
}

/// " 0 R" behind an integer; otherwise stays where it is.
bool TextScanner::scanReferenceTail() {
    const char* const start = at_;
    skipSpace();
    const char* const digits = at_;
    at_ = std::find_if_not(at_, end_, isDigit);
    if (at_ != digits && at_ != end_ && isSpace(*at_)) {
        skipSpace();
        if (at_ != end_ && *at_ == 'R') {
            ++at_;
            if (endsToken()) {
                return true;
            }
        }
    }
    at_ = start;
    return false;
}

bool TextScanner::scanString() {
    int depth = 0;
    for (; at_ != end_; ++at_) {
        if (*at_ == '\\') {
            if (++at_ == end_) {
                return false;
            }
        } else if (*at_ == '(') {
            ++depth;
        } else if (*at_ == ')' && --depth == 0) {
            ++at_;
            return true;
        }
    }
    return false;
}

bool TextScanner::scanHexString() {
    at_ = std::find_if_not(at_ + 1, end_, [](char c) { return isHexDigit(c) || isSpace(c); });
    return at_ != end_ && *at_++ == '>';
}

bool TextScanner::scanArray(int depth) {
    for (++at_;;) {
        skipSpace();
        if (at_ == end_) {
            return false;
        }
        if (*at_ == ']') {
            ++at_;
            return true;
        }
        TextKind kind{};
        if (!scan(kind, depth + 1)) {
            return false;
        }
    }
}

bool TextScanner::dictionary(std::vector<TextEntry>& entries) {
    entries.clear();
    skipSpace();
    return end_ - at_ > 1 && at_[0] == '<' && at_[1] == '<' && scanDictionary(&entries, 0);
}

bool TextScanner::scanDictionary(std::vector<TextEntry>* entries, int depth) {
    for (at_ += 2;;) {
        skipSpace();
        if (end_ - at_ > 1 && at_[0] == '>' && at_[1] == '>') {
            at_ += 2;
            return true;
        }
        const char* const key = at_;
        if (at_ == end_ || *at_ != '/' || !scanName(entries != nullptr)) {
            return false;
        }
        const std::string_view name(key, static_cast<std::size_t>(at_ - key));
        const auto value = valueAt(depth + 1);
        if (!value) {
            return false;
        }
        if (entries != nullptr) {
            entries->push_back({name, *value});
        }
    }
}

bool TextScanner::scanKeyword() {
    const char* const start = at_;
    at_ = std::find_if_not(at_, end_, isOfName);
    const std::string_view word(start, static_cast<std::size_t>(at_ - start));
    return (word == "true" || word == "false" || word == "null") && endsToken();
}

const TextValue* findEntry(const std::vector<TextEntry>& entries, std::string_view key) {
    const auto found = std::ranges::find(entries, key, &TextEntry::key);
    if (found == entries.end() || std::ranges::find(found + 1, entries.end(), key, &TextEntry::key) != entries.end()) {
        return nullptr;
    }
    return &found->value;
}

bool hasEntry(const std::vector<TextEntry>& entries, std::string_view key) {
    return std::ranges::find(entries, key, &TextEntry::key) != entries.end();
}

std::optional<int> integerOf(const TextValue* value) {
    if (value == nullptr || value->kind != TextKind::integer || value->text.size() > 9) {
        return std::nullopt;
    }
    const std::string_view text = value->text.substr(value->text.front() == '+' ? 1 : 0);
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<double> numberOf(const TextValue* value) {
    if (value == nullptr || value->kind != TextKind::real) {
        return integerOf(value);
    }
    const std::string_view text = value->text.substr(value->text.front() == '+' ? 1 : 0);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<QPDFObjGen> referenceOf(const TextValue* value) {
    if (value == nullptr || value->kind != TextKind::reference) {
        return std::nullopt;
    }
    TextScanner parts(value->text.substr(0, value->text.size() - 1)); // an R less: two integers
    const auto number = parts.value();
    const auto generation = parts.value();
    const auto id = integerOf(number ? &*number : nullptr);
    const auto version = integerOf(generation ? &*generation : nullptr);
    constexpr int mostVersions = 65535;
    const bool usable = id && version && *id > 0 && *version <= mostVersions;
    return usable ? std::optional(QPDFObjGen(*id, *version)) : std::nullopt;
}

} // namespace orvex
