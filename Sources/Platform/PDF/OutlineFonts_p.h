// Text that is seen, for one saved document: the faces that its pages show, subset to the glyphs used and embedded.
#pragma once

#include "Platform/Text/Shaping.h"

#include <qpdf/QPDFObjectHandle.hh>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace orvex {

/// Collects the glyphs that a document's pages show; used by one thread.
class OutlineFonts {
public:
    /// Appends BT ... ET operators that show one line of UTF-8 text, its baseline starting at (x, y), in the current
    /// fill colour. `resourceName` answers with the name that a face has in the page's resources.
    void appendLine(std::string& content, const std::function<std::string(const FontFile&)>& resourceName,
                    std::string_view utf8, const Font& font, double size, double x, double y);
    /// The composite fonts for what was shown, by face; their streams become objects of `pdf`.
    [[nodiscard]] std::map<FontFile, QPDFObjectHandle> makeObjects(QPDF& pdf) const;

private:
    struct Use {
        double advance = 0; ///< ems
        std::u32string text;
    };
    using Glyphs = std::map<std::uint32_t, Use>;
    static QPDFObjectHandle makeObject(QPDF& pdf, const FontFile& face, const Glyphs& glyphs);
    std::map<FontFile, Glyphs> faces_;
};

} // namespace orvex
