// A font as a reader of text sees it: what its codes say and how far each moves the pen.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace orvex {

/// One character code of a shown string, as its font reads it.
struct TextGlyph {
    std::uint32_t code = 0;
    std::uint8_t length = 1; ///< bytes of the string that it took, at least 1
    bool wordSpace = false;  ///< the one-byte code 32: word spacing applies
    float advance = 0;       ///< along the writing direction, in text space at size 1 (horizontal: w0; vertical: w1y)
    float originX = 0, originY = 0; ///< vertical writing: the position vector at size 1
    std::string_view text;          ///< UTF-8, kept by the font or in what next() was given; empty when nothing tells
};

class CompositeGlyphs;

/// Immutable but for tables that fill themselves. Threads: any, but for make().
class TextFont {
public:
    /// Never fails: a damaged font gives what can be read, something that is no font gives glyphs without text. Time
    /// and memory are bounded. Hold the source's mutex.
    static std::shared_ptr<const TextFont> make(QPDFObjectHandle font);
    ~TextFont();
    TextFont(const TextFont&) = delete;
    TextFont& operator=(const TextFont&) = delete;

    /// Takes the next character off `string`, which must not be empty. Never allocates for fonts of one-byte codes.
    /// `spare` takes the text of a glyph that is one too many to be kept.
    TextGlyph next(std::string_view& string, std::string& spare) const {
        if (composite_) {
            return nextComposite(string, spare);
        }
        const auto byte = static_cast<std::uint8_t>(string.front());
        string.remove_prefix(1);
        return glyphs_[byte];
    }
    [[nodiscard]] bool isVertical() const { return vertical_; }
    /// Above and below the baseline (below is negative) at size 1; plausible ones when the font lies.
    [[nodiscard]] float ascent() const { return ascent_; }
    [[nodiscard]] float descent() const { return descent_; }
    /// Bytes that making it took of what the file has, more or less.
    [[nodiscard]] std::size_t cost() const { return cost_; }

private:
    friend class TextFontBuilder;
    TextFont();
    TextGlyph nextComposite(std::string_view& string, std::string& spare) const;

    std::unique_ptr<CompositeGlyphs> composite_; ///< null for fonts of one-byte codes
    std::array<TextGlyph, 256> glyphs_;
    std::string texts_; ///< behind the views of `glyphs_`
    std::size_t cost_ = sizeof(TextFont);
    float ascent_ = 0;
    float descent_ = 0;
    bool vertical_ = false;
};

/// The fonts of one source, each made once. Threads: any.
class TextFontCache {
public:
    enum class IfNew { make, leave };
    /// The font that a resource dictionary names; null for one that is new and to be left. Hold the source's mutex. A
    /// font that is no object of its own is made anew at each call.
    std::shared_ptr<const TextFont> font(QPDFObjectHandle font, IfNew ifNew = IfNew::make);

private:
    std::mutex mutex_;
    std::size_t cost_ = 0; ///< of those that are kept
    std::map<QPDFObjGen, std::shared_ptr<const TextFont>> fonts_;
};

} // namespace orvex
