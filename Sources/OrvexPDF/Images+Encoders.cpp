#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images_p.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Imaging/Codecs.h"

#include <new>
#include <utility>

namespace orvex {
namespace {

constexpr std::string_view encodersFile = "NSImage+Extension";

template <class Message> void debugTurn(Message&& message) {
    moduleLogger().log(LogLevel::debug, encodersFile, "orvexImageWithRotation(_:)", std::forward<Message>(message));
}

/// Null when the pixels cannot be had.
BitmapPtr wholeBitmap(const ImageRep& rep) {
    try {
        return rep.passingBitmap();
    } catch (const ImageError&) {
        return nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void warnOfQuality(std::string_view function, double quality) {
    moduleLogger().log(LogLevel::warning, encodersFile, function,
                       [&] { return "Only values between >0 and <=1 allowed, received " + describe(quality); });
}

} // namespace

BitmapPtr cgImage(const Image& image) {
    const ImageRepPtr rep = image.bestRepresentation();
    return rep ? wholeBitmap(*rep) : nullptr;
}

std::optional<EncoderSamples> encoderSamples(const Image& image) {
    if (image.representations().empty()) {
        return std::nullopt;
    }
    const ImageRepPtr& rep = image.representations().front();
    const auto perInch = [](std::int64_t pixels, double points) { return static_cast<double>(pixels) * 72 / points; };
    BitmapPtr bitmap = wholeBitmap(*rep);
    if (!bitmap) {
        return std::nullopt;
    }
    return EncoderSamples{std::move(bitmap), perInch(rep->pixelsWide(), rep->size().width),
                          perInch(rep->pixelsHigh(), rep->size().height)};
}

std::optional<Bytes> encodePNG(const EncoderSamples& samples, std::size_t limit) {
    const PNGOptions options{samples.dpiX, samples.dpiY, PNGOptions::automaticLevel, limit};
    if (samples.bitmap->colorSpace.model == ColorModel::cmyk) {
        return encodePNG(convertToSRGB(*samples.bitmap), options); // PNG has no inks
    }
    return encodePNG(*samples.bitmap, options);
}

void checkJPEGQuality(double quality) {
    if (!(quality >= 0 && quality <= 1)) {
        warnOfQuality("orvexDataForJPGRepresentation(quality:)", quality);
    }
}

std::optional<Bytes> encodeJPEG(const EncoderSamples& samples, double quality) {
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
    checkJPEGQuality(quality); // also when there is nothing to encode
    const auto samples = encoderSamples(image);
    return samples ? encodeJPEG(*samples, quality) : std::nullopt;
}

std::optional<Bytes> orvexDataForJPG2000(const Image& image, double quality) {
    if (!(quality > 0 && quality <= 1)) {
        warnOfQuality("orvexDataForJPG2000(quality:)", quality);
    }
    const auto samples = encoderSamples(image);
    return samples ? encodeJPEG2000(*samples->bitmap, {quality, samples->dpiX, samples->dpiY}) : std::nullopt;
}

std::optional<Bytes> orvexDataForPNGCoreImage(const Image& image) {
    const BitmapPtr bitmap = cgImage(image);
    PNGOptions options;
    options.keepsLayout = true;
    options.statesSRGB = true;
    return bitmap ? encodePNG(convertToDeepSRGB(*bitmap), options) : std::nullopt;
}

std::optional<Bytes> orvexDataForJPGCoreImage(const Image& image, double quality) {
    const BitmapPtr bitmap = cgImage(image);
    return bitmap ? encodeJPEG(convertToSRGB(*bitmap), {quality}) : std::nullopt;
}

std::optional<Bytes> orvexDataForJPGCGImage(const Image& image, double quality) {
    const BitmapPtr bitmap = cgImage(image);
    JPEGOptions options;
    options.quality = quality;
    options.orientation = 1;
    return bitmap ? encodeJPEG(*bitmap, options) : std::nullopt;
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
    const std::int64_t quarterTurns = rotation % 360 / 90; // both truncate: the sign is the argument's
    debugTurn([&] { return "level " + std::to_string(quarterTurns); });
    if (quarterTurns == 0) {
        return image;
    }
    const Turn turn = turnFor(quarterTurns);
    debugTurn([&] { return std::string(turn.name); });
    debugTurn([&] { return "orientation " + std::to_string(turn.orientation); });
    const BitmapPtr bitmap = cgImage(*image);
    if (!bitmap) {
        return image;
    }
    const int clockwise = turn.orientation == 6 ? 1 : turn.orientation == 3 ? 2 : 3;
    return Image::fromBitmap(std::make_shared<const Bitmap>(turned(*bitmap, clockwise)));
}

} // namespace orvex
