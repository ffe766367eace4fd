// A scanned page is one picture that fills it. Decoding and reducing that takes a fraction of the time that drawing the
// page takes, and looks the same.
#include "OrvexPDF/Page_p.h"
#include "OrvexPDF/Utils+ExtractImages.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/JpegReduction.h"
#include "Platform/PDF/OnlyDrawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

namespace orvex {
namespace {

/// To within half a pixel at each edge.
bool fills(const Rect& place, const Rect& box, double pixelWidth, double pixelHeight) {
    const auto near = [](double a, double b, double pixel) { return std::abs(a - b) <= pixel / 2; };
    return near(place.x, box.x, pixelWidth) && near(place.maxX(), box.maxX(), pixelWidth) &&
           near(place.y, box.y, pixelHeight) && near(place.maxY(), box.maxY(), pixelHeight);
}

/// Grey, RGB, or one of them with a profile: where our colours and PDFium's are the same.
bool isPlainColor(const PDFObject& space) {
    const auto isDevice = [](const PDFObject& name) {
        return name.name() == "DeviceGray" || name.name() == "DeviceRGB";
    };
    if (isDevice(space)) {
        return true;
    }
    const PDFObject profile = space.at(1).streamDictionary();
    const PDFObject alternate = profile.get("Alternate");
    return space.at(0).name() == "ICCBased" && profile.get("N").integer().value_or(4) < 4 &&
           (alternate.isNull() || isDevice(alternate));
}

/// Nothing that lets the page shine through, or that changes what its samples mean.
bool isPlainImage(const PDFObject& dictionary) {
    constexpr std::array<std::string_view, 5> others = {"SMask", "Mask", "ImageMask", "Decode", "OC"};
    const std::int64_t bits = dictionary.get("BitsPerComponent").integer().value_or(8); // a JPEG knows by itself
    return dictionary.get("Subtype").name() == "Image" && bits >= 1 && bits <= 16 &&
           isPlainColor(dictionary.get("ColorSpace")) &&
           std::ranges::all_of(others, [&](std::string_view key) { return dictionary.get(key).isNull(); });
}

/// As many bytes as the samples of the picture take, or its JPEG data at worst; 0 for sizes that make no picture.
std::size_t mostBytes(const PDFObject& dictionary) {
    constexpr std::int64_t mostSide = 65535;
    constexpr std::int64_t widestPixel = 6;
    const std::int64_t width = dictionary.get("Width").integer().value_or(0);
    const std::int64_t height = dictionary.get("Height").integer().value_or(0);
    const bool sensible = width > 0 && height > 0 && width <= mostSide && height <= mostSide;
    constexpr std::size_t headers = 1 << 20;
    return sensible
               ? std::min(PDFObject::mostStreamBytes, static_cast<std::size_t>(width * height * widestPixel) + headers)
               : 0;
}

PDFImagePtr readImage(const PDFObject& object) {
    const PDFObject dictionary = object.streamDictionary();
    const std::size_t most = mostBytes(dictionary);
    const auto data = most == 0 ? std::nullopt : object.streamData(most);
    if (!data || data->bytes.empty() || data->format == PDFStreamFormat::jpeg2000) {
        return nullptr;
    }
    if (data->format == PDFStreamFormat::raw) {
        return rawImage(data->bytes, dictionary)->withWholeByteRows();
    }
    const PDFImagePtr image = PDFImage::fromJPEG(data->bytes);
    return image ? image->withColorSpace(colorSpace(dictionary.get("ColorSpace"))) : nullptr;
}

/// RGB with an opaque alpha channel, as pages are rendered.
Bitmap withOpaqueAlpha(const Bitmap& bitmap) {
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, 8, {}, Alpha::straight);
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    const std::size_t step = channels == 3 ? 1 : 0;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const std::uint8_t* source = bitmap.row(y);
        std::uint8_t* target = result.row(y);
        for (std::int64_t x = 0; x < bitmap.width; ++x, source += channels, target += 4) {
            target[0] = source[0];
            target[1] = source[step];
            target[2] = source[2 * step];
            target[3] = 255;
        }
    }
    return result;
}

std::optional<Bitmap> reduced(const PDFImage& image, std::int64_t width, std::int64_t height, int quarterTurns) {
    if (image.width < width || image.height < height || image.bitsPerComponent == 16) {
        return std::nullopt;
    }
    const Bitmap bitmap = convertToSRGB(resampled(*image.makeRep(), width, height));
    if (bitmap.alpha != Alpha::none || bitmap.bitsPerComponent != 8) {
        return std::nullopt;
    }
    return withOpaqueAlpha(quarterTurns == 0 ? bitmap : turned(bitmap, quarterTurns));
}

} // namespace

std::optional<Bitmap> scanBitmap(const PDFPage& page, std::int64_t width, std::int64_t height) {
    if (!std::holds_alternative<LoadedPageContent>(page.content()) || !page.layers().empty()) {
        return std::nullopt;
    }
    const PDFObject object = PDFObject::ofPage(page);
    const auto drawing = onlyDrawing(object);
    if (!drawing || !object.get("UserUnit").isNull()) {
        return std::nullopt;
    }
    const int quarterTurns = page.rotation() / 90;
    if (quarterTurns % 2 != 0) {
        std::swap(width, height);
    }
    const Rect box = page.bounds(PDFDisplayBox::media);
    const PDFObject picture = object.get("Resources").get("XObject").get(drawing->name);
    if (!fills(drawing->place, box, box.width / static_cast<double>(width), box.height / static_cast<double>(height)) ||
        !isPlainImage(picture.streamDictionary())) {
        return std::nullopt;
    }
    try {
        const PDFImagePtr image = readImage(picture);
        return image ? reduced(*image, width, height, quarterTurns) : std::nullopt;
    } catch (const std::runtime_error&) { // damaged: as much of it as PDFium can show
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace orvex
