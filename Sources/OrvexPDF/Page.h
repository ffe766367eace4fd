// The library's page: platform content plus the settings that are drawn over it.
#pragma once

#include "OrvexPDF/FoundContent.h"
#include "Platform/PDF/PDFPage.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvex {

class OrvexPDFDocument;

enum class OrvexPDFPageErrorCode {
    cannotCreateBitmap,         ///< no pixels, too many of them, or a page that cannot be rendered
    cannotGetPageAndContext,    ///< a blank page
    couldNotOpenPageDictionary, ///< declared for hosts, as the others below
    couldNotReadResources,
    cannotCopyData
};

/// What a rendering fails with; `what()` is the code's name.
class OrvexPDFPageError : public std::runtime_error {
public:
    explicit OrvexPDFPageError(OrvexPDFPageErrorCode code);
    [[nodiscard]] OrvexPDFPageErrorCode code() const { return code_; }

private:
    OrvexPDFPageErrorCode code_;
};

/// Pixels per point of the screen that thumbnails are for: the host's to set, 1 until then. Threads: any.
void setMainScreenBackingScale(double scale);

/// A page of the library: what every page of a loaded document is. Its settings are drawn over its content; they stay
/// with the object and are not saved by themselves. They change only while nothing draws the page.
class OrvexPDFPage : public PDFPage, public std::enable_shared_from_this<OrvexPDFPage> {
public:
    using PDFPage::PDFPage;
    /// A page as large as the image in points, filled by it; null when the image has no size or representation.
    static std::shared_ptr<OrvexPDFPage> fromImage(const ImagePtr& image);

    std::optional<std::string> id;                   ///< set by the caller; ties the page to its record
    bool debug = false;                              ///< draws the text layer visibly
    std::optional<std::string> watermarkText;        ///< none or empty: no watermark
    Color watermarkBackgroundColor{1, 1, 1, 1};      ///< carried, not used by the drawing
    Color watermarkForegroundColor{0.65, 0, 0, 1};   ///< carried, not used by the drawing
    std::int64_t textRotation = 0;                   ///< degrees, counter-clockwise, of text layer and watermark
    std::shared_ptr<const OrvexFoundPage> foundPage; ///< recognised text, drawn as the invisible layer

    /// Page.cpp: content, then, turned by textRotation, text layer and watermark.
    void draw(PDFDisplayBox box, GraphicsContext& context) override;
    /// Pages with recognised text are, while nothing is logged of it; those of a class of the host's are not.
    [[nodiscard]] bool isDrawnBesideOthers() const override;
    /// A new document that holds this page.
    [[nodiscard]] std::shared_ptr<OrvexPDFDocument> createDocumentFromPage();
    /// An independent copy with the settings, without the id.
    [[nodiscard]] std::shared_ptr<OrvexPDFPage> clone() const;
    /// An independent copy as a saved file would give it back: what the settings draw has become part of the content,
    /// the settings themselves are at their defaults. What a subclass's own draw() adds is not known here.
    [[nodiscard]] std::shared_ptr<OrvexPDFPage> flattened() const;

    /// Page+Found.cpp: the page's own text, one item per line, boxed in points of the media box from its top, whatever
    /// the rotation; an offset of the media box stays in the boxes. `items` is there even when it is empty; `fonts` and
    /// `dpi` are not. Reads only; `foundPage` plays no part. Never fails. Threads: any.
    [[nodiscard]] OrvexFoundPage extractFoundPage() const;
    /// The same, but only what text layers of this library hold: the items that were drawn into the page.
    [[nodiscard]] OrvexFoundPage extractTextLayer() const;

    // Page+Render.cpp
    /// The media box as shown at `dpi` dots per inch: bare content, no annotations, text layer or watermark. One
    /// representation, as large in points as the page. Throws OrvexPDFPageError.
    [[nodiscard]] ImagePtr image(std::int64_t dpi);
    /// The same in a bitmap of so many pixels, fractions cut off. A size that is no number of pixels is fatal.
    [[nodiscard]] ImageRepPtr renderBitmap(double width, double height);
    /// What people see at `dpi`: with annotations, watermark and, in debug, the text layer. Throws OrvexPDFPageError.
    [[nodiscard]] ImagePtr render(std::int64_t dpi);
    /// What people see, fitted into `size` points with its proportions kept; pixels by the screen's backing scale.
    /// Null when the page cannot be rendered.
    [[nodiscard]] ImagePtr thumbnail(Size size);
    /// thumbnail() as an image of one point per pixel, an image without representations where that is null; oddities in
    /// its resolution are logged as warnings.
    [[nodiscard]] ImagePtr thumbnail72DPI(Size size);

    /// Page+EmbeddedImages.cpp: the images that the page's own resources name, in the file's order: decoded ones as
    /// large as at 300 dpi, in whole points, stored ones at their own size. Failures are logged as warnings; so are,
    /// as cannotConstructImage, decoded images beyond 2 GiB of samples in all.
    [[nodiscard]] std::vector<ImagePtr> extractEmbeddedImages() const;

    /// Page+DrawContent.cpp: the invisible text layer; with `debug` on, text and boxes in colour.
    void drawInvisibleText(PDFDisplayBox box, GraphicsContext& context) const;
    /// Page+DrawWatermark.cpp: the banner near the bottom edge.
    void drawWatermark(PDFDisplayBox box, GraphicsContext& context) const;

private:
    void drawOverlay(PDFDisplayBox box, GraphicsContext& context) const;
};

using OrvexPDFPagePtr = std::shared_ptr<OrvexPDFPage>;

} // namespace orvex
