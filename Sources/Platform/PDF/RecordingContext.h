// A drawing target that only remembers: what was drawn can be checked as numbers, without pixels.
#pragma once

#include "Platform/PDF/GraphicsContext.h"
#include "Platform/PDF/PDFDocument.h"

#include <string>
#include <vector>

namespace orvex {

class RecordingContext final : public GraphicsContext {
public:
    enum class Kind { save, restore, concatenate, fillColor, strokeColor, fillRect, roundedRect, pageContent, text };
    struct Operation {
        Kind kind = Kind::save;
        AffineTransform
            transform{};    ///< what was concatenated; for what marks and for page content the whole one in force
        Rect rect{};        ///< of text, rectangles
        double number = 0;  ///< size of text in points of its own space; radius of rounded rectangles
        std::string text{}; ///< UTF-8
        Color color{};
        TextMode mode = TextMode::invisible;
    };

    [[nodiscard]] const std::vector<Operation>& operations() const { return operations_; }

    void saveState() override {
        stack_.push_back(current_);
        operations_.push_back({Kind::save});
    }
    void restoreState() override {
        if (stack_.empty()) {
            throw PDFWriteError("a page restores a state that it has not saved");
        }
        current_ = stack_.back();
        stack_.pop_back();
        operations_.push_back({Kind::restore});
    }
    void concatenate(const AffineTransform& transform) override {
        current_ = transform.followedBy(current_);
        operations_.push_back({Kind::concatenate, transform});
    }
    void setFillColor(const Color& color) override { operations_.push_back({Kind::fillColor, {}, {}, 0, {}, color}); }
    void setStrokeColor(const Color& color) override {
        operations_.push_back({Kind::strokeColor, {}, {}, 0, {}, color});
    }
    void fillRect(const Rect& rect) override { operations_.push_back({Kind::fillRect, current_, rect}); }
    void fillAndStrokeRoundedRect(const Rect& rect, double radiusX, double /*radiusY*/) override {
        operations_.push_back({Kind::roundedRect, current_, rect, radiusX});
    }
    void drawPageContent(const PDFPage& /*page*/, PDFDisplayBox /*box*/) override {
        operations_.push_back({Kind::pageContent, current_});
    }
    void drawText(std::string_view utf8, const std::shared_ptr<const Font>& /*font*/, double size, const Rect& rect,
                  TextMode mode) override {
        operations_.push_back({Kind::text, current_, rect, size, std::string(utf8), {}, mode});
    }

private:
    AffineTransform current_;
    std::vector<AffineTransform> stack_;
    std::vector<Operation> operations_;
};

} // namespace orvex
