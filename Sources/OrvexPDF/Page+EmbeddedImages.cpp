#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"
#include "OrvexPDF/Utils+ExtractImages.h"

namespace orvex {

std::vector<ImagePtr> OrvexPDFPage::extractEmbeddedImages() const {
    std::vector<ImagePtr> images;
    try {
        walkEmbeddedImages(*this, [&images](const EmbeddedImage& embedded, const std::string&) {
            if (ImagePtr image = imageFrom(embedded, PointSize::whole)) {
                images.push_back(std::move(image));
            }
        });
    } catch (const PDFReadError& error) {
        moduleLogger().log(LogLevel::warning, "Page", "extractEmbeddedImages()",
                           [&] { return std::string("Error ") + error.what(); });
    }
    return images;
}

} // namespace orvex
