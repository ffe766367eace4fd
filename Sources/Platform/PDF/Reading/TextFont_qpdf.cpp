#include "Platform/PDF/Reading/StandardWidths_p.h"
#include "Platform/PDF/Reading/StreamBytes_p.h"
#include "Platform/PDF/Reading/TextFontBuilder_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <algorithm>

namespace orvex {

namespace {

constexpr std::size_t longestProgram = std::size_t{64} << 20U;

/// "/ABCDEF+Name" without slash and tag.
std::string plainName(const std::string& name) {
    std::string plain = name.empty() ? name : name.substr(1);
    const bool tagged = plain.size() > 7 && plain[6] == '+' &&
                        std::all_of(plain.begin(), plain.begin() + 6, [](char c) { return c >= 'A' && c <= 'Z'; });
    return tagged ? plain.substr(7) : plain;
}

} // namespace

std::shared_ptr<const TextFont> TextFont::make(QPDFObjectHandle font) {
    return TextFontBuilder(font).build();
}

TextFontBuilder::TextFontBuilder(QPDFObjectHandle font)
    : font_(font), descriptor_(fontEntry(font, "/FontDescriptor")), subtype_(fontName(fontEntry(font, "/Subtype"))),
      name_(plainName(fontName(fontEntry(font, "/BaseFont")))), made_(new TextFont) {}

std::shared_ptr<const TextFont> TextFontBuilder::build() {
    if (subtype_ == "/Type0") {
        buildComposite();
    } else {
        buildSimple();
    }
    readHeights();
    return made_;
}

FontProgram* TextFontBuilder::program() {
    if (!programSought_) {
        programSought_ = true;
        for (const char* key : {"/FontFile3", "/FontFile2", "/FontFile"}) {
            auto file = fontEntry(descriptor_, key);
            if (file.isStream()) {
                program_ = FontProgram::open(decodedBytes(file, longestProgram));
                break;
            }
        }
    }
    return program_.get();
}

bool TextFontBuilder::isEmbedded() {
    return fontEntry(descriptor_, "/FontFile").isStream() || fontEntry(descriptor_, "/FontFile2").isStream() ||
           fontEntry(descriptor_, "/FontFile3").isStream();
}

} // namespace orvex
