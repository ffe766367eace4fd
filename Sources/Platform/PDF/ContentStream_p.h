// The drawing target that writes: PDF operators around a page's own content.
#pragma once

#include "Platform/PDF/GraphicsContext.h"

#include <string>

namespace orvex {

class InvisibleFont;

/// A number as content streams take it: plain decimal, six places at most; values that are not finite become 0.
void appendNumber(std::string& content, double value);

class ContentStreamContext final : public GraphicsContext {
public:
    /// `fontName` names the invisible font in the page's resources; `origin` is the lower left corner of the drawn box
    /// in page space.
    ContentStreamContext(InvisibleFont& font, std::string fontName, Point origin)
        : font_(font), fontName_(std::move(fontName)), origin_(origin) {}

    void saveState() override;
    void restoreState() override;
    void concatenate(const AffineTransform& transform) override;
    void drawPageContent(const PDFPage& page, PDFDisplayBox box) override;
    void drawText(std::string_view utf8, const std::shared_ptr<const Font>& font, double size, const Rect& rect,
                  TextMode mode) override;

    /// Whether text was drawn over the page's content. If not, nothing needs to be added to the page.
    [[nodiscard]] bool drewText() const { return drewText_; }
    [[nodiscard]] const std::string& before() const { return before_; } ///< operators ahead of the page's content
    [[nodiscard]] const std::string& after() const { return after_; }   ///< operators behind it

private:
    void moveToOrigin();
    InvisibleFont& font_;
    std::string fontName_;
    Point origin_;
    std::string before_;
    std::string after_;
    int depth_ = 0;
    bool contentDrawn_ = false;
    bool drewText_ = false;
};

} // namespace orvex
