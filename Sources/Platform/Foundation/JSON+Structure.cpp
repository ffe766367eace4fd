#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/JSON_p.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <array>

namespace orvex {

namespace {

/// Walks one value once, with a flag per open bracket and no other memory.
class StructureCheck {
public:
    StructureCheck(std::string_view text, std::size_t offset, std::size_t outer)
        : text_(text), offset_(offset), most_(jsonDepthLimit - outer) {}

    /// Returns where the value ends.
    std::size_t run() {
        for (bool inside = scanValue(); inside;) {
            scanKey();
            inside = scanValue() || toNextItem();
        }
        return offset_;
    }

private:
    [[nodiscard]] char peek() const {
        if (offset_ >= text_.size()) {
            failUnexpectedJSON(text_, offset_);
        }
        return text_[offset_];
    }
    void skipBlanks() { offset_ = skipJSONBlanks(text_, offset_); }
    [[nodiscard]] char closing() const { return isArray_[depth_ - 1] ? ']' : '}'; }

    void take(char wanted) {
        if (peek() != wanted) {
            failUnexpectedJSON(text_, offset_);
        }
        ++offset_;
    }

    void scanKey() {
        if (isArray_[depth_ - 1]) {
            return;
        }
        if (peek() != '"') {
            failUnexpectedJSON(text_, offset_);
        }
        offset_ = skipJSONString(text_, offset_);
        skipBlanks();
        take(':');
    }

    /// True when the value is a container that holds something: its first item is next.
    bool scanValue() {
        skipBlanks();
        const char c = peek();
        if (c == '{' || c == '[') {
            return open(c == '[');
        }
        if (c == '"') {
            offset_ = skipJSONString(text_, offset_);
        } else if (c == '-' || isJSONDigit(c)) {
            offset_ = skipJSONNumber(text_, offset_);
        } else {
            offset_ = skipJSONLiteral(text_, offset_);
        }
        return false;
    }

    bool open(bool array) {
        if (depth_ == most_) {
            failMalformedJSON(text_, offset_, std::string(jsonTooDeep));
        }
        ++offset_;
        isArray_[depth_++] = array;
        skipBlanks();
        if (peek() != closing()) {
            return true;
        }
        close();
        return false;
    }

    void close() {
        take(closing());
        --depth_;
    }

    /// Behind a value: over the comma to the next item, or out of the brackets that end here. A comma before a closing
    /// bracket is let pass.
    bool toNextItem() {
        while (depth_ > 0) {
            skipBlanks();
            if (peek() == ',') {
                ++offset_;
                skipBlanks();
                if (peek() != closing()) {
                    return true;
                }
            }
            close();
        }
        return false;
    }

    std::string_view text_;
    std::size_t offset_;
    std::size_t most_; ///< how many brackets may be open
    std::size_t depth_ = 0;
    std::array<bool, jsonDepthLimit> isArray_{};
};

std::string placeOf(std::string_view text, std::size_t offset) {
    const auto before = text.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const auto lastBreak = before.rfind('\n');
    const auto column = lastBreak == std::string_view::npos ? offset + 1 : offset - lastBreak;
    return " around line " + std::to_string(line) + ", column " + std::to_string(column) + ".";
}

} // namespace

void failMalformedJSON(std::string_view text, std::size_t offset, const std::string& problem) {
    throw JSONError(JSONErrorKind::dataCorrupted, {}, {}, "The given data was not valid JSON.",
                    problem + placeOf(text, offset));
}

void failUnexpectedJSON(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) {
        failMalformedJSON(text, text.size(), "Unexpected end of file");
    }
    std::string character;
    std::size_t behind = offset;
    appendUTF8(character, nextCodePoint(text, behind));
    failMalformedJSON(text, offset, "Unexpected character '" + escaped(character) + "'");
}

std::size_t skipJSONValue(std::string_view text, std::size_t offset, std::size_t outer) {
    return StructureCheck(text, offset, outer).run();
}

void checkJSONStructure(std::string_view text) {
    if (const auto end = skipJSONBlanks(text, skipJSONValue(text, 0, 0)); end < text.size()) {
        failUnexpectedJSON(text, end);
    }
}

std::size_t skipJSONString(std::string_view text, std::size_t offset) {
    for (++offset; offset < text.size() && text[offset] != '"'; ++offset) {
        offset += text[offset] == '\\' ? 1U : 0U;
    }
    if (offset >= text.size()) {
        failUnexpectedJSON(text, text.size());
    }
    return offset + 1;
}

std::size_t skipJSONNumber(std::string_view text, std::size_t offset) {
    while (offset < text.size() && belongsToJSONNumber(text[offset])) {
        ++offset;
    }
    return offset;
}

std::size_t skipJSONLiteral(std::string_view text, std::size_t offset) {
    constexpr std::array<std::string_view, 3> literals = {"true", "false", "null"};
    for (const auto literal : literals) {
        if (text.substr(offset).starts_with(literal)) {
            return offset + literal.size();
        }
    }
    failUnexpectedJSON(text, offset);
}

} // namespace orvex
