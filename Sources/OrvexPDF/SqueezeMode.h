// Compression presets: what resolution and quality an image page is brought down to.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// How colours are to be treated.
enum class OrvexPDFSqueezeColors { colors, graytones, blackAndWhite };
/// How images are to be encoded.
enum class OrvexPDFSqueezeMethod { best, original };
/// The built-in presets, by their ids.
enum class OrvexPDFSqueezePresetModes { strong, medium, low };

/// The exact, case-sensitive raw strings of the three enumerations; an unknown string gives nothing.
[[nodiscard]] std::string_view rawValue(OrvexPDFSqueezeColors value);
[[nodiscard]] std::string_view rawValue(OrvexPDFSqueezeMethod value);
[[nodiscard]] std::string_view rawValue(OrvexPDFSqueezePresetModes value);
template <class Enumeration> [[nodiscard]] std::optional<Enumeration> fromRawValue(std::string_view raw);

/// A named preset. Shared by reference; two modes are equal when their ids are. The optimiser reads `dpi` and `quality`
/// alone; colours and method are kept for the host.
class OrvexPDFSqueezeMode {
public:
    /// Everything is taken as it is: nothing is checked.
    OrvexPDFSqueezeMode(std::int64_t modeDpi, std::int64_t modeQuality, OrvexPDFSqueezeColors modeColors,
                        OrvexPDFSqueezeMethod modeMethod, std::string modeId, std::string modeTitle);
    const std::string id;
    std::string title;    ///< for people, in the host's language
    std::int64_t dpi;     ///< dots per inch; finer images are reduced to it
    std::int64_t quality; ///< JPEG quality in percent
    OrvexPDFSqueezeColors colors;
    OrvexPDFSqueezeMethod method;

    /// JSON with the six keys id, title, dpi, quality, colors, method. Throws JSONError when a text is not UTF-8.
    [[nodiscard]] Bytes toData() const;
    /// All six keys are required. On failure null, and the reason in `why` when given.
    [[nodiscard]] static std::shared_ptr<OrvexPDFSqueezeMode> from(const Bytes& jsonData, std::string* why = nullptr);
    friend bool operator==(const OrvexPDFSqueezeMode& a, const OrvexPDFSqueezeMode& b) { return a.id == b.id; }
};

using OrvexPDFSqueezeModePtr = std::shared_ptr<OrvexPDFSqueezeMode>;

/// Three new modes: strong (72 dpi, 25 %), medium (144, 50), low (300, 75), titled in the host's language.
[[nodiscard]] std::vector<OrvexPDFSqueezeModePtr> generateDefaultSqueezeModes();
/// The process-wide list, made once; callers may change it and must serialise their own changes.
[[nodiscard]] std::vector<OrvexPDFSqueezeModePtr>& squeezeModes();
/// The first mode of the list with this id (case-sensitive), or null.
[[nodiscard]] OrvexPDFSqueezeModePtr getSqueezeMode(std::string_view id);

} // namespace orvex
