#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images_p.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>

namespace orvex {

namespace {

template <class Message> void log(LogLevel level, std::string_view function, Message&& message) {
    moduleLogger().log(level, imagesFile, function, std::forward<Message>(message));
}

/// Turns a page further for as long as this lives.
class PassingTurn {
public:
    PassingTurn(OrvexPDFPage& page, std::int64_t degrees) : page_(page), before_(page.rotation()) {
        page_.setRotation(addOrDie(before_, degrees, "the page's rotation"));
    }
    ~PassingTurn() { page_.setRotation(before_); }
    PassingTurn(const PassingTurn&) = delete;
    PassingTurn& operator=(const PassingTurn&) = delete;

private:
    OrvexPDFPage& page_;
    int before_;
};

} // namespace

ImagePtr orvexOCRImage(OrvexPDFPage& page) {
    constexpr double leastEdge = 1024;
    constexpr double scale = 300.0 / 72.0;
    const Rect media = page.bounds(PDFDisplayBox::media);
    const double edge = std::max({media.width, media.height, leastEdge}) * scale;
    ImagePtr thumbnail = page.thumbnail72DPI({edge, edge});
    const auto png = orvexDataForPNG(*thumbnail);
    try {
        return png ? Image::fromData(*png) : thumbnail;
    } catch (const ImageError&) { // the thumbnail serves as well
        return thumbnail;
    }
}

ImagePtr orvexOCRImage(const OrvexPDFPageMeta& meta) {
    constexpr std::string_view function = "orvexOCRImage(meta:)";
    if (meta.originalImage) {
        log(LogLevel::debug, function,
            [&] { return "Use original image with dpi=" + describe(meta.originalImage->dpi()); });
        return orvexImageWithRotation(meta.originalImage, meta.rotation);
    }
    if (!meta.originalPage) {
        log(LogLevel::warning, function, [] { return std::string("No matching original found!"); });
        return nullptr;
    }
    log(LogLevel::debug, function, [] { return std::string("Use original page"); });
    const PassingTurn turn(*meta.originalPage, meta.rotation);
    return orvexOCRImage(*meta.originalPage);
}

ImagePtr imageOfSize(const ImagePtr& image, Size /*size*/) {
    if (image->representations().empty()) {
        log(LogLevel::warning, "image(size:)", [] { return std::string("No representation found"); });
        return image;
    }
    auto result = std::make_shared<Image>(image->size());
    result->addRepresentation(image->representations().front());
    return result;
}

Size convertDPI(const Size& size, std::int64_t from, std::int64_t to) {
    const double factor = static_cast<double>(to) / static_cast<double>(from);
    return {size.width * factor, size.height * factor};
}

Size sizeWithBoxOfMaxEdge(const Size& size) {
    const double edge = size.width > size.height ? size.width : size.height;
    return {edge, edge};
}

} // namespace orvex
