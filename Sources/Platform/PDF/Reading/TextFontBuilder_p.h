// Reads a font dictionary into a TextFont.
#pragma once

#include "Platform/PDF/Reading/CMap_p.h"
#include "Platform/PDF/Reading/CompositeGlyphs_p.h"
#include "Platform/PDF/Reading/Encoding_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

#include <optional>

namespace orvex {

class TextFontBuilder {
public:
    explicit TextFontBuilder(QPDFObjectHandle font);
    std::shared_ptr<const TextFont> build();

private:
    struct Differences {
        std::array<std::string, 256> names;
        bool any = false;
    };
    using Texts = std::array<std::string, 256>;

    void buildSimple();
    void buildType3Metrics();
    void readEncoding(Texts& texts);
    void readDifferences(Texts& texts, QPDFObjectHandle differences);
    void readToUnicode(Texts& texts);
    void readWidths();
    void setTexts(const Texts& texts);
    [[nodiscard]] BaseEncoding defaultEncoding() const;

    void buildComposite();
    void readVertical(CompositeFontParts& parts, QPDFObjectHandle cidFont);

    void readHeights();

    QPDFObjectHandle font_;
    QPDFObjectHandle descriptor_;
    std::string subtype_;
    std::string name_; ///< of the base font, without slash and subset tag
    bool symbolic_ = false;
    std::shared_ptr<TextFont> made_;
};

} // namespace orvex
