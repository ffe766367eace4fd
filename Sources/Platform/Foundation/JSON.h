// JSON as records and reports are exchanged in it: a tree and a streaming writer that pin the output to the byte, and a
// reader that is lenient where the exchange format is (see JSONReader).
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <concepts>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orvex {

/// One step on the way to a value: a member's key or an element's index.
using JSONPathStep = std::variant<std::string, std::size_t>;
using JSONPath = std::vector<JSONPathStep>;

enum class JSONErrorKind { typeMismatch, keyNotFound, valueNotFound, dataCorrupted, invalidValue };

/// Why text could not be read or a value not be written. `what()` is the full, structured description that log lines
/// carry; `summary()` says the same in a line for people.
class JSONError : public std::exception {
public:
    /// `subject` is the expected type, the missing key or the refused value; `location` is for malformed text.
    JSONError(JSONErrorKind kind, const std::string& subject, JSONPath path, const std::string& detail,
              const std::string& location = {});
    [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }
    [[nodiscard]] const std::string& summary() const { return summary_; } ///< "items[0].font.bold: Expected ..."
    [[nodiscard]] JSONErrorKind kind() const { return kind_; }
    [[nodiscard]] const JSONPath& path() const { return path_; }

private:
    JSONErrorKind kind_;
    JSONPath path_;
    std::string description_;
    std::string summary_;
};

/// Objects and arrays nest this deep, in and out; deeper ones fail.
inline constexpr std::size_t jsonDepthLimit = 512;

/// A tree to be written. Objects keep the order in which their members are listed.
class JSONValue {
public:
    using Member = std::pair<std::string, JSONValue>; ///< key and value
    using Array = std::vector<JSONValue>;
    using Object = std::vector<Member>;

    JSONValue() = default; ///< null
    // NOLINTBEGIN(google-explicit-constructor): a literal tree reads like the JSON it makes
    JSONValue(std::nullptr_t) {}
    JSONValue(bool value) : value_(value) {}
    JSONValue(double value) : value_(value) {}
    template <class Integer>
    requires std::integral<Integer> &&(!std::same_as<Integer, bool>)JSONValue(Integer value)
        : value_(static_cast<std::int64_t>(value)) {}
    JSONValue(const char* text) : value_(std::string(text)) {}
    JSONValue(std::string_view text) : value_(std::string(text)) {}
    JSONValue(std::string text) : value_(std::move(text)) {}
    JSONValue(Array elements) : value_(std::move(elements)) {}
    JSONValue(Object members) : value_(std::move(members)) {}
    // NOLINTEND(google-explicit-constructor)

    using Storage = std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object>;
    [[nodiscard]] const Storage& storage() const { return value_; }

private:
    Storage value_ = nullptr;
};

/// Compact: members in their own order, no white space. Pretty: keys sorted by bytes, one member on a line, indented by
/// 2, `"key" : value`, no final line end. Throws JSONError for a number that is not finite, a text that is not UTF-8
/// and too deep nesting.
[[nodiscard]] std::string writeJSON(const JSONValue& value, bool pretty);

/// Writes JSON piece by piece, in the form of writeJSON(); the caller orders and balances what it writes. Throws
/// JSONError as writeJSON() does.
class JSONWriter {
public:
    explicit JSONWriter(bool pretty) : pretty_(pretty) {}
    [[nodiscard]] bool pretty() const { return pretty_; }

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    /// `name` must live until its value is written.
    void key(std::string_view name);
    void null();
    void boolean(bool value);
    void integer(std::int64_t value);
    void number(double value);
    void string(std::string_view value);
    [[nodiscard]] std::string take() { return std::move(text_); }

private:
    struct Level {
        bool array = false;
        bool first = true;
        std::size_t index = 0;
        std::string_view key;
    };
    void open(char bracket);
    void close(char bracket);
    void startValue();
    void startLine();
    void appendString(std::string_view value);
    [[noreturn]] void refuse(const std::string& value, const std::string& detail) const;

    std::string text_;
    std::vector<Level> levels_;
    bool pretty_;
};

class JSONElements;

enum class JSONKind { null, boolean, number, string, array, object };

/// Reads JSON front to back, value by value, straight out of the bytes: nothing is built that the caller does not ask
/// for.
///
/// Beyond the standard it accepts one trailing comma in arrays and objects, and UTF-16 and UTF-32 (with a byte-order
/// mark or without). The structure is checked as far as it is read or skipped; numbers and texts only when they are
/// read: those that are skipped may be malformed. All members throw JSONError; after that only checkStructure() may be
/// called.
class JSONReader {
public:
    explicit JSONReader(const Bytes& data);

    /// What the next value is.
    [[nodiscard]] JSONKind kind() const;
    /// After enterObject() each nextKey() gives the key of a value that the caller reads or skips, until it gives none
    /// and the object is left. The view holds until the value is read. Equal keys come as often as they stand there.
    void enterObject();
    [[nodiscard]] std::optional<std::string_view> nextKey();
    /// The same for arrays: while nextElement() is true there is an element to read or skip.
    void enterArray();
    [[nodiscard]] bool nextElement();
    /// Passes over an array whose elements are read later, or side by side. What stands inside of them is not looked
    /// at.
    [[nodiscard]] JSONElements takeElements();

    [[nodiscard]] bool readBool();
    [[nodiscard]] double readDouble();
    /// Any number that is integral and fits: 96, 96.0, 9.6e1.
    [[nodiscard]] std::int64_t readInt();
    [[nodiscard]] std::string readString();
    /// Passes over the next value, whatever it is.
    void skip();
    /// Behind the last value: throws when anything follows.
    void finish();
    /// Throws when the whole text is not well-formed, whatever was read of it.
    void checkStructure() const;
    [[nodiscard]] std::size_t size() const { return text_.size(); } ///< of the whole text, in bytes
    /// To the end of what this reader was given: the whole text, or one of JSONElements.
    [[nodiscard]] std::size_t bytesLeft() const { return end_ - offset_; }

    /// For those that decode records: errors about the value or object that was read last.
    [[noreturn]] void failMissingKey(std::string_view key) const;
    [[noreturn]] void failCorrupted(const std::string& detail) const;

private:
    friend class JSONElements;
    struct TypeName;
    static constexpr std::size_t noKey = static_cast<std::size_t>(-1);
    struct Level {
        bool array;
        bool first;
        std::size_t place; ///< the element's index, or where the key stands in the text
    };
    [[nodiscard]] char peek() const;
    void skipBlanks();
    void enter(JSONKind kind, char opening, const TypeName& type);
    bool advance(char closing);
    void pass(char wanted);
    [[nodiscard]] std::string_view takeOtherKey();
    [[noreturn]] void failUnexpected() const;
    void expect(JSONKind wanted, const TypeName& type) const;
    [[noreturn]] void failMismatch(const TypeName& type) const;
    [[noreturn]] void failNull(const TypeName& type) const;
    [[nodiscard]] JSONPath path() const;
    std::string_view takeString();
    std::string_view takeNumber();
    std::string_view decode(std::string_view raw);

    Bytes bytes_; ///< UTF-8, without a byte-order mark
    std::string_view text_;
    std::size_t offset_ = 0;
    std::size_t end_; ///< of what is to be read
    std::size_t depth_ = 0;
    std::vector<Level> levels_; ///< the first `depth_` are entered
    std::string decoded_;       ///< what the last text with escapes stands for
};

/// Where the elements of an array lie. Keeps the text alive.
class JSONElements {
public:
    [[nodiscard]] std::size_t size() const { return places_.size(); }
    /// For the element alone, whose finish() has to be called behind it: where it ends was guessed from its brackets.
    /// Errors name the element by its place in the whole. Threads: any.
    [[nodiscard]] JSONReader reader(std::size_t index) const;

private:
    friend class JSONReader;
    explicit JSONElements(JSONReader inside) : inside_(std::move(inside)) {}
    JSONReader inside_;                                       ///< within the array
    std::vector<std::pair<std::size_t, std::size_t>> places_; ///< starts and ends
};

// What is called for every member of every record becomes part of its callers.

inline char JSONReader::peek() const {
    return offset_ < text_.size() ? text_[offset_] : '\0';
}

inline void JSONReader::skipBlanks() {
    char c = peek();
    while (c <= ' ' && (c == ' ' || c == '\n' || c == '\t' || c == '\r')) {
        ++offset_;
        c = peek();
    }
}

/// To the next item; false when there is none, with the container left behind. A comma before the end is let pass.
inline bool JSONReader::advance(char closing) {
    Level& level = levels_[depth_ - 1];
    skipBlanks();
    if (!level.first && peek() != closing) {
        pass(',');
    }
    if (peek() == closing) {
        ++offset_;
        --depth_;
        return false;
    }
    return true;
}

/// Over what has to come next, and blanks behind it.
inline void JSONReader::pass(char wanted) {
    if (peek() != wanted) {
        failUnexpected();
    }
    ++offset_;
    skipBlanks();
}

inline std::optional<std::string_view> JSONReader::nextKey() {
    if (!advance('}')) {
        return std::nullopt;
    }
    Level& level = levels_[depth_ - 1];
    level.first = false;
    level.place = offset_;
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    std::size_t end = offset_ + 1;
    while (end < text_.size() && isLetter(text_[end])) {
        ++end;
    }
    std::string_view key;
    if (peek() == '"' && end < text_.size() && text_[end] == '"') { // most keys are a few letters
        key = {text_.data() + offset_ + 1, end - offset_ - 1};
        offset_ = end + 1;
    } else {
        key = takeOtherKey();
    }
    skipBlanks();
    pass(':');
    return key;
}

inline bool JSONReader::nextElement() {
    if (!advance(']')) {
        return false;
    }
    Level& level = levels_[depth_ - 1];
    level.place += level.first ? 0 : 1;
    level.first = false;
    return true;
}

inline JSONKind JSONReader::kind() const {
    switch (peek()) {
    case '{':
        return JSONKind::object;
    case '[':
        return JSONKind::array;
    case '"':
        return JSONKind::string;
    case 't':
    case 'f':
        return JSONKind::boolean;
    case 'n':
        return JSONKind::null;
    default: // or nothing that JSON has, which shows when it is read
        return JSONKind::number;
    }
}

} // namespace orvex
