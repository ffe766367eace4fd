// From what the user gave (images, recognised text, settings) to the records that pages are generated from.
#pragma once

#include "OrvexPDF/PageMeta.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvex::tool {

/// An image that becomes a page, and where it came from.
struct SourceImage {
    std::string name; ///< for messages: the file, and the page where a file holds several
    ImagePtr image;
};

/// All pages of all images, in order. `dpi` replaces the resolution that the files state. Throws Failure for files that
/// cannot be read or are no complete images.
[[nodiscard]] std::vector<SourceImage> readImages(const std::vector<std::string>& paths, std::optional<double> dpi);

/// Decodes the image only to hear what is wrong with it: throws Failure that names it.
void requirePixels(const Image& image, const std::string& name);
/// The same for the contents of one file; `name` is for messages.
[[nodiscard]] std::vector<SourceImage> imagesIn(const Bytes& data, const std::string& name, std::optional<double> dpi);

/// The file that readPreset() would read, as a list of one; none for a preset's name.
[[nodiscard]] std::vector<std::string> presetFiles(const std::string& nameOrPath);
/// A preset by its name (strong, medium, low) or from a JSON file; null for an empty text. Throws Failure.
[[nodiscard]] OrvexPDFSqueezeModePtr readPreset(const std::string& nameOrPath);

/// Lays recognised text over the page, turned as the page is where it was found on what is shown.
void layText(OrvexPDFPage& page, std::shared_ptr<const OrvexFoundPage> found);
/// How the image, its text (may be null) and the settings make a page. The orientation that the image's file states
/// turns the page; `turn` (degrees, clockwise) turns page and text layer on top of that.
[[nodiscard]] OrvexPDFPageMeta recordFor(const ImagePtr& image, std::shared_ptr<const OrvexFoundPage> found,
                                         const OrvexPDFSqueezeModePtr& squeeze, std::int64_t turn);

} // namespace orvex::tool
