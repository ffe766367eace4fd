#include "Platform/Text/Font.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/FontFace_p.h"
#include "Platform/Text/FontsModule_p.h"
#include "Platform/Text/Scripts.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <utility>

namespace orvex {

namespace {

/// Families made with Helvetica's metrics.
constexpr std::array families = {"Helvetica", "Nimbus Sans", "Liberation Sans", "Arimo", "TeX Gyre Heros", "Arial"};

struct KnownAdvance {
    char32_t character;
    double regular;
    double bold;
};
/// From the metrics files of the fourteen standard PDF fonts: enough to tell a stand-in from a namesake.
constexpr std::array<KnownAdvance, 6> helvetica = {{{U' ', 0.278, 0.278},
                                                    {U'H', 0.722, 0.722},
                                                    {U'f', 0.278, 0.333},
                                                    {U'm', 0.833, 0.889},
                                                    {U'@', 1.015, 0.975},
                                                    {U'\u00E9', 0.556, 0.556}}};

bool hasMetricsOfHelvetica(const FaceAdvances& advances, bool bold) {
    return std::ranges::all_of(helvetica, [&](const KnownAdvance& known) {
        const auto found = advances.find(known.character);
        constexpr double tolerance = 0.0015;
        return found != advances.end() && std::abs(found->second - (bold ? known.bold : known.regular)) < tolerance;
    });
}

} // namespace

std::shared_ptr<const Font> Font::find(bool bold) {
    for (const char* family : families) {
        std::string path = fontsModule().installedFontFile(family, bold);
        auto advances = path.empty() ? std::nullopt : readFaceAdvances(path);
        if (advances && hasMetricsOfHelvetica(*advances, bold)) {
            return std::shared_ptr<const Font>(new Font(std::move(path), std::move(*advances), bold));
        }
    }
    return nullptr;
}

std::shared_ptr<const Font> Font::named(std::string_view name) {
    if (name != "Helvetica" && name != "Helvetica Bold") {
        return nullptr;
    }
    static std::mutex mutex;
    static std::map<bool, std::shared_ptr<const Font>> fonts;
    const std::scoped_lock lock(mutex);
    auto& font = fonts[name == "Helvetica Bold"];
    if (!font) {
        font = find(name == "Helvetica Bold");
    }
    return font;
}

std::shared_ptr<const Font> Font::require(std::string_view name) {
    if (auto font = named(name)) {
        return font;
    }
    fatalError("No installed font has the metrics of \"" + std::string(name) +
               "\". Install one, on Debian: apt-get install fonts-urw-base35 (or fonts-liberation).");
}

Font::Font(std::string path, Advances advances, bool bold)
    : path_(std::move(path)), advances_(std::move(advances)), bold_(bold) {
    constexpr char32_t commonEnd = 0x530; // Latin, Greek, Cyrillic
    for (char32_t codePoint = 0; codePoint < commonEnd; ++codePoint) {
        common_.push_back(findAdvance(codePoint));
    }
}

double Font::advance(char32_t codePoint) const {
    return codePoint < common_.size() ? common_[codePoint] : findAdvance(codePoint);
}

double Font::findAdvance(char32_t codePoint) const {
    if (takesNoRoom(codePoint)) {
        return 0;
    }
    if (const auto found = advances_.find(codePoint); found != advances_.end()) {
        return found->second;
    }
    constexpr double digit = 0.556;
    return isWide(codePoint) ? 1 : digit;
}

double Font::lineWidth(std::string_view utf8) const {
    double width = 0;
    for (std::size_t at = 0; at < utf8.size();) {
        width += advance(nextCodePoint(utf8, at));
    }
    return width;
}

TextExtent measureText(std::string_view utf8, const Font& font, double size) {
    TextExtent extent;
    for (const auto line : TextLines(utf8)) {
        extent.width = std::max(extent.width, font.lineWidth(line) * size);
        extent.height += size;
    }
    return extent;
}

} // namespace orvex
