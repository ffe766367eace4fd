#include "OrvexPDF/Utils.h"

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images.h"
#include "Platform/Foundation/Strings.h"

namespace orvex {
namespace {

/// An encoder that yields nothing counts as no bytes.
std::string byteCountOf(const std::optional<Bytes>& data) {
    return formatByteCount(data ? static_cast<std::int64_t>(data->size()) : 0);
}

std::string inParentheses(Size points) {
    return "(" + describe(points.width) + ", " + describe(points.height) + ")";
}

std::string describeRep(const ImageRep& rep) {
    const double dpi = static_cast<double>(rep.pixelsWide()) * 72.0 / rep.size().width;
    return "  Representation visual size=" + inParentheses(rep.size()) + ", pixels=(" +
           std::to_string(rep.pixelsWide()) + ", " + std::to_string(rep.pixelsHigh()) + "); dpi=" + describe(dpi);
}

} // namespace

std::vector<std::function<std::string()>> imageReport(const ImagePtr& image, double quality) {
    if (!image) {
        return {};
    }
    const std::string jpg = "JPG/" + describe(quality) + "=";
    std::vector<std::function<std::string()>> lines = {
        [=] { return "\n\nImage visual size=" + inParentheses(image->size()); },
        [=] {
            return "  NSBitmap  PNG=" + byteCountOf(orvexDataForPNGRepresentation(*image)) + ", " + jpg +
                   byteCountOf(orvexDataForJPGRepresentation(*image, quality));
        },
        [=] {
            return "  CoreImage PNG=" + byteCountOf(orvexDataForPNGCoreImage(*image)) + ", " + jpg +
                   byteCountOf(orvexDataForJPGCoreImage(*image, quality));
        },
        [=] { return "  CGImage   " + jpg + byteCountOf(orvexDataForJPGCGImage(*image, quality)); },
    };
    for (const ImageRepPtr& rep : image->representations()) {
        lines.emplace_back([rep] { return describeRep(*rep); });
    }
    lines.emplace_back([] { return std::string("\n\n"); });
    return lines;
}

void dumpImageInfo(const ImagePtr& image, double quality) {
    for (const auto& line : imageReport(image, quality)) {
        moduleLogger().log(LogLevel::info, "Utils", "dumpImageInfo(image:quality:)", line);
    }
}

} // namespace orvex
