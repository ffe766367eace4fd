// Fonts by name: metrics and advances as the layouts need them. Resolved through fontconfig.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvex {

/// A face at no particular size; metrics are in ems. Shared and immutable. Threads: any.
class Font {
public:
    /// "Helvetica" and "Helvetica Bold" resolve to an installed face with the same metrics; null when there is none.
    static std::shared_ptr<const Font> named(std::string_view name);
    /// As named(), but a missing face is fatal, with a message that says which package holds one.
    static std::shared_ptr<const Font> require(std::string_view name);

    /// Line metrics that every Helvetica has, whatever face stands in: the line is exactly one em high.
    [[nodiscard]] static constexpr double ascent() { return 0.77002; }
    [[nodiscard]] static constexpr double descent() { return 0.22998; }

    /// Advance of one code point in ems, a multiple of a thousandth. Combining marks and controls have none; characters
    /// that the face lacks get the width of their kind, so that no other installed font matters: 1 for wide East Asian
    /// ones, a digit's for the rest.
    [[nodiscard]] double advance(char32_t codePoint) const;
    /// Width of one line of text in ems: the sum of its advances.
    [[nodiscard]] double lineWidth(std::string_view utf8) const;
    [[nodiscard]] const std::string& path() const { return path_; } ///< the font file behind it
    [[nodiscard]] bool isBold() const { return bold_; }

private:
    using Advances = std::unordered_map<char32_t, double>;
    Font(std::string path, Advances advances, bool bold);
    [[nodiscard]] double findAdvance(char32_t codePoint) const;
    static std::shared_ptr<const Font> find(bool bold);
    std::string path_;
    Advances advances_;
    std::vector<double> common_; ///< advances of the first code points, which most text is made of
    bool bold_;
};

/// The lines of a text, one or more: broken at line feeds, CR LF and the Unicode line and paragraph separators, which
/// belong to none. The text has to outlive them.
class TextLines {
public:
    class Iterator {
    public:
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        Iterator() = default;
        explicit Iterator(std::string_view text) : rest_(text) { ++*this; }
        [[nodiscard]] std::string_view operator*() const { return line_; }
        Iterator& operator++();
        Iterator operator++(int) {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator& iterator, std::default_sentinel_t /*end*/) { return !iterator.onLine_; }

    private:
        std::string_view line_;
        std::optional<std::string_view> rest_; ///< behind the break that ends the line; none for the last one
        bool onLine_ = false;
    };
    explicit TextLines(std::string_view utf8) : text_(utf8) {}
    [[nodiscard]] Iterator begin() const { return Iterator(text_); }
    [[nodiscard]] static std::default_sentinel_t end() { return {}; }

private:
    std::string_view text_;
};

struct TextExtent {
    double width = 0;
    double height = 0;
};
/// The rectangle that text takes at `size` points: as wide as its widest line, one size high per line of
/// TextLines.
[[nodiscard]] TextExtent measureText(std::string_view utf8, const Font& font, double size);

} // namespace orvex
