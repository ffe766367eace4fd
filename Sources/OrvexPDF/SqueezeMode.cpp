#include "OrvexPDF/SqueezeMode.h"
#include "Platform/Foundation/JSONCoding.h"
#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>

namespace orvex {

template <> struct JSONEnumeration<OrvexPDFSqueezeColors> {
    using enum OrvexPDFSqueezeColors;
    static constexpr std::string_view name = "OrvexPDFSqueezeColors";
    static constexpr std::array<std::pair<OrvexPDFSqueezeColors, std::string_view>, 3> cases{
        {{colors, "colors"}, {graytones, "graytones"}, {blackAndWhite, "blackAndWhite"}}};
};

template <> struct JSONEnumeration<OrvexPDFSqueezeMethod> {
    using enum OrvexPDFSqueezeMethod;
    static constexpr std::string_view name = "OrvexPDFSqueezeMethod";
    static constexpr std::array<std::pair<OrvexPDFSqueezeMethod, std::string_view>, 2> cases{
        {{best, "best"}, {original, "original"}}};
};

template <> struct JSONEnumeration<OrvexPDFSqueezePresetModes> {
    using enum OrvexPDFSqueezePresetModes;
    static constexpr std::string_view name = "OrvexPDFSqueezePresetModes";
    static constexpr std::array<std::pair<OrvexPDFSqueezePresetModes, std::string_view>, 3> cases{
        {{strong, "strong"}, {medium, "medium"}, {low, "low"}}};
};

namespace {

/// What is stored of a mode; its id cannot be set later, so that it is read before the mode is made.
struct StoredMode {
    std::string id;
    std::string title;
    std::int64_t dpi = 0;
    std::int64_t quality = 0;
    OrvexPDFSqueezeColors colors = OrvexPDFSqueezeColors::colors;
    OrvexPDFSqueezeMethod method = OrvexPDFSqueezeMethod::best;
};

struct Preset {
    OrvexPDFSqueezePresetModes mode;
    std::string_view titleKey;
    std::int64_t dpi;
    std::int64_t quality;
};

constexpr std::array<Preset, 3> presets{{{OrvexPDFSqueezePresetModes::strong, "Strong Compression", 72, 25},
                                         {OrvexPDFSqueezePresetModes::medium, "Medium Compression", 144, 50},
                                         {OrvexPDFSqueezePresetModes::low, "Low Compression", 300, 75}}};

} // namespace

template <> struct JSONRecord<StoredMode> {
    static constexpr std::array fields{
        jsonField<&StoredMode::id>("id"),         jsonField<&StoredMode::title>("title"),
        jsonField<&StoredMode::dpi>("dpi"),       jsonField<&StoredMode::quality>("quality"),
        jsonField<&StoredMode::colors>("colors"), jsonField<&StoredMode::method>("method")};
};

std::string_view rawValue(OrvexPDFSqueezeColors value) {
    return jsonRawValue(value);
}
std::string_view rawValue(OrvexPDFSqueezeMethod value) {
    return jsonRawValue(value);
}
std::string_view rawValue(OrvexPDFSqueezePresetModes value) {
    return jsonRawValue(value);
}

template <class Enumeration> std::optional<Enumeration> fromRawValue(std::string_view raw) {
    return fromJSONRawValue<Enumeration>(raw);
}
template std::optional<OrvexPDFSqueezeColors> fromRawValue(std::string_view raw);
template std::optional<OrvexPDFSqueezeMethod> fromRawValue(std::string_view raw);
template std::optional<OrvexPDFSqueezePresetModes> fromRawValue(std::string_view raw);

OrvexPDFSqueezeMode::OrvexPDFSqueezeMode(std::int64_t modeDpi, std::int64_t modeQuality,
                                         OrvexPDFSqueezeColors modeColors, OrvexPDFSqueezeMethod modeMethod,
                                         std::string modeId, std::string modeTitle)
    : id(std::move(modeId)), title(std::move(modeTitle)), dpi(modeDpi), quality(modeQuality), colors(modeColors),
      method(modeMethod) {}

Bytes OrvexPDFSqueezeMode::toData() const {
    return Bytes(encodeJSON(StoredMode{id, title, dpi, quality, colors, method}, false));
}

OrvexPDFSqueezeModePtr OrvexPDFSqueezeMode::from(const Bytes& jsonData, std::string* why) {
    try {
        auto stored = decodeJSON<StoredMode>(jsonData);
        return std::make_shared<OrvexPDFSqueezeMode>(stored.dpi, stored.quality, stored.colors, stored.method,
                                                     std::move(stored.id), std::move(stored.title));
    } catch (const JSONError& error) {
        if (why != nullptr) {
            *why = error.summary();
        }
        return nullptr;
    }
}

std::vector<OrvexPDFSqueezeModePtr> generateDefaultSqueezeModes() {
    std::vector<OrvexPDFSqueezeModePtr> modes;
    for (const Preset& preset : presets) {
        modes.push_back(std::make_shared<OrvexPDFSqueezeMode>(
            preset.dpi, preset.quality, OrvexPDFSqueezeColors::colors, OrvexPDFSqueezeMethod::best,
            std::string(rawValue(preset.mode)), localizedString(preset.titleKey)));
    }
    return modes;
}

std::vector<OrvexPDFSqueezeModePtr>& squeezeModes() {
    static auto* modes = new std::vector(generateDefaultSqueezeModes()); // never destroyed: shared until the end
    return *modes;
}

OrvexPDFSqueezeModePtr getSqueezeMode(std::string_view id) {
    const auto& modes = squeezeModes();
    const auto found = std::find_if(modes.begin(), modes.end(), [id](const auto& mode) { return mode->id == id; });
    return found == modes.end() ? nullptr : *found;
}

} // namespace orvex
