// Reads a font dictionary into a TextFont.
#pragma once

#include "Platform/PDF/Reading/CompositeGlyphs_p.h"
#include "Platform/PDF/Reading/FontProgram_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvex {

/// At size 1; the descent is below zero.
struct TextFontHeights {
    float ascent = 0;
    float descent = 0;
};

class TextFontBuilder {
public:
    explicit TextFontBuilder(QPDFObjectHandle font);
    std::shared_ptr<const TextFont> build();

private:
    using Codes = std::array<std::string, 256>; ///< a text or a name for each one-byte code

    void buildSimple();
    void readDifferences();
    void textsFromToUnicode();
    void textsFromNames();
    void textsFromNumberedNames();
    void textsFromEncoding();
    void textsFromProgram();
    [[nodiscard]] bool isUsed(std::size_t code) const;
    void readWidths();
    void addMissingWidths();
    void keepTexts();

    void buildComposite();
    void textsOfIdentifiers(CompositeFontParts& parts, QPDFObjectHandle cidFont);
    void textsFromGlyphs(CompositeFontParts& parts, QPDFObjectHandle cidFont);
    void readVertical(CompositeFontParts& parts, QPDFObjectHandle cidFont);

    void readHeights();
    /// What stands in for a descriptor that is silent or lies.
    TextFontHeights heightsElsewhere();
    TextFontHeights heightsOfLines();
    [[nodiscard]] float scaleOfAdvances() const;
    /// What the file embeds; null when there is nothing that FreeType reads.
    FontProgram* program();
    [[nodiscard]] bool isEmbedded();

    QPDFObjectHandle font_;
    QPDFObjectHandle descriptor_;
    std::string subtype_;
    std::string name_; ///< of the base font, without slash and subset tag
    unsigned flags_ = 0;
    bool hasWidths_ = false;
    Codes names_; ///< that /Differences give
    Codes texts_;
    bool programSought_ = false;
    std::unique_ptr<FontProgram> program_;
    std::shared_ptr<TextFont> made_;
};

} // namespace orvex
