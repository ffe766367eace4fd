#include "Platform/PDF/InvisibleFont_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/ContentStream_p.h"
#include "Platform/PDF/Deflate_p.h"
#include "Platform/PDF/GlyphlessTrueType_p.h"
#include "Platform/Text/Bidi.h"

#include <qpdf/QPDF.hh>

#include <array>
#include <cmath>

namespace orvex {

namespace {

constexpr int mostGlyphs = 0xFFFE; ///< codes are two bytes, the first is the missing glyph's

std::u32string decoded(std::string_view utf8) {
    std::u32string text;
    for (std::size_t at = 0; at < utf8.size();) {
        text += nextCodePoint(utf8, at);
    }
    return text;
}

void appendHex(std::string& out, unsigned unit) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const unsigned shift : {12U, 8U, 4U, 0U}) {
        out += digits[(unit >> shift) & 0xF];
    }
}

void appendUTF16(std::string& out, char32_t character) {
    if (character < 0x10000) {
        appendHex(out, character);
    } else {
        appendHex(out, 0xD800 + ((character - 0x10000) >> 10));
        appendHex(out, 0xDC00 + ((character - 0x10000) & 0x3FF));
    }
}

QPDFObjectHandle compressedStream(QPDF& pdf, const std::string& text) {
    const Bytes bytes = Bytes::copyOf(text);
    auto stream = QPDFObjectHandle::newStream(&pdf, std::string(deflate(bytes.span()).text()));
    stream.getDict().replaceKey("/Filter", QPDFObjectHandle::newName("/FlateDecode"));
    stream.setFilterOnWrite(false);
    return stream;
}

} // namespace

int InvisibleFont::codeOf(char32_t character, const Font& measuring) {
    if (const auto known = codes_.find(character); known != codes_.end()) {
        return known->second;
    }
    if (glyphs_.size() >= mostGlyphs) {
        return 0;
    }
    glyphs_.push_back({character, static_cast<int>(std::lround(measuring.advance(character) * 1000))});
    return codes_[character] = static_cast<int>(glyphs_.size());
}

void InvisibleFont::appendLine(std::string& content, std::string_view resourceName, std::string_view utf8,
                               const Font& measuring, double size, double x, double y) {
    std::string codes;
    for (const char32_t character : visualOrder(decoded(utf8)) + U' ') {
        appendHex(codes, static_cast<unsigned>(codeOf(character, measuring)));
    }
    content.append("BT\n/").append(resourceName).append(" ");
    appendNumber(content, size);
    content += " Tf\n3 Tr\n1 0 0 1 ";
    appendNumber(content, x);
    content += ' ';
    appendNumber(content, y);
    content.append(" Tm\n<").append(codes).append("> Tj\nET\n");
}

QPDFObjectHandle InvisibleFont::makeObject(QPDF& pdf) const {
    std::vector<int> advances = {1000};
    std::string widths;
    std::string mapping;
    std::size_t inBlock = 0;
    for (std::size_t i = 0; i < glyphs_.size(); ++i) {
        advances.push_back(glyphs_[i].width);
        widths += std::to_string(glyphs_[i].width) + " ";
        if (inBlock == 0) {
            inBlock = std::min<std::size_t>(100, glyphs_.size() - i);
            mapping += std::to_string(inBlock) + " beginbfchar\n";
        }
        mapping += '<';
        appendHex(mapping, static_cast<unsigned>(i + 1));
        mapping += "> <";
        appendUTF16(mapping, glyphs_[i].character);
        mapping += ">\n";
        if (--inBlock == 0) {
            mapping += "endbfchar\n";
        }
    }
    const std::string program = makeGlyphlessTrueType(advances);
    auto file = compressedStream(pdf, program);
    file.getDict().replaceKey("/Length1", QPDFObjectHandle::newInteger(static_cast<long long>(program.size())));
    auto descriptor = QPDFObjectHandle::parse(
        "<< /Type /FontDescriptor /FontName /OrvexGlyphless /Flags 4 /FontBBox [0 -230 1000 770] /ItalicAngle 0"
        " /Ascent 770 /Descent -230 /CapHeight 718 /StemV 80 >>");
    descriptor.replaceKey("/FontFile2", file);
    auto cidFont = QPDFObjectHandle::parse("<< /Type /Font /Subtype /CIDFontType2 /BaseFont /OrvexGlyphless /DW 1000"
                                           " /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >>"
                                           " /CIDToGIDMap /Identity >>");
    cidFont.replaceKey("/FontDescriptor", pdf.makeIndirectObject(descriptor));
    cidFont.replaceKey("/W", QPDFObjectHandle::parse("[1 [" + widths + "]]"));
    auto font =
        QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type0 /BaseFont /OrvexGlyphless /Encoding /Identity-H >>");
    font.replaceKey("/DescendantFonts", QPDFObjectHandle::newArray({pdf.makeIndirectObject(cidFont)}));
    font.replaceKey("/ToUnicode",
                    compressedStream(pdf, "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
                                          "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
                                          "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
                                          "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n" +
                                              mapping +
                                              "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n"));
    return pdf.makeIndirectObject(font);
}

} // namespace orvex
