// Dictionaries read straight from a file's text, where that is spelled so plainly that nobody could read it otherwise.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace orvex {

enum class TextKind { name, integer, real, string, reference, array, dictionary, keyword };

struct TextValue {
    TextKind kind = TextKind::keyword;
    std::string_view text; ///< all of it: with the slash, the brackets, the R
};

struct TextEntry {
    std::string_view key; ///< with its slash
    TextValue value;
};

/// Reads values one behind the other. Comments, escaped keys, anything that a parser would have to repair or to guess
/// ends it: the text is not plain then. Looks at each byte once; depth is bounded. Threads: none shared.
class TextScanner {
public:
    explicit TextScanner(std::string_view text, std::size_t at = 0)
        : at_(text.data() + at), end_(text.data() + text.size()) {}

    /// None at the end, at a closing bracket and for text that is not plain.
    std::optional<TextValue> value() { return valueAt(0); }
    /// The entries of the dictionary that begins here. False when the text is not plain.
    bool dictionary(std::vector<TextEntry>& entries);
    /// The next reference, however deep it is nested in what is left of text that is plain; none when there is no
    /// other.
    std::optional<TextValue> nextReference();
    /// Passes over white space and then over `word`, when that stands there as a word of its own.
    bool word(std::string_view word);
    /// What is left, without the white space ahead of it.
    std::string_view rest();
    [[nodiscard]] const char* position() const { return at_; }

private:
    void skipSpace();
    bool endsToken() const;
    std::optional<TextValue> valueAt(int depth);
    bool scan(TextKind& kind, int depth);
    bool scanFlat(TextKind& kind);
    bool scanName(bool isKey);
    bool scanNumber(TextKind& kind);
    bool scanReferenceTail();
    bool scanString();
    bool scanHexString();
    bool scanArray(int depth);
    bool scanDictionary(std::vector<TextEntry>* entries, int depth);
    bool scanKeyword();

    const char* at_;
    const char* end_;
};

/// The value of a key; null when there is none or when it stands there twice.
[[nodiscard]] const TextValue* findEntry(const std::vector<TextEntry>& entries, std::string_view key);
/// Whether a key stands there at all.
[[nodiscard]] bool hasEntry(const std::vector<TextEntry>& entries, std::string_view key);
/// None for what is no integer, and for one of more than nine digits.
[[nodiscard]] std::optional<int> integerOf(const TextValue* value);
/// The same of integers, and of reals that have digits.
[[nodiscard]] std::optional<double> numberOf(const TextValue* value);
/// None for what is no reference.
[[nodiscard]] std::optional<QPDFObjGen> referenceOf(const TextValue* value);

} // namespace orvex
