#include "Platform/PDF/ImageStream_p.h"

#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/Deflate.h"

#include <cstring>

namespace orvex {

namespace {

using StreamPtr = std::shared_ptr<ImageStream>;

StreamPtr streamFor(const ImageInfo& info, const Bytes& data, std::string filter) {
    auto stream = std::make_shared<ImageStream>();
    stream->width = info.width;
    stream->height = info.height;
    stream->bitsPerComponent = info.bitsPerComponent;
    stream->colorSpace = info.colorSpace;
    stream->data = data;
    stream->filter = std::move(filter);
    return stream;
}

StreamPtr withPNGData(StreamPtr stream, const PNGStream& png) {
    stream->bitsPerComponent = png.bitsPerComponent;
    stream->palette = png.palette;
    stream->colorSpace.model = png.colors == 1 && png.palette.empty() ? ColorModel::gray : ColorModel::rgb;
    stream->predictorColors = png.colors;
    stream->filter = "/FlateDecode";
    stream->data = png.deflate;
    return stream;
}

bool isMirrored(int orientation) {
    return orientation == 2 || orientation == 4 || orientation == 5 || orientation == 7;
}

/// The rep's own bytes as they are, or null where a PDF cannot hold them.
StreamPtr passThrough(const ImageRep& rep) {
    const ImageInfo& info = rep.info();
    if (rep.encoded().empty() || isMirrored(info.orientation)) {
        return nullptr;
    }
    if (info.format == ImageFormat::jpeg && !info.arithmeticCoded) { // PDF readers know Huffman codes alone
        auto stream = streamFor(info, rep.encoded(), "/DCTDecode");
        stream->inverted = info.adobeInvertedCMYK;
        return stream;
    }
    if (info.format == ImageFormat::jpeg2000 && info.alpha == Alpha::none) { // readers would leave its alpha out
        return streamFor(info, rep.encoded(), "/JPXDecode");
    }
    if (info.format == ImageFormat::png) {
        if (const auto png = pngStream(rep.encoded())) {
            return withPNGData(streamFor(info, {}, {}), *png);
        }
    }
    return nullptr;
}

/// One plane of `bitmap`: its colours without the alpha channel, or the alpha channel alone as grey.
Bitmap channelsOf(const Bitmap& bitmap, bool alphaOnly) {
    const auto sample = static_cast<std::size_t>(bitmap.bitsPerComponent / 8);
    const auto pixel = sample * static_cast<std::size_t>(bitmap.channels());
    const std::size_t colors = pixel - sample;
    Bitmap plane;
    plane.width = bitmap.width;
    plane.height = bitmap.height;
    plane.bitsPerComponent = bitmap.bitsPerComponent;
    plane.colorSpace = alphaOnly ? ColorSpace{ColorModel::gray, {}, 0} : bitmap.colorSpace;
    plane.bytesPerRow = Bitmap::tightBytesPerRow(plane.width, plane.channels(), plane.bitsPerComponent);
    plane.samples.resize(plane.bytesPerRow * static_cast<std::size_t>(plane.height));
    const std::size_t width = alphaOnly ? sample : colors;
    for (std::int64_t y = 0; y < plane.height; ++y) {
        const std::uint8_t* from = bitmap.row(y) + (alphaOnly ? colors : 0);
        std::uint8_t* to = plane.row(y);
        for (std::int64_t x = 0; x < plane.width; ++x, from += pixel, to += width) {
            std::memcpy(to, from, width);
        }
    }
    return plane;
}

StreamPtr compressed(const Bitmap& bitmap) {
    ImageInfo info;
    info.width = bitmap.width;
    info.height = bitmap.height;
    info.bitsPerComponent = bitmap.bitsPerComponent;
    info.colorSpace = bitmap.colorSpace;
    if (bitmap.colorSpace.model == ColorModel::cmyk) {
        return streamFor(info, deflate(bitmap.samples), "/FlateDecode");
    }
    const auto png = encodePNG(bitmap, {});
    const auto stream = png ? pngStream(*png) : std::nullopt;
    if (!stream) {
        throw ImageError("the image cannot be compressed");
    }
    return withPNGData(streamFor(info, {}, {}), *stream);
}

StreamPtr fromSamples(const Bitmap& bitmap) {
    if (bitmap.alpha == Alpha::none) {
        return compressed(bitmap);
    }
    auto stream = compressed(channelsOf(bitmap, false));
    stream->softMask = compressed(channelsOf(bitmap, true));
    return stream;
}

} // namespace

std::shared_ptr<const ImageStream> makeImageStream(const Image& image) {
    const auto rep = image.bestRepresentation();
    if (!rep) {
        throw ImageError("the image has no pixels");
    }
    auto stream = passThrough(*rep);
    // Decoded anew rather than kept by the image: pages by the hundred would hold their samples until the end.
    return stream ? stream : fromSamples(*rep->passingBitmap());
}

} // namespace orvex
