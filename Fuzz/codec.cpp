// Encoded images of the one format that the program is for: headers, pixels, reduction, and as the page of a document.
#include "Target.h"

#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/Image.h"
#include "Platform/Imaging/JpegReduction.h"

namespace orvex::fuzz {

namespace {

/// Larger pictures only take longer.
constexpr std::int64_t mostPixels = std::int64_t{1} << 22;

void decode(const ImageRep& rep) {
    if (rep.pixelsWide() > mostPixels / std::max<std::int64_t>(1, rep.pixelsHigh())) {
        return;
    }
    const auto bitmap = rep.bitmap();
    (void)resampled(rep, rep.pixelsWide() / 3 + 1, rep.pixelsHigh() / 3 + 1);
    (void)resample(*bitmap, bitmap->width / 2 + 1, bitmap->height / 2 + 1);
    (void)convertToSRGB(*bitmap);
    (void)encodeJPEG(*bitmap, {});
    (void)encodePNG(*bitmap, {});
}

void putOnPage(const ImagePtr& image) {
    if (const auto page = OrvexPDFPage::fromImage(image)) {
        (void)page->createDocumentFromPage()->dataRepresentation();
    }
}

} // namespace

void run(const Bytes& input) {
    if (sniffImageFormat(input.span()) != ImageFormat::ORVEX_FUZZ_FORMAT) {
        return;
    }
    try {
        const auto image = Image::fromData(input);
        putOnPage(image);
        for (const auto& rep : image->representations()) {
            decode(*rep);
        }
    } catch (const ImageError&) {
        return;
    } catch (const PDFWriteError&) {
        return;
    }
}

} // namespace orvex::fuzz
