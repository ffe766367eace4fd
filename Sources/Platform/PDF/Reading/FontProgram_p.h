// The font program that a file embeds, asked for what the file's own entries do not tell.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvex {

/// Threads: one at a time.
class FontProgram {
public:
    /// Null when FreeType finds no font in the bytes.
    static std::unique_ptr<FontProgram> open(std::string bytes);
    ~FontProgram();
    FontProgram(const FontProgram&) = delete;
    FontProgram& operator=(const FontProgram&) = delete;

    [[nodiscard]] std::uint32_t glyphCount() const;
    /// The glyph that the program's own encoding gives a one-byte code; 0 when it has none for it.
    [[nodiscard]] std::uint32_t glyphOfCode(std::uint8_t code) const;
    /// Whether one-byte codes that tell nothing else are Mac OS Roman, by the maps that there are and what they map.
    [[nodiscard]] bool isMacintoshCoded() const;
    /// The glyph of that name; 0 when there is none.
    [[nodiscard]] std::uint32_t glyphNamed(const std::string& name) const;
    /// The character collection that a CFF program numbers its glyphs by, "Japan1" for example; empty when by none.
    [[nodiscard]] std::string ordering() const;
    /// UTF-8 of the glyphs, from their names or from the characters that the program maps to them.
    [[nodiscard]] std::vector<std::string> textsOfGlyphs(std::span<const std::uint32_t> glyphs) const;
    /// At size 1.
    [[nodiscard]] std::optional<float> advance(std::uint32_t glyph) const;
    [[nodiscard]] float ascent() const;
    [[nodiscard]] float descent() const; ///< below zero
    /// Whether these two are of lines; in other programs they are the bounds of all glyphs.
    [[nodiscard]] bool statesLineHeights() const;

private:
    struct Implementation;
    explicit FontProgram(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orvex
