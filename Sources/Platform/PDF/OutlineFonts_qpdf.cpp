#include "Platform/PDF/OutlineFonts_p.h"

#include "Platform/PDF/ContentStream_p.h"
#include "Platform/PDF/FontObjects_p.h"
#include "Platform/Text/FontSubset.h"

#include <qpdf/QPDF.hh>

#include <cmath>
#include <filesystem>

namespace orvex {

namespace {

/// The operators of one run: a TJ as long as glyphs stand on the baseline one after the other, a new matrix otherwise.
class RunWriter {
public:
    RunWriter(std::string& content, double size, double x, double y) : content_(content), size_(size), x_(x), y_(y) {}

    /// `standsForAnother`: the font's Unicode map knows the glyph as other text.
    void show(const ShapedGlyph& glyph, bool standsForAnother) {
        if (standsForAnother) {
            close();
            content_ += "/Span << /ActualText <FEFF";
            for (const char32_t character : glyph.text) {
                appendUTF16(content_, character);
            }
            content_ += "> >> BDC\n";
            open(x_ + glyph.offset.x * size_, y_ + glyph.offset.y * size_);
            code(glyph);
            close();
            content_ += "EMC\n";
        } else if (glyph.offset != Point{}) {
            close();
            open(x_ + glyph.offset.x * size_, y_ + glyph.offset.y * size_);
            code(glyph);
            close();
        } else {
            if (!isOpen_) {
                open(x_, y_);
            }
            code(glyph);
            if (const double extra = glyph.ownAdvance - glyph.advance; std::abs(extra) > 0.0005) {
                content_ += "> ";
                appendNumber(content_, extra * 1000);
                content_ += " <";
            }
        }
        x_ += glyph.advance * size_;
    }

    void close() {
        if (isOpen_) {
            content_ += ">] TJ\n";
        }
        isOpen_ = false;
    }

    [[nodiscard]] double x() const { return x_; }

private:
    void open(double x, double y) {
        content_ += "1 0 0 1 ";
        appendNumber(content_, x);
        content_ += ' ';
        appendNumber(content_, y);
        content_ += " Tm\n[<";
        isOpen_ = true;
    }
    void code(const ShapedGlyph& glyph) { appendHexUnit(content_, glyph.id); }

    std::string& content_;
    double size_;
    double x_;
    double y_;
    bool isOpen_ = false;
};

/// A name of six capitals, as subsets are marked, that follows from the glyphs.
std::string subsetTag(const std::set<std::uint32_t>& glyphs) {
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const std::uint32_t glyph : glyphs) {
        hash = (hash ^ glyph) * 16777619U;
    }
    std::string tag;
    for (int i = 0; i < 6; ++i, hash /= 26) {
        tag += static_cast<char>('A' + hash % 26);
    }
    return tag;
}

} // namespace

void OutlineFonts::appendLine(std::string& content, const std::function<std::string(const FontFile&)>& resourceName,
                              std::string_view utf8, const Font& font, double size, double x, double y) {
    content += "BT\n0 Tr\n";
    for (const auto& run : shapeLine(utf8, font).runs) {
        content.append("/").append(resourceName(run.font)).append(" ");
        appendNumber(content, size);
        content += " Tf\n";
        Glyphs& used = faces_[run.font];
        RunWriter writer(content, size, x, y);
        for (const auto& glyph : run.glyphs) {
            const auto& use = used.try_emplace(glyph.id, Use{glyph.ownAdvance, glyph.text}).first->second;
            writer.show(glyph, use.text != glyph.text);
        }
        writer.close();
        x = writer.x();
    }
    content += "ET\n";
}

std::map<FontFile, QPDFObjectHandle> OutlineFonts::makeObjects(QPDF& pdf) const {
    std::map<FontFile, QPDFObjectHandle> objects;
    for (const auto& [face, glyphs] : faces_) {
        objects[face] = makeObject(pdf, face, glyphs);
    }
    return objects;
}

QPDFObjectHandle OutlineFonts::makeObject(QPDF& pdf, const FontFile& face, const Glyphs& glyphs) {
    std::set<std::uint32_t> ids;
    CompositeFont font;
    for (const auto& [id, use] : glyphs) {
        ids.insert(id);
        font.glyphs.push_back({id, static_cast<int>(std::lround(use.advance * 1000)), use.text});
    }
    const auto subset = subsetFont(face, ids);
    if (subset) {
        font.program = subset->program;
        font.isCFF = subset->isCFF;
        font.ascent = static_cast<int>(std::lround(subset->ascent * 1000));
        font.descent = static_cast<int>(std::lround(subset->descent * 1000));
    }
    font.name = subsetTag(ids) + "+" + std::filesystem::path(face.path).stem().string();
    return makeCompositeFont(pdf, font);
}

} // namespace orvex
