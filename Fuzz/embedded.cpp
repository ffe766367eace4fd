// Images that a page's resources name: every filter and every colour space, to pixels.
#include "Target.h"

#include "Parts.h"

#include "OrvexPDF/Document.h"
#include "OrvexPDF/Utils+ExtractImages.h"
#include "Platform/Foundation/Log.h"
#include "Support/ImagePage.h"
#include "Support/PDFFixture.h"

#include <iostream>

namespace orvex {

namespace {

struct EndedByDesign {};

} // namespace

/// Stands before the library's own: what ends the process by design ends only the input here.
void fatalError(std::string_view /*message*/) {
    throw EndedByDesign();
}

namespace fuzz {

namespace {

/// Larger pictures only take longer.
constexpr std::int64_t mostPixels = std::int64_t{1} << 22;

void look(const EmbeddedImage& embedded) {
    try {
        const auto image = imageFrom(embedded, PointSize::whole);
        const auto rep = image ? image->bestRepresentation() : nullptr;
        if (rep && rep->pixelsWide() <= mostPixels / std::max<std::int64_t>(1, rep->pixelsHigh())) {
            (void)rep->bitmap();
        }
    } catch (const ImageError&) {
        return;
    }
}

} // namespace

/// Dictionary and data of an image, then of the streams 4 and 5.
void run(const Bytes& input) {
    std::cout.rdbuf(nullptr); // names are printed
    const auto pieces = parts(input, 6);
    const Bytes file = test::pdfWithXObjects({{"I", pieces[0], pieces[1]}}, {test::streamBody(pieces[3], pieces[2]),
                                                                             test::streamBody(pieces[5], pieces[4])});
    const auto document = OrvexPDFDocument::fromData(file);
    const auto page = document ? document->orvexPage(0) : nullptr;
    if (!page) {
        return;
    }
    try {
        walkEmbeddedImages(*page, [](const EmbeddedImage& image, const std::string&) { look(image); });
        (void)page->extractEmbeddedImages();
    } catch (const PDFReadError&) {
        return;
    } catch (const EndedByDesign&) {
        return;
    }
}

} // namespace fuzz

} // namespace orvex
