#include "MakePages.h"

#include "Failure.h"
#include "Input.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace orvex::tool {

namespace {

constexpr std::int64_t halfTurn = 180;

OrvexPDFSqueezeModePtr presetFromFile(const std::string& path) {
    std::string why;
    auto preset = OrvexPDFSqueezeMode::from(readInput(path), &why);
    if (!preset) {
        throw Failure(ExitCode::inputUnusable, displayName(path) + ": not a squeeze preset: " + why);
    }
    if (preset->dpi < 1 || preset->dpi > 100000 || preset->quality < 0 || preset->quality > 100) {
        throw Failure(ExitCode::inputUnusable,
                      displayName(path) + ": not a usable preset: dpi must be 1 to 100000 and quality 0 to 100");
    }
    return preset;
}

/// Whether the boxes were found on the page as its orientation (degrees, clockwise) shows it, not on what is `stored`.
/// After a quarter turn the shape tells; otherwise nothing does, and recognisers mostly work on what is shown.
bool isFoundAsShown(const OrvexFoundPage& found, const Size& stored, std::int64_t orientation) {
    const auto size = found.size ? found.size->cgSize() : std::nullopt;
    if (!size || orientation % halfTurn == 0) {
        return true;
    }
    const double shape = std::log(size->width / size->height);
    const double storedShape = std::log(stored.width / stored.height);
    return std::abs(shape + storedShape) <= std::abs(shape - storedShape);
}

} // namespace

std::vector<std::string> presetFiles(const std::string& nameOrPath) {
    return nameOrPath.empty() || getSqueezeMode(nameOrPath) ? std::vector<std::string>() : std::vector{nameOrPath};
}

OrvexPDFSqueezeModePtr readPreset(const std::string& nameOrPath) {
    if (nameOrPath.empty()) {
        return nullptr;
    }
    if (auto preset = getSqueezeMode(nameOrPath)) {
        return preset;
    }
    const bool isName = nameOrPath.find_first_of("/.-") == std::string::npos; // a file's path mostly has one of them
    if (isName && !std::filesystem::exists(nameOrPath)) {
        throw Failure(ExitCode::inputUnreadable, nameOrPath + ": neither a preset (strong, medium, low) nor a file");
    }
    return presetFromFile(nameOrPath);
}

void layText(OrvexPDFPage& page, std::shared_ptr<const OrvexFoundPage> found) {
    if (isFoundAsShown(*found, page.bounds(PDFDisplayBox::media).size(), page.rotation())) {
        page.textRotation = page.rotation();
    }
    page.foundPage = std::move(found);
}

OrvexPDFPageMeta recordFor(const ImagePtr& image, std::shared_ptr<const OrvexFoundPage> found,
                           const OrvexPDFSqueezeModePtr& squeeze, std::int64_t turn) {
    OrvexPDFPageMeta record;
    record.originalImage = image;
    record.squeeze = squeeze;
    record.rotation = image->orientationDegrees();
    if (found && isFoundAsShown(*found, image->size(), record.rotation)) {
        record.setTextRotationTop();
    }
    record.rotation += turn % (2 * halfTurn);
    if (!found) {
        record.setTextRotationTop(); // for a watermark, which turns with the text where there is some
    }
    record.foundPage = std::move(found);
    return record;
}

} // namespace orvex::tool
