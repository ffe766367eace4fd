#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page_p.h"
#include "OrvexPDF/Utils+ExtractImages.h"

namespace orvex {

namespace {

void warn(const std::exception& error) {
    moduleLogger().log(LogLevel::warning, "Page", "extractEmbeddedImages()",
                       [&] { return std::string("Error ") + error.what(); });
}

/// Stored data is the file's own, and pixels are made of it one image at a time.
std::size_t sampleBytes(const Image& image) {
    std::size_t sum = 0;
    for (const ImageRepPtr& rep : image.representations()) {
        sum += rep->encoded().empty() ? rep->bitmap()->samples.size() : 0;
    }
    return sum;
}

} // namespace

std::vector<ImagePtr> embeddedImages(const PDFPage& page, std::size_t mostSampleBytes) {
    std::vector<ImagePtr> images;
    std::size_t held = 0;
    try {
        walkEmbeddedImages(page, [&](const EmbeddedImage& embedded, const std::string&) {
            ImagePtr image = imageFrom(embedded, PointSize::whole);
            const std::size_t bytes = image ? sampleBytes(*image) : 0;
            if (bytes > mostSampleBytes - held) {
                return warn(RawDecodingError(RawDecodingErrorCode::cannotConstructImage));
            }
            held += bytes;
            if (image) {
                images.push_back(std::move(image));
            }
        });
    } catch (const PDFReadError& error) {
        warn(error);
    }
    return images;
}

std::vector<ImagePtr> OrvexPDFPage::extractEmbeddedImages() const {
    constexpr std::size_t most = std::size_t{2} << 30;
    return embeddedImages(*this, most);
}

} // namespace orvex
