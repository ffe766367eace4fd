// Content streams as operators with their operands. Works on bytes alone; whatever they are, scanning goes on to the
// end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

enum class OperandKind : unsigned char {
    number,
    name,          ///< `text` is what follows the slash, escapes and all
    string,        ///< `text` is what stands between the parentheses
    escapedString, ///< the same, to be decoded
    hexString,     ///< `text` is what stands between the angle brackets
    word,          ///< true, false, null
    arrayStart,
    arrayEnd,
    dictionaryStart,
    dictionaryEnd
};

struct Operand {
    OperandKind kind = OperandKind::number;
    double number = 0;
    std::string_view text;

    [[nodiscard]] bool isString() const {
        return kind == OperandKind::string || kind == OperandKind::escapedString || kind == OperandKind::hexString;
    }
};

/// An operator's name as a number: up to four characters.
constexpr std::uint32_t operatorCode(std::string_view name) {
    std::uint32_t code = 0;
    for (const char c : name) {
        code = code << 8 | static_cast<unsigned char>(c);
    }
    return code;
}

/// Borrows the content for as long as it is used.
class ContentScanner {
public:
    /// `joints` are the offsets, ascending, of blanks that were put between the streams of one content: a token may go
    /// on behind them.
    explicit ContentScanner(std::string_view content, std::span<const std::size_t> joints = {})
        : content_(content), joints_(joints) {}

    /// Moves on to the next operator; inline images are passed over. False at the end.
    [[nodiscard]] bool next();
    /// 0 for names of more than four characters.
    [[nodiscard]] std::uint32_t operation() const { return operation_; }
    /// What stands before the operator; no more than the scanner is willing to keep.
    [[nodiscard]] std::span<const Operand> operands() const { return operands_; }
    /// The bytes of a string operand, in place or in `buffer`.
    [[nodiscard]] std::string_view bytesOf(const Operand& string, std::string& buffer) const;

private:
    [[nodiscard]] bool atEnd() const { return at_ >= content_.size(); }
    void add(OperandKind kind, std::string_view text = {}, double number = 0);
    void skipBlanks();
    void scanNumber();
    void scanName();
    void scanString();
    void scanAngle();
    /// True for an operator.
    bool scanWord();
    bool scanDelimiter(char c);
    [[nodiscard]] std::string_view goingOn(std::string_view word);
    [[nodiscard]] bool isJoint(std::size_t offset) const;
    void skipImageData();
    [[nodiscard]] std::size_t imageLength() const;
    [[nodiscard]] bool endsImage(std::size_t offset) const;

    std::string_view content_;
    std::span<const std::size_t> joints_;
    std::size_t at_ = 0;
    std::uint32_t operation_ = 0;
    bool inImage_ = false;
    std::vector<Operand> operands_;
    std::string joined_; ///< a word that was put together again
};

} // namespace orvex
