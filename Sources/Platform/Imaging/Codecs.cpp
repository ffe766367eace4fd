// Recognises formats by content and hands each to its codec.
#include "Platform/Imaging/Codecs_p.h"
#include "Platform/Imaging/ImagingModule_p.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace orvex {
namespace {

using namespace std::string_view_literals;

struct Signature {
    std::string_view start;
    ImageFormat format;
};

constexpr Signature signatures[] = {
    {"\xFF\xD8\xFF"sv, ImageFormat::jpeg},
    {"\x89PNG\r\n\x1A\n"sv, ImageFormat::png},
    {"II*\0"sv, ImageFormat::tiff},
    {"MM\0*"sv, ImageFormat::tiff},
    {"II+\0"sv, ImageFormat::tiff},
    {"MM\0+"sv, ImageFormat::tiff},
    {"\0\0\0\x0CjP  \r\n\x87\n"sv, ImageFormat::jpeg2000},
    {"\xFF\x4F\xFF\x51"sv, ImageFormat::jpeg2000},
};

std::vector<ImageInfo> readHeaders(const Bytes& data, ImageFormat format) {
    switch (format) {
    case ImageFormat::jpeg:
        return {jpeg::readInfo(data)};
    case ImageFormat::png:
        return {png::readInfo(data)};
    case ImageFormat::tiff:
        return imagingModule().tiffInfo(data);
    case ImageFormat::jpeg2000:
        return {jpeg2000::readInfo(data)};
    }
    return {};
}

} // namespace

bool isProfileFor(const Bytes& profile, ColorModel model) {
    constexpr std::size_t headerSize = 128;
    const std::string_view space = model == ColorModel::gray ? "GRAY" : model == ColorModel::rgb ? "RGB " : "CMYK";
    return profile.size() > headerSize && profile.size() <= largestProfile && profile.text().substr(36, 4) == "acsp" &&
           profile.text().substr(16, 4) == space;
}

double usableDPI(double dpi, double fallback) {
    return std::isfinite(dpi) && dpi > 0 ? dpi : fallback;
}

std::optional<ImageFormat> sniffImageFormat(std::span<const std::uint8_t> data) {
    for (const Signature& signature : signatures) {
        const auto matches = [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; };
        if (data.size() >= signature.start.size() &&
            std::equal(signature.start.begin(), signature.start.end(), data.begin(), matches)) {
            return signature.format;
        }
    }
    return std::nullopt;
}

std::vector<ImageInfo> readImageInfo(const Bytes& data) {
    const std::optional<ImageFormat> format = sniffImageFormat(data.span());
    if (!format) {
        throw ImageError(data.empty() ? "no image data" : "not an image (JPEG, PNG, TIFF or JPEG 2000)");
    }
    std::vector<ImageInfo> pages = readHeaders(data, *format);
    for (ImageInfo& info : pages) {
        if (!isProfileFor(info.colorSpace.iccProfile, info.colorSpace.model)) {
            info.colorSpace.iccProfile = {};
        }
    }
    return pages;
}

void verifyEncoded(const Bytes& data, const ImageInfo& info) {
    switch (info.format) {
    case ImageFormat::jpeg:
        return jpeg::verify(data);
    case ImageFormat::png:
        return png::verify(data);
    case ImageFormat::tiff:
        return imagingModule().verifyTIFF(data, info.page);
    case ImageFormat::jpeg2000:
        return jpeg2000::verify(data);
    }
}

Bitmap decodeImage(const Bytes& data, const ImageInfo& info) {
    switch (info.format) {
    case ImageFormat::jpeg:
        return jpeg::decode(data, info);
    case ImageFormat::png:
        return png::decode(data, info);
    case ImageFormat::tiff:
        return imagingModule().decodeTIFF(data, info);
    case ImageFormat::jpeg2000:
        return imagingModule().decodeJPEG2000(data, info);
    }
    throw ImageError("not an image");
}

} // namespace orvex
