// What content names: fonts, forms, marked content's properties, layers.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Reading/ContentBytes_p.h"
#include "Platform/PDF/Reading/ContentScanner_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace orvex {

/// What reading keeps of a file: its fonts, and which of its layers are off.
class ReadingCache {
public:
    /// Hold the source's mutex for all of them.
    std::shared_ptr<const TextFont> font(QPDFObjectHandle font, TextFontCache::IfNew ifNew) {
        return fonts_.font(font, ifNew);
    }
    /// Whether an optional-content group or membership is off as the file opens.
    [[nodiscard]] bool isHidden(const PDFSource& source, QPDFObjectHandle optionalContent);

private:
    void readLayers(const PDFSource& source);
    [[nodiscard]] bool isGroupHidden(QPDFObjectHandle group) const;
    [[nodiscard]] bool isMembershipHidden(QPDFObjectHandle groups, QPDFObjectHandle policy) const;
    [[nodiscard]] bool isVisible(QPDFObjectHandle expression, int depth, int& budget) const;

    TextFontCache fonts_;
    bool layersRead_ = false;
    bool hidesByDefault_ = false;
    std::set<QPDFObjGen> exceptions_; ///< groups in the other state
};

struct FontUse {
    std::shared_ptr<const TextFont> font; ///< null where the name leads nowhere
    bool isTextLayer = false;             ///< the invisible font that text layers of ours are written in
};

struct FormUse {
    std::vector<StoredStream> streams;
    AffineTransform matrix;
    std::optional<Rect> box; ///< in the form's space
    QPDFObjectHandle resources;
    QPDFObjGen id;
    bool hidden = false;
};

struct MarkedContent {
    std::shared_ptr<const std::string> actualText; ///< UTF-8; null where there is none
    bool hidden = false;
    std::optional<std::string> foundText; ///< UTF-8; of an item of a text layer of ours, with its place
    Rect foundBox;                        ///< in user space
};

/// One resource dictionary. Looks each name up once; takes the source's mutex itself.
class ContentResources {
public:
    /// Of each kind; further ones lead nowhere.
    static constexpr std::size_t mostNames = 20'000;
    /// Hold the source's mutex.
    ContentResources(const PDFSource& source, ReadingCache& cache, QPDFObjectHandle dictionary)
        : source_(source), cache_(cache), dictionary_(dictionary) {}

    using IfNew = TextFontCache::IfNew;
    /// Valid as long as this is. Names are as content spells them.
    const FontUse& font(std::string_view name, IfNew ifNew = IfNew::make);
    struct SizedFont {
        FontUse font;
        double size = 0;
    };
    /// The font that a graphics state names.
    const std::optional<SizedFont>& graphicsStateFont(std::string_view name, IfNew ifNew = IfNew::make);
    /// None for images and for names that lead nowhere; `limit` as for storedStreams().
    std::optional<FormUse> form(std::string_view name, std::size_t limit);
    /// `operands` are those of BDC: a tag, and a name or a dictionary.
    MarkedContent markedContent(std::span<const Operand> operands, const ContentScanner& scanner);
    /// What a form without resources of its own uses.
    [[nodiscard]] const QPDFObjectHandle& dictionary() const { return dictionary_; }

private:
    template <class Value> using ByName = std::map<std::string, Value, std::less<>>;
    template <class Value, class LookUp>
    const Value& known(ByName<Value>& names, std::string_view name, const LookUp& lookUp);
    QPDFObjectHandle named(const char* category, std::string_view name);
    std::optional<SizedFont> fontOf(QPDFObjectHandle graphicsState, IfNew ifNew);
    MarkedContent contentOf(QPDFObjectHandle properties);
    MarkedContent inlineProperties(std::span<const Operand> operands, const ContentScanner& scanner);
    FontUse use(QPDFObjectHandle font, IfNew ifNew);

    const PDFSource& source_;
    ReadingCache& cache_;
    QPDFObjectHandle dictionary_;
    ByName<FontUse> fonts_;
    ByName<std::optional<SizedFont>> graphicsStateFonts_;
    ByName<MarkedContent> properties_;
};

} // namespace orvex
