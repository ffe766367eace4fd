#include "MakePages.h"

#include "Failure.h"
#include "Input.h"
#include "Interrupt.h"
#include "Messages.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Foundation/Workers.h"
#include "Platform/Imaging/Codecs.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace orvex::tool {

namespace {

/// Larger pages are beyond what PDF readers promise to show.
constexpr double largestPage = 14400;

[[noreturn]] void failToRead(const std::string& name, const std::string& reason) {
    throw Failure(ExitCode::inputUnusable, name + ": " + reason);
}

std::vector<ImagePtr> pagesOf(const Bytes& data, const std::string& name) {
    if (data.empty()) {
        failToRead(name, "the file is empty");
    }
    try {
        auto pages = Image::pagesFromData(data);
        for (const auto& page : pages) {
            verifyEncoded(data, page->representations().front()->info());
        }
        return pages;
    } catch (const ImageError& error) {
        failToRead(name, error.what());
    }
}

void setResolution(Image& image, double dpi) {
    constexpr double pointsPerInch = 72;
    for (const auto& rep : image.representations()) {
        rep->setSize({static_cast<double>(rep->pixelsWide()) * (pointsPerInch / dpi),
                      static_cast<double>(rep->pixelsHigh()) * (pointsPerInch / dpi)});
    }
    image.setSize(image.representations().front()->size());
}

/// `dpi` is what was asked for, if anything was.
void checkSize(const SourceImage& source, std::optional<double> dpi) {
    if (!PDFPage::canHold(source.image)) {
        throw Failure(ExitCode::inputUnusable, source.name + ": an image without a size cannot be a page");
    }
    const Size size = source.image->size();
    if (std::max(size.width, size.height) > largestPage) {
        const std::string larger = "the page is larger than PDF readers can show";
        warn(source.name + ": " +
             (dpi ? "at " + describe(*dpi) + " dpi " + larger
                  : "at the " + describe(std::round(source.image->dpi())) + " dpi that it states " + larger +
                        "; --dpi sets another resolution"));
    }
}

} // namespace

std::vector<SourceImage> imagesIn(const Bytes& data, const std::string& name, std::optional<double> dpi) {
    const auto pages = pagesOf(data, name);
    std::vector<SourceImage> sources;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const auto page = pages.size() > 1 ? " (page " + std::to_string(i + 1) + ")" : "";
        sources.push_back({name + page, pages[i]});
        if (dpi) {
            setResolution(*pages[i], *dpi);
        }
        checkSize(sources.back(), dpi);
    }
    return sources;
}

std::vector<SourceImage> readImages(const std::vector<std::string>& paths, std::optional<double> dpi) {
    std::vector<std::vector<SourceImage>> files(paths.size());
    forEachInParallel(paths.size(), [&](std::size_t i) {
        throwIfInterrupted();
        files[i] = imagesIn(readInput(paths[i]), displayName(paths[i]), dpi);
    });
    std::vector<SourceImage> sources;
    for (auto& file : files) {
        std::ranges::move(file, std::back_inserter(sources));
    }
    return sources;
}

void requirePixels(const Image& image, const std::string& name) {
    const auto rep = image.bestRepresentation();
    try {
        (void)rep->passingBitmap();
    } catch (const ImageError& error) {
        throw Failure(ExitCode::inputUnusable, name + ": " + error.what());
    }
}

} // namespace orvex::tool
