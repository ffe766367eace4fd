#include "Platform/PDF/GlyphlessTrueType_p.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace orvex {

namespace {

constexpr int unitsPerEm = 1000;
constexpr int ascent = 770;
constexpr int descent = -230;

/// Big-endian numbers, as every table wants them.
class FontTable {
public:
    FontTable& u16(std::initializer_list<int> values) {
        for (const int value : values) {
            bytes_ += static_cast<char>((value >> 8) & 0xFF);
            bytes_ += static_cast<char>(value & 0xFF);
        }
        return *this;
    }
    FontTable& u32(std::initializer_list<std::uint32_t> values) {
        for (const std::uint32_t value : values) {
            u16({static_cast<int>(value >> 16), static_cast<int>(value & 0xFFFF)});
        }
        return *this;
    }
    FontTable& u8(std::initializer_list<int> values) {
        for (const int value : values) {
            bytes_ += static_cast<char>(value);
        }
        return *this;
    }
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

private:
    std::string bytes_;
};

/// Two contours of one point each, at two corners of the character's cell: they enclose nothing, so nothing is ever
/// painted, but PDFium, which takes a character's box from its outline, gets the whole cell, and MuPDF, which drops
/// characters whose outline has an empty box, keeps them.
std::string glyphOutline(int advance) {
    FontTable glyph;
    glyph.u16({2, 0, descent, advance, ascent}); // contours, box
    glyph.u16({0, 1, 0});                        // last point of each contour, no instructions
    glyph.u8({0x11, 0x01});                      // both on the curve, the first with the x before it (0)
    glyph.u16({advance, descent, ascent - descent});
    return glyph.bytes();
}

std::string head() {
    FontTable table;
    table.u32({0x00010000, 0x00010000, 0, 0x5F0F3CF5}); // versions, whole-file sum (set later), magic number
    table.u16({0x000B, unitsPerEm});
    table.u32({0, 0, 0, 0}); // created and modified: never, so that equal fonts are equal bytes
    table.u16({0, descent, unitsPerEm, ascent, 0, 8, 2, 1, 0});
    return table.bytes();
}

std::string hhea(int glyphs, int widest) {
    FontTable table;
    table.u32({0x00010000});
    table.u16({ascent, descent, 0, widest, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, glyphs});
    return table.bytes();
}

std::string maxp(int glyphs) {
    FontTable table;
    table.u32({0x00010000});
    table.u16({glyphs, 2, 2, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0});
    return table.bytes();
}

std::string os2() {
    FontTable table;
    table.u16({3, 500, 400, 5, 0, 650, 700, 0, 140, 650, 700, 0, 480, 50, 260, 0});
    table.u16({0, 0, 0, 0, 0}); // classification
    table.u32({0, 0, 0, 0, 0}); // Unicode ranges and vendor
    table.u16({0x40, 0, 0xFFFF, ascent, descent, 0, ascent, -descent});
    table.u32({0, 0});
    table.u16({519, 718, 0, 32, 1});
    return table.bytes();
}

/// Codes reach the glyphs by their numbers; the table is there because a font without one is refused by some readers.
std::string cmap() {
    FontTable table;
    table.u16({0, 1, 3, 1});
    table.u32({12});
    table.u16({4, 24, 0, 2, 2, 0, 0, 0xFFFF, 0, 0xFFFF, 1, 0});
    return table.bytes();
}

std::string post() {
    FontTable table;
    table.u32({0x00030000, 0});
    table.u16({-100, 50});
    table.u32({0, 0, 0, 0, 0});
    return table.bytes();
}

std::string hmtx(std::span<const int> advances) {
    FontTable table;
    for (const int advance : advances) {
        table.u16({advance, 0});
    }
    return table.bytes();
}

std::string loca(std::size_t glyphs, std::size_t outlineSize) {
    FontTable table;
    for (std::size_t i = 0; i <= glyphs; ++i) {
        table.u32({static_cast<std::uint32_t>(i * outlineSize)});
    }
    return table.bytes();
}

std::string glyf(std::span<const int> advances) {
    std::string outlines;
    for (const int advance : advances) {
        outlines += glyphOutline(advance);
    }
    return outlines;
}

std::uint32_t checksum(std::string_view bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (24 - 8 * (i % 4));
    }
    return sum;
}

struct NamedTable {
    std::string_view tag;
    std::string bytes;
};

std::string assemble(std::span<const NamedTable> tables) {
    const auto count = static_cast<int>(tables.size());
    FontTable directory;
    directory.u32({0x00010000}).u16({count, 128, 3, count * 16 - 128});
    std::string body;
    const std::size_t start = 12 + 16 * tables.size();
    std::size_t headAt = 0;
    std::string entries;
    for (const auto& [tag, bytes] : tables) {
        headAt = tag == "head" ? start + body.size() : headAt;
        entries += tag;
        entries += FontTable()
                       .u32({checksum(bytes), static_cast<std::uint32_t>(start + body.size()),
                             static_cast<std::uint32_t>(bytes.size())})
                       .bytes();
        body += bytes;
        body.append((4 - body.size() % 4) % 4, '\0');
    }
    std::string file = directory.bytes() + entries + body;
    file.replace(headAt + 8, 4, FontTable().u32({0xB1B0AFBA - checksum(file)}).bytes());
    return file;
}

} // namespace

std::string makeGlyphlessTrueType(std::span<const int> advances) {
    const auto glyphs = static_cast<int>(advances.size());
    const std::size_t outlineSize = glyphOutline(0).size();
    const std::array<NamedTable, 10> tables = {{{"OS/2", os2()},
                                                {"cmap", cmap()},
                                                {"glyf", glyf(advances)},
                                                {"head", head()},
                                                {"hhea", hhea(glyphs, *std::ranges::max_element(advances))},
                                                {"hmtx", hmtx(advances)},
                                                {"loca", loca(advances.size(), outlineSize)},
                                                {"maxp", maxp(glyphs)},
                                                {"name", FontTable().u16({0, 0, 6}).bytes()},
                                                {"post", post()}}};
    return assemble(tables);
}

} // namespace orvex
