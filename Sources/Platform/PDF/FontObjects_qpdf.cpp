#include "Platform/PDF/FontObjects_p.h"

#include "Platform/Imaging/Deflate.h"

#include <qpdf/QPDF.hh>

#include <algorithm>
#include <string_view>

namespace orvex {

namespace {

QPDFObjectHandle compressedStream(QPDF& pdf, const Bytes& bytes) {
    auto stream = QPDFObjectHandle::newStream(&pdf, std::string(deflate(bytes.span()).text()));
    stream.getDict().replaceKey("/Filter", QPDFObjectHandle::newName("/FlateDecode"));
    stream.setFilterOnWrite(false);
    return stream;
}

/// Blocks of mappings may hold a hundred each.
std::string bfchars(const std::vector<CompositeGlyph>& glyphs) {
    std::vector<const CompositeGlyph*> readable;
    for (const auto& glyph : glyphs) {
        if (!glyph.text.empty()) {
            readable.push_back(&glyph);
        }
    }
    constexpr std::size_t blockSize = 100;
    std::string text;
    for (std::size_t i = 0; i < readable.size(); ++i) {
        if (i % blockSize == 0) {
            text += std::to_string(std::min(blockSize, readable.size() - i)) + " beginbfchar\n";
        }
        text += '<';
        appendHexUnit(text, readable[i]->id);
        text += "> <";
        for (const char32_t character : readable[i]->text) {
            appendUTF16(text, character);
        }
        text += ">\n";
        if (i % blockSize == blockSize - 1 || i + 1 == readable.size()) {
            text += "endbfchar\n";
        }
    }
    return text;
}

QPDFObjectHandle toUnicode(QPDF& pdf, const std::vector<CompositeGlyph>& glyphs) {
    return compressedStream(pdf, Bytes("/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
                                       "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
                                       "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
                                       "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n" +
                                       bfchars(glyphs) +
                                       "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n"));
}

/// Widths as runs of neighbouring ids.
QPDFObjectHandle widths(const std::vector<CompositeGlyph>& glyphs) {
    std::string text = "[";
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        const bool continues = i > 0 && glyphs[i].id == glyphs[i - 1].id + 1;
        if (!continues) {
            text += (i > 0 ? "] " : "") + std::to_string(glyphs[i].id) + " [";
        }
        text += std::to_string(glyphs[i].width) + " ";
    }
    return QPDFObjectHandle::parse(text + (glyphs.empty() ? "]" : "]]"));
}

QPDFObjectHandle descriptor(QPDF& pdf, const CompositeFont& font) {
    const std::string ascent = std::to_string(font.ascent);
    const std::string descent = std::to_string(font.descent);
    auto object = QPDFObjectHandle::parse("<< /Type /FontDescriptor /Flags 4 /FontBBox [0 " + descent + " 1000 " +
                                          ascent + "] /ItalicAngle 0 /Ascent " + ascent + " /Descent " + descent +
                                          " /CapHeight 718 /StemV 80 >>");
    object.replaceKey("/FontName", QPDFObjectHandle::newName("/" + font.name));
    auto file = compressedStream(pdf, font.program);
    if (font.isCFF) {
        file.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/CIDFontType0C"));
    } else {
        const auto length = static_cast<long long>(font.program.size());
        file.getDict().replaceKey("/Length1", QPDFObjectHandle::newInteger(length));
    }
    object.replaceKey(font.isCFF ? "/FontFile3" : "/FontFile2", file);
    return pdf.makeIndirectObject(object);
}

} // namespace

void appendHexUnit(std::string& out, std::uint32_t unit) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const unsigned shift : {12U, 8U, 4U, 0U}) {
        out += digits[(unit >> shift) & 0xF];
    }
}

void appendUTF16(std::string& out, char32_t character) {
    if (character < 0x10000) {
        appendHexUnit(out, character);
    } else {
        appendHexUnit(out, 0xD800 + ((character - 0x10000) >> 10));
        appendHexUnit(out, 0xDC00 + ((character - 0x10000) & 0x3FF));
    }
}

QPDFObjectHandle makeCompositeFont(QPDF& pdf, const CompositeFont& font) {
    auto cidFont = QPDFObjectHandle::parse("<< /Type /Font /DW 1000 /CIDSystemInfo << /Registry (Adobe)"
                                           " /Ordering (Identity) /Supplement 0 >> >>");
    cidFont.replaceKey("/Subtype", QPDFObjectHandle::newName(font.isCFF ? "/CIDFontType0" : "/CIDFontType2"));
    cidFont.replaceKey("/BaseFont", QPDFObjectHandle::newName("/" + font.name));
    if (!font.isCFF) {
        cidFont.replaceKey("/CIDToGIDMap", QPDFObjectHandle::newName("/Identity"));
    }
    cidFont.replaceKey("/FontDescriptor", descriptor(pdf, font));
    cidFont.replaceKey("/W", widths(font.glyphs));
    auto object = QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type0 /Encoding /Identity-H >>");
    object.replaceKey("/BaseFont", QPDFObjectHandle::newName("/" + font.name));
    object.replaceKey("/DescendantFonts", QPDFObjectHandle::newArray({pdf.makeIndirectObject(cidFont)}));
    object.replaceKey("/ToUnicode", toUnicode(pdf, font.glyphs));
    return pdf.makeIndirectObject(object);
}

} // namespace orvex
