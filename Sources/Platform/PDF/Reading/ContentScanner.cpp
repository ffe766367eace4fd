#include "Platform/PDF/Reading/ContentScanner_p.h"

#include "Platform/PDF/Syntax_p.h"

#include <algorithm>
#include <array>

namespace orvex {

namespace {

// An array of a million numbers is no text.
constexpr std::size_t mostOperands = std::size_t{1} << 20;

bool startsNumber(char c) {
    return isDigit(c) || c == '-' || c == '+' || c == '.';
}

std::string_view unhex(std::string_view digits, std::string& buffer) {
    buffer.clear();
    int high = -1;
    for (const char c : digits) {
        const int digit = hexDigit(c);
        if (digit < 0) {
            continue;
        }
        if (high < 0) {
            high = digit;
        } else {
            buffer += static_cast<char>(high << 4 | digit);
            high = -1;
        }
    }
    if (high >= 0) {
        buffer += static_cast<char>(high << 4);
    }
    return buffer;
}

/// The character that a backslash and what follows it stand for; -1 for none. Moves `at` behind it.
int escapedCharacter(std::string_view text, std::size_t& at) {
    const char c = text[at++];
    switch (c) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case '\r':
        at += at < text.size() && text[at] == '\n' ? 1U : 0U;
        return -1;
    case '\n':
        return -1;
    default:
        break;
    }
    if (c < '0' || c > '7') {
        return static_cast<unsigned char>(c);
    }
    int code = c - '0';
    for (int i = 0; i < 2 && at < text.size() && text[at] >= '0' && text[at] <= '7'; ++i) {
        code = code * 8 + (text[at++] - '0');
    }
    return code & 0xFF;
}

constexpr std::array textOperators = {"BT", "ET", "Tc", "Tw", "Tz", "TL", "Tf", "Tr", "Ts", "Td",  "TD",  "Tm",
                                      "Tj", "TJ", "T*", "cm", "Do", "gs", "BI", "re", "W*", "BDC", "BMC", "EMC",
                                      "rg", "RG", "cs", "CS", "sc", "SC", "f*", "B*", "b*", "scn"};

bool isOperator(std::string_view word) {
    return std::ranges::find(textOperators, word) != textOperators.end();
}

} // namespace

void ContentScanner::add(OperandKind kind, std::string_view text, double number) {
    if (operands_.size() < mostOperands) {
        operands_.push_back({kind, number, text});
    }
}

bool ContentScanner::isJoint(std::size_t offset) const {
    return !joints_.empty() && std::ranges::binary_search(joints_, offset);
}

void ContentScanner::skipBlanks() {
    while (!atEnd()) {
        const char c = content_[at_];
        if (c == '%') {
            at_ = std::min(content_.find_first_of("\r\n", at_), content_.size());
        } else if (!isBlank(c)) {
            return;
        } else {
            ++at_;
        }
    }
}

/// Signs may be doubled; what cannot belong to a number ends it, so that "0cm" is a number and an operator.
void ContentScanner::scanNumber() {
    const char* at = content_.data() + at_;
    const char* const end = content_.data() + content_.size();
    bool negative = false;
    for (; at != end && (*at == '-' || *at == '+'); ++at) {
        negative = negative || *at == '-';
    }
    double value = 0;
    for (; at != end && isDigit(*at); ++at) {
        value = value * 10 + (*at - '0');
    }
    if (at != end && *at == '.') {
        double scale = 1;
        double digits = 0;
        for (++at; at != end && (isDigit(*at) || *at == '-'); ++at) {
            if (*at != '-' && scale < 1e15) {
                digits = digits * 10 + (*at - '0');
                scale *= 10;
            }
        }
        value += digits / scale;
    }
    for (; at != end && (isDigit(*at) || *at == '.' || *at == '-'); ++at) {
        // "1.2.3" and "12-3": what follows counts for nothing
    }
    at_ = static_cast<std::size_t>(at - content_.data());
    add(OperandKind::number, {}, negative ? -value : value);
}

void ContentScanner::scanName() {
    const std::size_t start = ++at_;
    while (!atEnd() && isRegular(content_[at_])) {
        ++at_;
    }
    add(OperandKind::name, content_.substr(start, at_ - start));
}

void ContentScanner::scanString() {
    const std::size_t start = ++at_;
    int depth = 1;
    bool plain = true;
    for (; !atEnd(); ++at_) {
        const char c = content_[at_];
        if (c == '\\') {
            plain = false;
            ++at_;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth == 0) {
            break;
        } else if (c == '\r' || (c == '\n' && isJoint(at_))) {
            plain = false;
        }
    }
    at_ = std::min(at_, content_.size());
    add(plain ? OperandKind::string : OperandKind::escapedString, content_.substr(start, at_ - start));
    at_ += atEnd() ? 0U : 1U;
}

void ContentScanner::scanAngle() {
    ++at_;
    if (!atEnd() && content_[at_] == '<') {
        ++at_;
        add(OperandKind::dictionaryStart);
        return;
    }
    const std::size_t end = std::min(content_.find('>', at_), content_.size());
    add(OperandKind::hexString, content_.substr(at_, end - at_));
    at_ = std::min(end + 1, content_.size());
}

/// A word that a joint cut in two, put together when only the whole is an operator.
std::string_view ContentScanner::goingOn(std::string_view word) {
    if (!isJoint(at_) || isOperator(word)) {
        return word;
    }
    std::size_t end = at_ + 1;
    while (end < content_.size() && isRegular(content_[end])) {
        ++end;
    }
    joined_.assign(word).append(content_.substr(at_ + 1, end - at_ - 1));
    if (!isOperator(joined_)) {
        return word;
    }
    at_ = end;
    return joined_;
}

bool ContentScanner::scanWord() {
    const std::size_t start = at_;
    while (!atEnd() && isRegular(content_[at_])) {
        ++at_;
    }
    std::string_view word = content_.substr(start, at_ - start);
    if (word == "true" || word == "false" || word == "null") {
        add(OperandKind::word, word);
        return false;
    }
    if (!joints_.empty()) {
        word = goingOn(word);
    }
    if (word == "BI") {
        inImage_ = true;
        operands_.clear();
        return false;
    }
    if (inImage_ && word == "ID") {
        skipImageData();
        return false;
    }
    inImage_ = false;
    operation_ = word.size() <= 4 ? operatorCode(word) : 0;
    return true;
}

bool ContentScanner::scanDelimiter(char c) {
    switch (c) {
    case '/':
        scanName();
        return true;
    case '(':
        scanString();
        return true;
    case '<':
        scanAngle();
        return true;
    case '[':
        add(OperandKind::arrayStart);
        break;
    case ']':
        add(OperandKind::arrayEnd);
        break;
    case '>':
        if (at_ + 1 < content_.size() && content_[at_ + 1] == '>') {
            add(OperandKind::dictionaryEnd);
            ++at_;
        }
        break;
    default:
        break; // a stray bracket or brace
    }
    ++at_;
    return true;
}

bool ContentScanner::next() {
    operands_.clear();
    for (skipBlanks(); !atEnd(); skipBlanks()) {
        const char c = content_[at_];
        if (startsNumber(c)) {
            scanNumber();
        } else if (classOf(c) == CharacterClass::delimiter) {
            scanDelimiter(c);
        } else if (scanWord()) {
            return true;
        }
    }
    return false;
}

std::string_view ContentScanner::bytesOf(const Operand& string, std::string& buffer) const {
    if (string.kind == OperandKind::string) {
        return string.text;
    }
    if (string.kind == OperandKind::hexString) {
        return unhex(string.text, buffer);
    }
    buffer.clear();
    const std::string_view text = string.text;
    const auto base = static_cast<std::size_t>(text.data() - content_.data());
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at++];
        if (c == '\\' && at < text.size()) {
            if (const int code = escapedCharacter(text, at); code >= 0) {
                buffer += static_cast<char>(code);
            }
        } else if (c == '\r') {
            at += at < text.size() && text[at] == '\n' ? 1U : 0U;
            buffer += '\n';
        } else if (c != '\\' && !(c == '\n' && isJoint(base + at - 1))) {
            buffer += c;
        }
    }
    return buffer;
}

/// How long the data is, where it is not compressed: 0 when that is not known.
std::size_t ContentScanner::imageLength() const {
    double width = 0;
    double height = 0;
    double bits = 8;
    double channels = 1;
    for (std::size_t i = 0; i + 1 < operands_.size(); i += 2) {
        const auto key = operands_[i].text;
        const Operand& value = operands_[i + 1];
        if (key == "F" || key == "Filter" || operands_[i].kind != OperandKind::name ||
            value.kind == OperandKind::arrayStart) {
            return 0;
        }
        if (key == "W" || key == "Width") {
            width = value.number;
        } else if (key == "H" || key == "Height") {
            height = value.number;
        } else if (key == "BPC" || key == "BitsPerComponent") {
            bits = value.number;
        } else if ((key == "IM" || key == "ImageMask") && value.text == "true") {
            bits = 1;
        } else if (key == "CS" || key == "ColorSpace") {
            channels = value.text.ends_with("RGB") ? 3 : value.text.ends_with("CMYK") ? 4 : 1;
        }
    }
    const double row = (width * bits * channels + 7) / 8;
    const bool sane = row >= 1 && height >= 1 && row * height < static_cast<double>(content_.size());
    return sane ? static_cast<std::size_t>(row) * static_cast<std::size_t>(height) : 0;
}

/// Whether "EI" stands at `offset` as an operator: what follows has to look like content, not like pixels.
bool ContentScanner::endsImage(std::size_t offset) const {
    const auto rest = content_.substr(offset);
    if (!rest.starts_with("EI") || (rest.size() > 2 && isRegular(rest[2]))) {
        return false;
    }
    const auto following = rest.substr(2, 10);
    return std::ranges::all_of(following, [](char c) { return isBlank(c) || (c >= ' ' && c <= '~'); });
}

void ContentScanner::skipImageData() {
    const std::size_t start = std::min(at_ + 1, content_.size());
    if (const std::size_t length = imageLength(); length > 0 && start + length < content_.size()) {
        std::size_t end = start + length;
        while (end < content_.size() && isBlank(content_[end])) {
            ++end;
        }
        if (endsImage(end)) {
            at_ = end + 2;
            operands_.clear();
            inImage_ = false;
            return;
        }
    }
    std::size_t found = content_.find("EI", start);
    while (found != content_.npos && !((found == start || isBlank(content_[found - 1])) && endsImage(found))) {
        found = content_.find("EI", found + 1);
    }
    at_ = found == content_.npos ? content_.size() : found + 2;
    operands_.clear();
    inImage_ = false;
}

} // namespace orvex
