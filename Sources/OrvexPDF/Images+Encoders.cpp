#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images_p.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Imaging/Codecs.h"

#include <new>

namespace orvex {
namespace {

constexpr std::string_view file = "NSImage+Extension";

void debug(std::string_view function, const std::string& message) {
    moduleLogger().log(LogLevel::debug, file, function, [&] { return message; });
}

/// Profiles of scanners and of inks may outweigh the picture: a large one goes into the samples.
BitmapPtr withoutLargeProfile(BitmapPtr bitmap) {
    constexpr std::size_t large = 16 << 10;
    if (bitmap->colorSpace.iccProfile.size() <= large) {
        return bitmap;
    }
    return std::make_shared<const Bitmap>(convertToSRGB(*bitmap));
}

} // namespace

std::optional<EncoderSamples> encoderSamples(const Image& image) {
    if (image.representations().empty()) {
        return std::nullopt;
    }
    const ImageRepPtr& rep = image.representations().front();
    const auto perInch = [](std::int64_t pixels, double points) { return static_cast<double>(pixels) * 72 / points; };
    try {
        // As many pixels as there are: bitmapAtLeast() does not keep them.
        return EncoderSamples{withoutLargeProfile(rep->bitmapAtLeast(rep->pixelsWide(), rep->pixelsHigh())),
                              perInch(rep->pixelsWide(), rep->size().width),
                              perInch(rep->pixelsHigh(), rep->size().height)};
    } catch (const ImageError&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

std::optional<Bytes> encodePNG(const EncoderSamples& samples, std::size_t limit) {
    const PNGOptions options{samples.dpiX, samples.dpiY, PNGOptions::automaticLevel, limit};
    if (samples.bitmap->colorSpace.model == ColorModel::cmyk) {
        return encodePNG(convertToSRGB(*samples.bitmap), options); // PNG has no inks
    }
    return encodePNG(*samples.bitmap, options);
}

std::optional<Bytes> encodeJPEG(const EncoderSamples& samples, double quality) {
    if (!(quality >= 0 && quality <= 1)) {
        moduleLogger().log(LogLevel::warning, file, "orvexDataForJPGRepresentation(quality:)",
                           [&] { return "Only values between >0 and <=1 allowed, received " + describe(quality); });
    }
    return encodeJPEG(*samples.bitmap, {quality, samples.dpiX, samples.dpiY});
}

std::optional<Bytes> orvexDataForPNG(const Image& image) {
    const auto samples = encoderSamples(image);
    return samples ? encodePNG(*samples) : std::nullopt;
}

std::optional<Bytes> orvexDataForPNGRepresentation(const Image& image) {
    return orvexDataForPNG(image);
}

std::optional<Bytes> orvexDataForJPG(const Image& image, double quality) {
    return orvexDataForJPGRepresentation(image, quality);
}

std::optional<Bytes> orvexDataForJPGRepresentation(const Image& image, double quality) {
    const auto samples = encoderSamples(image);
    return samples ? encodeJPEG(*samples, quality) : std::nullopt;
}

namespace {

struct Turn {
    int orientation;
    std::string_view name;
};

/// Orientations are EXIF's: 6 a quarter turn clockwise, 3 half a turn, 8 a quarter turn counter-clockwise.
Turn turnFor(std::int64_t quarterTurns) {
    switch (quarterTurns) {
    case 1:
    case -3:
        return {6, "right"};
    case 2:
    case -2:
        return {3, "down"};
    default:
        return {8, "left"};
    }
}

} // namespace

ImagePtr orvexImageWithRotation(const ImagePtr& image, std::int64_t rotation) {
    constexpr std::string_view function = "orvexImageWithRotation(_:)";
    const std::int64_t quarterTurns = rotation % 360 / 90; // both truncate: the sign is the argument's
    debug(function, "level " + std::to_string(quarterTurns));
    if (quarterTurns == 0) {
        return image;
    }
    const Turn turn = turnFor(quarterTurns);
    debug(function, std::string(turn.name));
    debug(function, "orientation " + std::to_string(turn.orientation));
    const ImageRepPtr rep = image->bestRepresentation();
    if (!rep) {
        return image;
    }
    try {
        const int clockwise = turn.orientation == 6 ? 1 : turn.orientation == 3 ? 2 : 3;
        return Image::fromBitmap(std::make_shared<const Bitmap>(
            turned(*rep->bitmapAtLeast(rep->pixelsWide(), rep->pixelsHigh()), clockwise)));
    } catch (const ImageError&) {
        return image;
    }
}

} // namespace orvex
