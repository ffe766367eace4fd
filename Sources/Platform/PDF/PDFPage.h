// A page: content that never changes (a page of a loaded file, an image, or nothing) plus a rotation. A page keeps the
// file that it came from alive by itself and may stand in several documents.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/Imaging/Image.h"
#include "Platform/PDF/GraphicsContext.h"
#include "Platform/PDF/TextLine.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace orvex {

class PDFSource;
struct ImageStream;

struct BlankPageContent {};
struct LoadedPageContent {
    std::shared_ptr<PDFSource> source;
    int index = 0; ///< in the source's page list, from 0
};
/// The page of a file whose content an image shows: its media box as it looked when it was turned so.
struct PicturedPage {
    LoadedPageContent page;
    int rotation = 0; ///< degrees, clockwise: 0, 90, 180 or 270
};
struct ImagePageContent {
    ImagePtr image;
    std::optional<PicturedPage> of; ///< whose place in its file, links and annotations the picture takes over
};
using PDFPageContent = std::variant<BlankPageContent, ImagePageContent, LoadedPageContent>;

/// Something that was drawn over a page's content and has become part of it. Drawing must give the same every time.
using PDFPageLayer = std::shared_ptr<const std::function<void(PDFDisplayBox, GraphicsContext&)>>;
using PDFPageLayers = std::vector<PDFPageLayer>;

class PDFPage {
public:
    /// A blank page of 612 x 792 points.
    PDFPage();
    /// A page of a file is turned as it is there.
    explicit PDFPage(PDFPageContent content, PDFPageLayers layers = {});
    /// Turned by `rotation`: 0, 90, 180 or 270 degrees clockwise.
    PDFPage(PDFPageContent content, PDFPageLayers layers, int rotation)
        : content_(std::move(content)), layers_(std::move(layers)), rotation_(rotation) {}
    PDFPage(const PDFPage&) = delete;
    PDFPage& operator=(const PDFPage&) = delete;
    virtual ~PDFPage();

    /// Whether an image can fill a page: it has a representation and a finite size above zero.
    [[nodiscard]] static bool canHold(const ImagePtr& image);

    /// A page box in page space (points, y up, origin where the file puts it), not turned by the rotation. The crop box
    /// falls back to the media box, the others to the crop box; each is cut to the media box.
    [[nodiscard]] Rect bounds(PDFDisplayBox box) const;
    /// Clockwise degrees: 0, 90, 180 or 270.
    [[nodiscard]] int rotation() const { return rotation_; }
    /// Takes any multiple of 90 and reduces it; throws std::invalid_argument for others.
    void setRotation(long long degrees);

    /// The lines of the page's own text in reading order; none for pages that have none or cannot be read.
    /// What subclasses draw over the page is not part of it, nor are annotations. Rotation and crop box play no part;
    /// what lies outside the media box is left out. Threads: any; pages are read side by side.
    [[nodiscard]] std::vector<TextLine> textLines() const;
    /// The texts of these lines, with line feeds between them.
    [[nodiscard]] std::string string() const;
    /// Whether string() holds anything but white space; found once per page of a file and kept.
    [[nodiscard]] bool hasText() const;

    /// Draws the page: its content with the layers on it. Subclasses add to it; what they draw is part of every saved
    /// file and rendering.
    virtual void draw(PDFDisplayBox box, GraphicsContext& context);
    /// Whether draw() takes its time and may be called on any thread while other pages, or the same one, are drawn.
    /// Otherwise pages are drawn one after the other, in their order, on the thread that saves.
    [[nodiscard]] virtual bool isDrawnBesideOthers() const { return false; }

    [[nodiscard]] const PDFPageContent& content() const { return content_; }
    [[nodiscard]] const PDFPageLayers& layers() const { return layers_; }
    /// Content and layers as a page of a file, for those who read pages: where the page was loaded from, or else a file
    /// of its own, made once. Empty for a blank page and for one that cannot be written.
    [[nodiscard]] std::optional<LoadedPageContent> inAFile() const;
    /// For saving: an image page's image as it stands in a file, made once. Throws ImageError.
    [[nodiscard]] std::shared_ptr<const ImageStream> imageStream() const;

private:
    [[nodiscard]] bool mayHaveText() const;
    [[nodiscard]] std::shared_ptr<PDFSource> madeFile() const;
    PDFPageContent content_;
    PDFPageLayers layers_;
    int rotation_ = 0;
    mutable std::mutex madeOnceMutex_;
    mutable std::shared_ptr<const ImageStream> imageStream_;
    mutable std::shared_ptr<PDFSource> madeFile_;
};

using PDFPagePtr = std::shared_ptr<PDFPage>;

} // namespace orvex
