// The drawing target that writes: PDF operators around a page's own content.
#pragma once

#include "Platform/PDF/GraphicsContext.h"
#include "Platform/PDF/OutlineFonts_p.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvex {

class InvisibleFont;

/// A number as content streams take it: plain decimal, six places at most; values that are not finite become 0.
void appendNumber(std::string& content, double value);

/// A quarter circle of radius 1 as a cubic curve, how far its control points are from its ends: 4/3 (sqrt 2 - 1).
inline constexpr double quarterCircle = 0.5522847498;

/// What operators refer to by name in the page's resources.
struct DrawnResources {
    std::string invisibleFont; ///< empty when unused
    std::map<FontFile, std::string> faces;
    std::map<double, std::string> alphas; ///< fill alphas
};

class ContentStreamContext final : public GraphicsContext {
public:
    /// Names in the page's resources start with what `findPrefix` gives, which is asked when the first is needed. While
    /// pages are drawn the fonts are only read, so that several can be drawn at a time; finish() adds what is shown.
    ContentStreamContext(InvisibleFont& invisible, OutlineFonts& outlines, std::function<std::string()> findPrefix)
        : invisible_(invisible), outlines_(outlines), findPrefix_(std::move(findPrefix)) {}

    void saveState() override;
    void restoreState() override;
    void concatenate(const AffineTransform& transform) override;
    void setFillColor(const Color& color) override;
    void setStrokeColor(const Color& color) override;
    void fillRect(const Rect& rect) override;
    void fillAndStrokeRoundedRect(const Rect& rect, double radiusX, double radiusY) override;
    void drawPageContent(const PDFPage& page, PDFDisplayBox box) override;
    void drawText(std::string_view utf8, const std::shared_ptr<const Font>& font, double size, const Rect& rect,
                  TextMode mode) override;
    void beginFoundText(std::string_view utf8, const Rect& rect) override;
    void endFoundText() override;

    /// When all is drawn: puts in the text that the fonts have no codes for yet. Codes follow the order of first use,
    /// so this is called page after page, in their order, while none is being drawn.
    void finish();

    /// Whether anything that shows was drawn over the page's content.
    [[nodiscard]] bool drewMarks() const { return drewMarks_; }
    /// Whether anything was drawn, seen or unseen. If not, nothing needs to be added to the page.
    [[nodiscard]] bool drewAnything() const { return drewMarks_ || !resources_.invisibleFont.empty(); }
    // After finish():
    [[nodiscard]] const DrawnResources& resources() const { return resources_; }
    [[nodiscard]] const std::string& before() const { return before_; } ///< operators ahead of the page's content
    [[nodiscard]] const std::string& after() const { return after_; }   ///< operators behind it

private:
    struct State {
        double fillAlpha = 1;
        std::optional<double> invisibleSize; ///< at which invisible text goes on without another word
        bool isTextInvisible = false;        ///< the mode that was set last
        bool isTextStretched = false;        ///< other than by 100 %
    };
    /// Invisible lines follow each other in one text object, each placed from where the last one starts. Counted in
    /// ten-thousandths, so that nothing adds up on the way.
    struct TextObject {
        std::int64_t x = 0; ///< points
        std::int64_t y = 0;
        std::int64_t stretch = 0; ///< per cent
    };
    [[nodiscard]] std::string named(const std::string& what);
    void prepare();
    void writePending();
    void setFillAlpha(double alpha);
    void appendNumbers(std::initializer_list<double> numbers, std::string_view operation);
    void drawVisibleLine(std::string line, std::shared_ptr<const Font> font, double size, Point baseline);
    void drawInvisibleLine(std::string_view line, const std::shared_ptr<const Font>& font, double size, Point baseline);
    void setInvisible(double size);
    [[nodiscard]] bool placeLine(const AffineTransform& place);
    void endTextObject();

    /// What finish() has to put in.
    struct Gap {
        std::size_t place; ///< in after_
        std::function<void(std::string& content)> fill;
    };

    InvisibleFont& invisible_;
    OutlineFonts& outlines_;
    std::function<std::string()> findPrefix_;
    std::optional<std::string> prefix_;
    std::string before_;
    std::string after_;
    DrawnResources resources_;
    State state_;
    std::optional<TextObject> textObject_; ///< the one that is open
    std::vector<State> saved_;
    std::vector<Gap> gaps_;
    /// A saved state that nothing has needed yet, with what was concatenated in it: invisible text takes it along in
    /// its own matrix, and a page of words becomes half as long.
    std::optional<AffineTransform> pending_;
    bool contentDrawn_ = false;
    bool drewMarks_ = false;
};

} // namespace orvex
