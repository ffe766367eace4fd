// A drawing target that only remembers: what was drawn can be checked as numbers, without pixels.
#pragma once

#include "Platform/PDF/GraphicsContext.h"

#include <string>
#include <vector>

namespace orvex {

class RecordingContext final : public GraphicsContext {
public:
    enum class Kind { save, restore, concatenate, pageContent, text };
    struct Operation {
        Kind kind = Kind::save;
        AffineTransform transform; ///< what was concatenated; for text and page content the whole transform in force
        Rect rect;                 ///< of text
        double size = 0;           ///< of text, in points of its own space
        std::string text;          ///< UTF-8
    };

    [[nodiscard]] const std::vector<Operation>& operations() const { return operations_; }

    void saveState() override {
        stack_.push_back(current_);
        operations_.push_back({Kind::save, {}, {}, 0, {}});
    }
    void restoreState() override {
        current_ = stack_.back();
        stack_.pop_back();
        operations_.push_back({Kind::restore, {}, {}, 0, {}});
    }
    void concatenate(const AffineTransform& transform) override {
        current_ = transform.followedBy(current_);
        operations_.push_back({Kind::concatenate, transform, {}, 0, {}});
    }
    void drawPageContent(const PDFPage& /*page*/, PDFDisplayBox /*box*/) override {
        operations_.push_back({Kind::pageContent, current_, {}, 0, {}});
    }
    void drawText(std::string_view utf8, const std::shared_ptr<const Font>& /*font*/, double size, const Rect& rect,
                  TextMode /*mode*/) override {
        operations_.push_back({Kind::text, current_, rect, size, std::string(utf8)});
    }

private:
    AffineTransform current_;
    std::vector<AffineTransform> stack_;
    std::vector<Operation> operations_;
};

} // namespace orvex
