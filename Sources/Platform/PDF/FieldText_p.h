// What a form field says, as operators of its appearance: the font that its default appearance names where that has the
// characters, else Helvetica's stand-in with the faces that do.
#pragma once

#include "Platform/PDF/OutlineFonts_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// What a field's /DA says.
struct DefaultAppearance {
    std::string font;            ///< its name in the form's resources, with the slash; empty: none
    double size = 0;             ///< points; 0: as large as fits
    std::string color = "0 g\n"; ///< the operator that fills in it
};
/// Anything but a font, a size and a colour is passed over.
[[nodiscard]] DefaultAppearance readDefaultAppearance(std::string_view text);

/// A font of a form's resources.
struct FieldFont {
    std::string name;                                                  ///< with the slash
    QPDFObjectHandle object;                                           ///< null when the resources lack it
    std::map<std::string, std::pair<char, double>, std::less<>> codes; ///< code and advance at size 1, by character
    bool isBold = false;
};

/// The fonts of one form; used by one thread.
class FieldFonts {
public:
    /// `fonts` are the form's, or null.
    FieldFonts(QPDF& target, QPDFObjectHandle fonts) : target_(target), fonts_(fonts) {}

    [[nodiscard]] const FieldFont& named(const std::string& name);
    /// One that every reader has.
    [[nodiscard]] QPDFObjectHandle standardFont(const std::string& name, const std::string& encoding = {});
    /// Of one line of UTF-8 text, in points.
    [[nodiscard]] static double width(const FieldFont& font, std::string_view line, double size);
    /// Shows a line, its baseline from (x, y); `used` is the appearance's dictionary of fonts.
    void show(std::string& content, QPDFObjectHandle used, const FieldFont& font, std::string_view line, double size,
              Point baseline);
    /// Once all lines are shown: embeds the faces that stood in.
    void embed();

private:
    QPDF& target_;
    QPDFObjectHandle fonts_;
    std::map<std::string, FieldFont> known_;
    std::map<std::string, QPDFObjectHandle> standardFonts_;
    OutlineFonts outlines_;
    std::map<FontFile, QPDFObjectHandle> faces_; ///< reserved
};

/// How a field's text stands in its box, which starts at (0, 0).
struct FieldLayout {
    Size box;
    double border = 0; ///< width of its frame
    int quadding = 0;  ///< 0: left, 1: centred, 2: right
    bool multiline = false;
    int cells = 0; ///< of equal width, each with a character; 0: no comb
};

struct FieldLine {
    std::string text;
    Point baseline;
};
struct FieldLines {
    double size = 0; ///< of the font
    std::vector<FieldLine> lines;
};
/// Lines below the box are left out.
[[nodiscard]] FieldLines layOut(std::string_view text, const FieldFont& font, double size, const FieldLayout& layout);

} // namespace orvex
