#include "OrvexPDF/Utils+ExtractImages.h"

#include "OrvexPDF/Alias.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>

namespace orvex {

namespace {

using Code = RawDecodingErrorCode;
using Kind = PDFObject::Kind;

/// Larger ones are no profiles; what lies in such a stream is not worth reading.
constexpr std::size_t mostProfileBytes = std::size_t{64} << 20;

/// File text where words are wanted: what is no UTF-8 becomes U+FFFD.
std::string asText(const std::string& bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size();) {
        appendUTF8(text, nextCodePoint(bytes, at));
    }
    return text;
}

/// A size of nothing means a point per pixel.
ImagePtr imageOf(const ImageRepPtr& rep, Size points) {
    if (points != Size{}) {
        rep->setSize(points);
    }
    auto image = std::make_shared<Image>(rep->size());
    image->addRepresentation(rep);
    return image;
}

std::string nameOf(PDFReadErrorCode code) {
    static constexpr std::array names{"couldNotOpenPage", "couldNotGetPageReference", "couldNotOpenPageDictionary",
                                      "couldNotReadResources", "cannotCopyData"};
    return names.at(static_cast<std::size_t>(code));
}

std::string nameOf(RawDecodingErrorCode code) {
    static constexpr std::array names{"noColorSpace",   "unkownColorSpace",           "cannotConstructImage",
                                      "cannotReadSize", "cannotReadBitsPerComponent", "corruptColorSpace",
                                      "noLookupTable"};
    return names.at(static_cast<std::size_t>(code));
}

std::string describeNames(const std::optional<std::vector<std::string>>& names) {
    if (!names) {
        return "nil";
    }
    std::string list;
    for (const std::string& name : *names) {
        list += (list.empty() ? "" : ", ") + inQuotes(name);
    }
    return "Optional([" + list + "])";
}

[[noreturn]] void fail(Code code) {
    throw RawDecodingError(code);
}

PDFColorSpacePtr orCorrupt(PDFColorSpacePtr space) {
    return space ? space : throw RawDecodingError(Code::corruptColorSpace);
}

/// Spaces are built on spaces, and a damaged file may build one on itself.
constexpr int deepestColorSpace = 8;
PDFColorSpacePtr colorSpaceAt(const PDFObject& from, int depth);

PDFColorSpacePtr namedColorSpace(const std::string& name) {
    if (name == "DeviceGray") {
        return PDFColorSpace::device(ColorModel::gray);
    }
    if (name == "DeviceRGB") {
        return PDFColorSpace::device(ColorModel::rgb);
    }
    if (name == "DeviceCMYK") {
        return PDFColorSpace::device(ColorModel::cmyk);
    }
    throw RawDecodingError::unkownColorSpace(asText(name));
}

Bytes lookupTable(const PDFObject& object) {
    constexpr std::size_t largestTable = 256 * 4;
    if (const auto text = object.string()) {
        return *text;
    }
    if (object.kind() != Kind::stream) {
        fail(Code::noLookupTable);
    }
    const auto data = object.streamData(largestTable);
    return data ? data->bytes : throw RawDecodingError(Code::corruptColorSpace);
}

PDFColorSpacePtr indexedColorSpace(const PDFObject& array, int depth) {
    constexpr std::int64_t largestIndex = 255;
    if (array.at(1).isNull()) {
        fail(Code::corruptColorSpace);
    }
    const PDFColorSpacePtr base = colorSpaceAt(array.at(1), depth + 1);
    const auto last = array.at(2).integer();
    if (!last || *last > largestIndex) {
        fail(Code::corruptColorSpace);
    }
    return orCorrupt(PDFColorSpace::indexed(base, *last, lookupTable(array.at(3))));
}

PDFColorSpacePtr iccColorSpace(const PDFObject& array, int depth) {
    const PDFObject stream = array.at(1);
    const PDFObject dictionary = stream.streamDictionary();
    const auto components = dictionary.get("N").integer();
    const auto profile = components ? stream.streamData(mostProfileBytes + 1) : std::nullopt;
    if (!profile || profile->bytes.size() > mostProfileBytes) {
        fail(Code::corruptColorSpace);
    }
    const PDFObject alternate = dictionary.get("Alternate");
    const PDFColorSpacePtr instead = alternate.isNull() ? nullptr : colorSpaceAt(alternate, depth + 1);
    return orCorrupt(PDFColorSpace::icc(*components, profile->bytes, instead));
}

std::optional<std::vector<double>> optionalNumbers(const PDFObject& object) {
    return object.kind() == Kind::array ? std::optional(numbers(object)) : std::nullopt;
}

PDFColorSpacePtr labColorSpace(const PDFObject& array) {
    const PDFObject parameters = array.at(1);
    const auto white = optionalNumbers(parameters.get("WhitePoint"));
    if (!white) {
        fail(Code::corruptColorSpace);
    }
    return orCorrupt(PDFColorSpace::lab(*white, optionalNumbers(parameters.get("BlackPoint")),
                                        optionalNumbers(parameters.get("Range"))));
}

PDFColorSpacePtr colorSpaceAt(const PDFObject& from, int depth) {
    if (const auto name = from.name()) {
        return namedColorSpace(*name);
    }
    const auto family = from.at(0).name();
    if (!family || depth > deepestColorSpace) {
        fail(Code::corruptColorSpace);
    }
    if (family == "Indexed") {
        return indexedColorSpace(from, depth);
    }
    if (family == "ICCBased") {
        return iccColorSpace(from, depth);
    }
    if (family == "Lab") {
        return labColorSpace(from);
    }
    throw RawDecodingError::unkownColorSpace(asText(*family));
}

/// Ink amounts are often stored inverted, and the file says so here.
bool invertsInks(const PDFObject& dictionary) {
    const PDFObject decode = dictionary.get("Decode");
    return decode.at(0).number().value_or(0) > decode.at(1).number().value_or(1);
}

/// JPEG data joined with the colour space that the file declares; null when they do not go together.
PDFImagePtr jpegImage(const Bytes& data, const PDFObject& dictionary) {
    const PDFObject declared = dictionary.get("ColorSpace");
    if (declared.isNull()) {
        return nullptr;
    }
    try {
        const PDFColorSpacePtr space = colorSpace(declared);
        const PDFImagePtr image = PDFImage::fromJPEG(data, invertsInks(dictionary));
        return image ? image->withColorSpace(space) : nullptr;
    } catch (const RawDecodingError&) {
        return nullptr;
    }
}

/// No more of the samples than the image can use: whatever a stream may unfold to.
std::size_t usefulBytes(const PDFObject& dictionary) {
    constexpr std::int64_t most = PDFObject::mostStreamBytes;
    constexpr std::int64_t widestPixel = 4 * 16;
    const auto width = dictionary.get("Width").integer().value_or(0);
    const auto height = dictionary.get("Height").integer().value_or(0);
    if (width < 1 || height < 1) {
        return 1; // an image without a size needs no data, but an error of its own
    }
    if (width > most || height > most || width > most / height) {
        return PDFObject::mostStreamBytes;
    }
    const auto bits = std::clamp<std::int64_t>(dictionary.get("BitsPerComponent").integer().value_or(1), 1, 16);
    return static_cast<std::size_t>(std::min(most, (width * std::min(widestPixel, 4 * bits) / 8 + 1) * height));
}

/// One entry of the page's XObjects; an image that fails is logged and the walk goes on.
void step(const std::string& name, const PDFObject& object, const EmbeddedImageHandler& handler,
          const EmbeddedImageErrorHandler& failed) {
    std::optional<EmbeddedImage> image;
    const auto fail = [&](const std::exception& error) {
        moduleLogger().log(LogLevel::warning, "Utils+ExtractImages", "iterator(key:object:info:)",
                           [&] { return std::string("Error ") + error.what(); });
        if (failed) {
            failed(error, name);
        }
    };
    try {
        image = decodeEmbeddedImage(name, object);
    } catch (const PDFReadError& error) {
        fail(error);
    } catch (const RawDecodingError& error) {
        fail(error);
    }
    if (image) {
        handler(*image, name);
    }
}

} // namespace

PDFReadError::PDFReadError(PDFReadErrorCode code) : PDFReadError(code, 0, nameOf(code)) {}

PDFReadError::PDFReadError(PDFReadErrorCode code, std::int64_t page, const std::string& description)
    : std::runtime_error(description), code_(code), page_(page) {}

PDFReadError PDFReadError::couldNotOpenPage(std::int64_t index) {
    constexpr auto code = PDFReadErrorCode::couldNotOpenPage;
    return {code, index, nameOf(code) + "(" + std::to_string(index) + ")"};
}

RawDecodingError::RawDecodingError(RawDecodingErrorCode code) : RawDecodingError(code, nameOf(code)) {}

RawDecodingError::RawDecodingError(RawDecodingErrorCode code, const std::string& description)
    : std::runtime_error(description), code_(code) {}

RawDecodingError RawDecodingError::noColorSpace(const std::optional<std::vector<std::string>>& filters) {
    RawDecodingError error(Code::noColorSpace, nameOf(Code::noColorSpace) + "(" + describeNames(filters) + ")");
    error.filters_ = filters;
    return error;
}

RawDecodingError RawDecodingError::unkownColorSpace(const std::string& name) {
    RawDecodingError error(Code::unkownColorSpace, nameOf(Code::unkownColorSpace) + "(" + inQuotes(name) + ")");
    error.name_ = name;
    return error;
}

void walkEmbeddedImages(const PDFPage& page, const EmbeddedImageHandler& handler,
                        const EmbeddedImageErrorHandler& failed) {
    const PDFObject object = PDFObject::ofPage(page);
    if (object.isNull()) {
        throw PDFReadError(PDFReadErrorCode::couldNotGetPageReference);
    }
    if (object.kind() != Kind::dictionary) {
        throw PDFReadError(PDFReadErrorCode::couldNotOpenPageDictionary);
    }
    const PDFObject resources = object.get("Resources");
    if (resources.kind() != Kind::dictionary) {
        throw PDFReadError(PDFReadErrorCode::couldNotReadResources);
    }
    const PDFObject images = resources.get("XObject");
    for (const std::string& key : images.keys()) {
        step(asText(key), images.get(key), handler, failed);
    }
}

std::optional<EmbeddedImage> decodeEmbeddedImage(const std::string& key, const PDFObject& object) {
    const PDFObject dictionary = object.streamDictionary();
    if (dictionary.get("Subtype").name() != "Image") {
        return std::nullopt;
    }
    std::cout << key << std::endl;
    const auto data = object.streamData(usefulBytes(dictionary));
    if (!data) {
        throw PDFReadError(PDFReadErrorCode::cannotCopyData);
    }
    if (data->format == PDFStreamFormat::raw) {
        return EmbeddedRaw{rawImage(data->bytes, dictionary)};
    }
    if (const PDFImagePtr image = jpegImage(data->bytes, dictionary)) {
        return EmbeddedRaw{image};
    }
    return EmbeddedJPG{data->bytes};
}

PDFColorSpacePtr colorSpace(const PDFObject& from) {
    return colorSpaceAt(from, 0);
}

PDFImagePtr rawImage(const Bytes& data, const PDFObject& dictionary) {
    const PDFObject declared = dictionary.get("ColorSpace");
    if (declared.isNull()) {
        throw RawDecodingError::noColorSpace(names("Filter", dictionary));
    }
    PDFImage image;
    image.colorSpace = colorSpace(declared);
    const auto width = dictionary.get("Width").integer();
    const auto height = dictionary.get("Height").integer();
    if (!width || !height) {
        fail(Code::cannotReadSize);
    }
    const auto bits = dictionary.get("BitsPerComponent").integer();
    if (!bits) {
        fail(Code::cannotReadBitsPerComponent);
    }
    image.decode = optionalNumbers(dictionary.get("Decode")).value_or(std::vector<double>());
    const auto bitsPerPixel = multiplyOrDie(*bits, image.colorSpace->components(), "the bits of an image's pixel");
    const auto bitsPerRow = multiplyOrDie(*width, bitsPerPixel, "the bits of an image's row");
    if (*bits < 1 || *bits > 16) {
        fail(Code::cannotConstructImage);
    }
    image.width = *width;
    image.height = *height;
    image.bitsPerComponent = static_cast<int>(*bits);
    image.bitsPerPixel = static_cast<int>(bitsPerPixel);
    image.bytesPerRow = bitsPerRow / 8;
    image.data = data;
    PDFImagePtr made = PDFImage::fromSamples(std::move(image));
    return made ? made : throw RawDecodingError(Code::cannotConstructImage);
}

std::optional<std::vector<std::string>> names(const std::string& forKey, const PDFObject& in) {
    const PDFObject value = in.get(forKey);
    if (const auto name = value.name()) {
        return std::vector{asText(*name)};
    }
    if (value.kind() != Kind::array) {
        return std::nullopt;
    }
    std::vector<std::string> list;
    for (std::size_t i = 0; i < value.count(); ++i) {
        if (const auto name = value.at(i).name()) {
            list.push_back(asText(*name));
        }
    }
    return list;
}

ImagePtr imageFrom(const EmbeddedImage& embedded, PointSize rounding) {
    try {
        if (const auto* jpg = std::get_if<EmbeddedJPG>(&embedded)) {
            return Image::fromData(jpg->data);
        }
        constexpr double pointsPerPixel = 0.24; // 72 / 300
        const PDFImage& raw = *std::get<EmbeddedRaw>(embedded).image;
        const auto points = [rounding](std::int64_t pixels) {
            const double exact = static_cast<double>(pixels) * pointsPerPixel;
            return rounding == PointSize::whole ? std::trunc(exact) : exact;
        };
        return imageOf(raw.makeRep(), {points(raw.width), points(raw.height)});
    } catch (const ImageError&) {
        return nullptr;
    }
}

std::vector<double> numbers(const PDFObject& in) {
    std::vector<double> list;
    for (std::size_t i = 0; i < in.count(); ++i) {
        const auto number = in.at(i).number();
        if (!number) {
            fatalError("an array of numbers in a PDF holds something else");
        }
        list.push_back(*number);
    }
    return list;
}

} // namespace orvex
