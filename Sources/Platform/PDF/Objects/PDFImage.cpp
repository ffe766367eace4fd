#include "Platform/PDF/Objects/PDFImage.h"

#include "Platform/Imaging/Codecs.h"
#include "Platform/PDF/Objects/Samples_p.h"

#include <algorithm>
#include <utility>

namespace orvex {

namespace {

/// Rows may lack the byte that their last bits begin: writers of images rely on it. A stricter rule goes here.
bool holdsRow(std::int64_t bytesPerRow, std::int64_t bits) {
    return bytesPerRow >= std::max<std::int64_t>(1, bits / 8);
}

bool isKnownDepth(const PDFImage& image) {
    const int bits = image.bitsPerComponent;
    return bits == 1 || bits == 2 || bits == 4 || bits == 8 ||
           (bits == 16 && image.colorSpace->family() != PDFColorSpace::Family::indexed);
}

/// Missing samples are zero, but not a gigabyte of them for a few bytes of data.
bool hasEnoughData(const PDFImage& image) {
    constexpr std::int64_t alwaysFilled = 64 << 20;
    constexpr std::int64_t mostFill = 16;
    const std::int64_t wanted = image.bytesPerRow * image.height;
    const auto stored = static_cast<std::int64_t>(image.data.size());
    return stored > 0 && (wanted <= alwaysFilled || stored > wanted / mostFill);
}

bool isBounded(const PDFImage& image) {
    constexpr auto most = static_cast<std::int64_t>(PDFObject::mostStreamBytes);
    const int components = image.colorSpace->pixels().components();
    const bool packed = image.bitsPerPixel == 1 && components == 1; // may stay so
    const std::int64_t perPixel = std::max(image.bitsPerPixel, packed ? 1 : 8 * components);
    return image.width < most && image.height < most && image.bytesPerRow <= most / image.height &&
           (image.width * perPixel + 7) / 8 <= most / image.height;
}

bool isImage(const PDFImage& image) {
    return image.width >= 1 && image.height >= 1 && image.colorSpace && isKnownDepth(image) &&
           image.bitsPerPixel == image.bitsPerComponent * image.colorSpace->components() && isBounded(image) &&
           holdsRow(image.bytesPerRow, image.width * image.bitsPerPixel) && hasEnoughData(image);
}

/// What JPEG data say of themselves; empty when they are none that we read.
std::optional<ImageInfo> jpegInfo(const Bytes& data) {
    if (sniffImageFormat(data.span()) != ImageFormat::jpeg) {
        return std::nullopt;
    }
    try {
        return readImageInfo(data).front();
    } catch (const ImageError&) {
        return std::nullopt;
    }
}

} // namespace

PDFImagePtr PDFImage::fromSamples(PDFImage image) {
    image.format = PDFStreamFormat::raw;
    if (!isImage(image)) {
        return nullptr;
    }
    if (image.decode.size() < 2 * static_cast<std::size_t>(image.colorSpace->components())) {
        image.decode.clear();
    }
    return std::make_shared<const PDFImage>(std::move(image));
}

PDFImagePtr PDFImage::fromJPEG(const Bytes& data, bool inksInverted) {
    const auto info = jpegInfo(data);
    if (!info) {
        return nullptr;
    }
    PDFImage image;
    image.width = info->width;
    image.height = info->height;
    image.bitsPerComponent = info->bitsPerComponent;
    image.colorSpace = PDFColorSpace::device(info->colorSpace.model);
    image.bitsPerPixel = image.bitsPerComponent * image.colorSpace->components();
    image.format = PDFStreamFormat::jpeg;
    image.inksInverted = inksInverted && info->colorSpace.model == ColorModel::cmyk;
    image.data = data;
    return std::make_shared<const PDFImage>(std::move(image));
}

PDFImagePtr PDFImage::withColorSpace(PDFColorSpacePtr space) const {
    if (!space || space->components() != colorSpace->components()) {
        return nullptr;
    }
    auto copy = std::make_shared<PDFImage>(*this);
    copy->colorSpace = std::move(space);
    return copy;
}

PDFImagePtr PDFImage::withWholeByteRows() const {
    auto copy = std::make_shared<PDFImage>(*this);
    copy->bytesPerRow = (width * bitsPerPixel + 7) / 8;
    return copy;
}

ImageRepPtr PDFImage::makeRep() const {
    if (format == PDFStreamFormat::raw) {
        return std::make_shared<ImageRep>(std::make_shared<const Bitmap>(pixelsOf(*this)));
    }
    ImageInfo info = readImageInfo(data).front();
    info.orientation = 1; // what a camera noted is nothing to a page
    info.dpiX = info.dpiY = 72;
    info.adobeInvertedCMYK = inksInverted;
    const auto family = colorSpace->family();
    if (family == PDFColorSpace::Family::device || family == PDFColorSpace::Family::icc) {
        info.colorSpace = colorSpace->pixels();
        return std::make_shared<ImageRep>(data, std::move(info));
    }
    return std::make_shared<ImageRep>(
        std::make_shared<const Bitmap>(withMeaning(decodeImage(data, info), *colorSpace)));
}

} // namespace orvex
