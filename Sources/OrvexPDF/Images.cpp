#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images_p.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/JpegReduction.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <utility>

namespace orvex {
namespace {

constexpr std::string_view transformLabel = "orvexImageTransform(image:dpi:)";
constexpr std::string_view optimizeLabel = "optimizeImage(image:squeeze:size:)";

/// Target size in pixels, not yet whole.
struct Target {
    double width;
    double height;
};

/// Bytes from row to row as a renderer holds the source: decoded files have four channels, samples are as they are.
std::int64_t sourceRowLength(const ImageRep& rep) {
    if (rep.encoded().empty()) {
        return static_cast<std::int64_t>(rep.bitmap()->bytesPerRow);
    }
    return rep.pixelsWide() * 4 * (rep.info().bitsPerComponent / 8);
}

/// A drawing surface of RGB with a skipped fourth channel. By design its rows are as long as the source's: it exists
/// for RGB samples of 8 or 16 bits alone, and never wider than the source.
bool surfaceExists(const ImageRep& rep, std::int64_t width, std::int64_t height) {
    const ImageInfo& info = rep.info();
    const bool direct = info.colorSpace.model == ColorModel::rgb && !info.palette;
    const bool depth = info.bitsPerComponent == 8 || info.bitsPerComponent == 16;
    if (!direct || !depth || width < 1 || height < 1) {
        return false;
    }
    return width <= sourceRowLength(rep) / (4 * (info.bitsPerComponent / 8));
}

/// Null when the pixels cannot be had or would not fit in memory.
BitmapPtr drawn(const ImageRep& rep, std::int64_t width, std::int64_t height) {
    try {
        return std::make_shared<const Bitmap>(resampled(rep, width, height));
    } catch (const ImageError&) {
        return nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// The new pixels on the old image's size in points, so that the result measures the target resolution.
ImagePtr imageOf(BitmapPtr bitmap, const Image& original) {
    auto image = std::make_shared<Image>(original.size());
    auto rep = std::make_shared<ImageRep>(std::move(bitmap));
    rep->setSize(original.size());
    image->addRepresentation(std::move(rep));
    return image;
}

ImagePtr drawnOnSurface(const Image& image, const ImageRep& rep, const Target& target) {
    const std::int64_t width = truncateOrDie(target.width, "the width of a reduced image");
    const std::int64_t height = truncateOrDie(target.height, "the height of a reduced image");
    if (!surfaceExists(rep, width, height)) {
        return nullptr;
    }
    BitmapPtr bitmap = drawn(rep, width, height);
    if (bitmap && bitmap->alpha != Alpha::none) {
        // The surface has no alpha and starts black: so does what was transparent.
        bitmap = std::make_shared<const Bitmap>(flattenedOverBlack(*bitmap));
    }
    return bitmap ? imageOf(std::move(bitmap), image) : nullptr;
}

Target targetAt(std::int64_t dpi, const Image& image) {
    const double factor = static_cast<double>(dpi) / 72.0;
    return {factor * image.size().width, factor * image.size().height};
}

ImagePtr drawnByItself(const Image& image, const ImageRep& rep, const Target& target) {
    const std::int64_t width = truncateOrDie(std::round(target.width), "the width of a reduced image");
    const std::int64_t height = truncateOrDie(std::round(target.height), "the height of a reduced image");
    BitmapPtr bitmap = width < 1 || height < 1 ? nullptr : drawn(rep, width, height);
    return bitmap ? imageOf(std::move(bitmap), image) : nullptr;
}

ImagePtr transformed(const ImagePtr& image, const Target& target) {
    const auto info = [](const char* message) {
        moduleLogger().log(LogLevel::info, imagesFile, transformLabel, [&] { return std::string(message); });
    };
    const ImageRepPtr rep = image->bestRepresentation();
    if (rep) {
        if (ImagePtr result = drawnOnSurface(*image, *rep, target)) {
            return result;
        }
    }
    info("Error getting the image");
    if (!rep) {
        return image;
    }
    if (ImagePtr result = drawnByItself(*image, *rep, target)) {
        return result;
    }
    info("Error getting the image Plan B");
    return image;
}

} // namespace

std::string_view name(OrvexImageMetaMode mode) {
    static constexpr std::array<std::string_view, 5> names = {"undefined", "png", "jpg", "jpg2000", "tiff"};
    return names[static_cast<std::size_t>(mode)];
}

std::string describe(const OrvexImageMeta& meta) {
    return "OrvexImageMeta(image: " + meta.image->description() + ", count: " + std::to_string(meta.count) +
           ", mode: OrvexPDF.OrvexImageMetaMode." + std::string(name(meta.mode)) + ")";
}

bool isFiner(const Image& image, std::int64_t dpi) {
    // 2480 pixels at 300 dpi measure 300.00000000000006: resampling those to 2479 would only blur them.
    constexpr double rounding = 1e-9;
    return image.dpi() > static_cast<double>(dpi) * (1 + rounding);
}

ImagePtr orvexImageTransform(const ImagePtr& image, std::int64_t dpi) {
    return transformed(image, targetAt(dpi, *image));
}

ImagePtr reducedTo(const ImagePtr& image, std::int64_t dpi) {
    Target target = targetAt(dpi, *image);
    if (const ImageRepPtr rep = image->bestRepresentation()) {
        target.width = std::min(target.width, static_cast<double>(rep->pixelsWide()));
        target.height = std::min(target.height, static_cast<double>(rep->pixelsHigh()));
    }
    return transformed(image, target);
}

namespace {

/// The two encodings; `png` is empty as well when it has lost and nobody asked for its size.
struct Candidates {
    std::optional<Bytes> png;
    std::optional<Bytes> jpg;
    bool failed = false;
};

Candidates encodeBoth(const Image& image, double quality, bool sizesAsked) {
    const auto samples = encoderSamples(image);
    if (!samples) {
        return {std::nullopt, std::nullopt, true};
    }
    Candidates candidates;
    checkJPEGQuality(quality);
    // JPEG is quick: its size tells the PNG encoder when to give up.
    candidates.jpg = encodeJPEG(*samples, quality);
    if (candidates.jpg) {
        candidates.png = encodePNG(*samples, sizesAsked ? 0 : candidates.jpg->size());
    }
    candidates.failed = !candidates.jpg;
    return candidates;
}

void consider(OrvexImageMetaMode mode, const std::optional<Bytes>& data, OrvexImageMeta& best, Bytes& bestData) {
    if (!data) {
        return;
    }
    const auto count = static_cast<std::int64_t>(data->size());
    moduleLogger().log(LogLevel::debug, imagesFile, optimizeLabel,
                       [&] { return "Size " + std::string(name(mode)) + " = " + std::to_string(count); });
    if (count < best.count) {
        best.count = count;
        best.mode = mode;
        bestData = *data;
    }
}

OrvexImageMeta optimized(ImagePtr image, const OrvexPDFSqueezeMode& squeeze) {
    if (isFiner(*image, squeeze.dpi)) {
        image = reducedTo(image, squeeze.dpi);
    }
    OrvexImageMeta best{image};
    const Candidates candidates =
        encodeBoth(*image, static_cast<double>(squeeze.quality) / 100.0, moduleLogger().isEnabled(LogLevel::debug));
    if (candidates.failed) {
        return best;
    }
    Bytes data;
    consider(OrvexImageMetaMode::png, candidates.png, best, data); // first: it wins a tie
    consider(OrvexImageMetaMode::jpg, candidates.jpg, best, data);
    try {
        best.image = Image::fromData(data);
    } catch (const ImageError&) { // the reduced image stays
    }
    return best;
}

} // namespace

OrvexImageMeta optimizeImage(const ImagePtr& image, const OrvexPDFSqueezeModePtr& squeeze, Size) {
    OrvexImageMeta result = squeeze ? optimized(image, *squeeze) : OrvexImageMeta{image};
    moduleLogger().log(LogLevel::debug, imagesFile, optimizeLabel, [&] { return "Result " + describe(result); });
    return result;
}

std::optional<OrvexImageMeta> optimizeImage(OrvexPDFPage& page, const OrvexPDFSqueezeModePtr& squeeze) {
    try {
        const ImagePtr image = page.image(squeeze->dpi);
        return optimizeImage(image, squeeze, image->size());
    } catch (const OrvexPDFPageError& error) {
        moduleLogger().log(LogLevel::warning, imagesFile, "optimizeImage(page:squeeze:)",
                           [&] { return std::string("Error ") + error.what(); });
        return std::nullopt;
    }
}

} // namespace orvex
