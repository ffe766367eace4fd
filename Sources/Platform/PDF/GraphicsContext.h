// The one drawing door: everything that is drawn on a page goes through these operations. Space is the page's
// own (points, y up, its boxes where the file puts them). Targets: a page's content stream
// (ContentStreamContext) and a recorder for tests.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/Text/Font.h"

#include <exception>
#include <memory>
#include <string_view>

namespace orvex {

class PDFPage;

enum class PDFDisplayBox { media, crop, bleed, trim, art };

/// Red, green, blue and alpha from 0 to 1, in sRGB.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    friend bool operator==(const Color&, const Color&) = default;
};

enum class TextMode { visible, invisible };

/// Used by one thread at a time, for one page.
class GraphicsContext {
public:
    GraphicsContext() = default;
    GraphicsContext(const GraphicsContext&) = delete;
    GraphicsContext& operator=(const GraphicsContext&) = delete;
    virtual ~GraphicsContext() = default;

    virtual void saveState() = 0;
    /// Back to what the last saveState() that was not restored yet has saved. Throws PDFWriteError without one.
    virtual void restoreState() = 0;
    virtual void concatenate(const AffineTransform& transform) = 0;
    virtual void setFillColor(const Color& color) = 0;
    /// Its alpha is not looked at.
    virtual void setStrokeColor(const Color& color) = 0;
    virtual void fillRect(const Rect& rect) = 0;
    /// A closed path with elliptical corners, filled, then stroked one unit wide.
    virtual void fillAndStrokeRoundedRect(const Rect& rect, double radiusX, double radiusY) = 0;
    /// The page's own content as its file has it, without what subclasses draw over it. Comes before anything that
    /// marks.
    virtual void drawPageContent(const PDFPage& page, PDFDisplayBox box) = 0;
    /// One or more lines of UTF-8 text; `rect.maxY()` is the top of the first line, its left edge the start of each.
    /// Visible text takes the fill colour and is shaped; invisible text marks nothing and can be searched and selected.
    virtual void drawText(std::string_view utf8, const std::shared_ptr<const Font>& font, double size, const Rect& rect,
                          TextMode mode) = 0;

    /// Invisible text until endFoundText() stands for this text in this rectangle, whatever its characters show: who
    /// reads the file's found content gets these. Not nested.
    virtual void beginFoundText(std::string_view /*utf8*/, const Rect& /*rect*/) {}
    virtual void endFoundText() {}
};

/// Saves now, restores when the scope ends. What restoring throws comes out, unless the scope ends by an exception.
class ScopedState {
public:
    explicit ScopedState(GraphicsContext& context) : context_(context) { context_.saveState(); }
    ~ScopedState() noexcept(false) {
        try {
            context_.restoreState();
        } catch (...) {
            if (std::uncaught_exceptions() == exceptions_) {
                throw;
            }
        }
    }
    ScopedState(const ScopedState&) = delete;
    ScopedState& operator=(const ScopedState&) = delete;

private:
    GraphicsContext& context_;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace orvex
