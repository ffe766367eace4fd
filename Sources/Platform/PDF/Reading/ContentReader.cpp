#include "Platform/PDF/Reading/ContentReader_p.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace orvex {

namespace {

double numberAt(std::span<const Operand> operands, std::size_t index) {
    return index < operands.size() ? operands[index].number : 0;
}

AffineTransform matrixOf(std::span<const Operand> operands) {
    return {numberAt(operands, 0), numberAt(operands, 1), numberAt(operands, 2),
            numberAt(operands, 3), numberAt(operands, 4), numberAt(operands, 5)};
}

Rect intersection(const Rect& a, const Rect& b) {
    const double x = std::max(a.x, b.x);
    const double y = std::max(a.y, b.y);
    return {x, y, std::min(a.maxX(), b.maxX()) - x, std::min(a.maxY(), b.maxY()) - y};
}

} // namespace

ContentReader::ContentReader(const PDFSource& source, ReadingCache& cache, const Rect& mediaBox, PageGlyphs& glyphs,
                             const ReadingLimits& limits)
    : source_(source), cache_(cache), mediaBox_(mediaBox), page_(glyphs), limits_(limits) {}

void ContentReader::read(const ContentBuffer& content, ContentResources& resources) {
    resources_ = &resources;
    runAll(content);
    while (!marks_.empty()) { // what the page left open
        endMark();
    }
}

void ContentReader::runAll(const ContentBuffer& content) {
    limits_.contentBytes -= std::min(limits_.contentBytes, content.size());
    ContentScanner scanner(content.text(), content.joints());
    while (!exhausted_ && scanner.next()) {
        run(scanner);
    }
}

void ContentReader::run(const ContentScanner& scanner) {
    if (!runShowing(scanner) && !runText(scanner) && !runGraphics(scanner)) {
        runMarks(scanner);
    }
}

bool ContentReader::runShowing(const ContentScanner& scanner) {
    const auto operands = scanner.operands();
    switch (scanner.operation()) {
    case operatorCode("TJ"):
        showArray(scanner);
        return true;
    case operatorCode("Tj"):
        break;
    case operatorCode("'"):
        moveLine(0, -state_.leading);
        break;
    case operatorCode("\""):
        state_.wordSpacing = numberAt(operands, 0);
        state_.characterSpacing = numberAt(operands, 1);
        moveLine(0, -state_.leading);
        break;
    default:
        return false;
    }
    if (!operands.empty() && operands.back().isString()) {
        showString(operands.back(), scanner);
    }
    return true;
}

bool ContentReader::runText(const ContentScanner& scanner) {
    const auto operands = scanner.operands();
    switch (scanner.operation()) {
    case operatorCode("BT"):
        endTracking();
        textMatrix_ = lineMatrix_ = {};
        items_ += inItem_ ? 0 : 1;
        return true;
    case operatorCode("ET"):
        return true;
    case operatorCode("Td"):
        items_ += inItem_ ? 0 : 1;
        moveLine(numberAt(operands, 0), numberAt(operands, 1));
        return true;
    case operatorCode("TD"):
        state_.leading = -numberAt(operands, 1);
        moveLine(numberAt(operands, 0), numberAt(operands, 1));
        return true;
    case operatorCode("T*"):
        moveLine(0, -state_.leading);
        return true;
    case operatorCode("Tm"):
        endTracking();
        textMatrix_ = lineMatrix_ = matrixOf(operands);
        return true;
    default:
        return runTextState(scanner);
    }
}

bool ContentReader::runTextState(const ContentScanner& scanner) {
    const auto operands = scanner.operands();
    switch (scanner.operation()) {
    case operatorCode("Tf"):
        setFont(operands);
        return true;
    case operatorCode("Tc"):
        state_.characterSpacing = numberAt(operands, 0);
        return true;
    case operatorCode("Tw"):
        state_.wordSpacing = numberAt(operands, 0);
        return true;
    case operatorCode("Tz"):
        state_.horizontalScaling = numberAt(operands, 0) / 100;
        return true;
    case operatorCode("TL"):
        state_.leading = numberAt(operands, 0);
        return true;
    case operatorCode("Ts"):
        state_.rise = numberAt(operands, 0);
        return true;
    case operatorCode("Tr"):
        return true; // what is shown without ink is text as well
    default:
        return false;
    }
}

bool ContentReader::runGraphics(const ContentScanner& scanner) {
    const auto operands = scanner.operands();
    switch (scanner.operation()) {
    case operatorCode("m"):
    case operatorCode("l"):
    case operatorCode("c"):
    case operatorCode("v"):
    case operatorCode("y"):
        path_.reset();
        pathIsEmpty_ = false;
        return true;
    case operatorCode("re"):
        addRectangle(operands);
        return true;
    case operatorCode("W"):
    case operatorCode("W*"):
        clipPending_ = true;
        return true;
    case operatorCode("q"):
        save();
        return true;
    case operatorCode("Q"):
        restore();
        return true;
    case operatorCode("cm"):
        state_.ctm = matrixOf(operands).followedBy(state_.ctm);
        return true;
    case operatorCode("gs"):
        useGraphicsState(operands);
        return true;
    case operatorCode("Do"):
        if (!operands.empty() && operands.back().kind == OperandKind::name && hiddenMarks_ == 0) {
            runForm(operands.back().text);
        }
        return true;
    default:
        return false;
    }
}

bool ContentReader::runMarks(const ContentScanner& scanner) {
    switch (scanner.operation()) {
    case operatorCode("n"):
    case operatorCode("f"):
    case operatorCode("F"):
    case operatorCode("f*"):
    case operatorCode("S"):
    case operatorCode("s"):
    case operatorCode("B"):
    case operatorCode("B*"):
    case operatorCode("b"):
    case operatorCode("b*"):
        endPath();
        return true;
    case operatorCode("BMC"):
    case operatorCode("BDC"):
        beginMark(scanner);
        return true;
    case operatorCode("EMC"):
        endMark();
        return true;
    default:
        return false;
    }
}

void ContentReader::save() {
    if (saved_.size() < limits_.savedStates) {
        saved_.push_back(state_);
    } else {
        ++unsaved_;
    }
}

void ContentReader::restore() {
    if (unsaved_ > 0) {
        --unsaved_;
    } else if (!saved_.empty()) {
        state_ = saved_.back();
        saved_.pop_back();
    }
}

void ContentReader::use(const FontUse& font, double size) {
    state_.isTextLayer = font.isTextLayer;
    state_.fontSize = size;
    if (font.font.get() == state_.font) {
        return;
    }
    state_.font = nullptr;
    auto& kept = page_.fonts;
    if (font.font && (kept.contains(font.font) || ifNewFont() == TextFontCache::IfNew::make)) {
        state_.font = font.font.get();
        if (kept.insert(font.font).second) {
            limits_.fontBytes -= std::min(limits_.fontBytes, font.font->cost());
        }
    }
}

TextFontCache::IfNew ContentReader::ifNewFont() const {
    const bool hasRoom = limits_.fontBytes > 0 && page_.fonts.size() < limits_.fonts;
    return hasRoom ? TextFontCache::IfNew::make : TextFontCache::IfNew::leave;
}

void ContentReader::setFont(std::span<const Operand> operands) {
    if (operands.size() >= 2 && operands[operands.size() - 2].kind == OperandKind::name) {
        use(resources_->font(operands[operands.size() - 2].text, ifNewFont()), operands.back().number);
    }
}

void ContentReader::useGraphicsState(std::span<const Operand> operands) {
    if (operands.empty() || operands.back().kind != OperandKind::name) {
        return;
    }
    if (const auto sized = resources_->graphicsStateFont(operands.back().text, ifNewFont())) {
        use(sized->font, sized->size);
    }
}

void ContentReader::moveLine(double x, double y) {
    endTracking();
    lineMatrix_ = lineMatrix_.translated(x, y);
    textMatrix_ = lineMatrix_;
}

/// The path in page space, as long as it is a single rectangle.
void ContentReader::addRectangle(std::span<const Operand> operands) {
    path_.reset();
    if (pathIsEmpty_) {
        const double width = numberAt(operands, 2);
        const double height = numberAt(operands, 3);
        path_ = state_.ctm.apply({numberAt(operands, 0) + std::min(width, 0.0),
                                  numberAt(operands, 1) + std::min(height, 0.0), std::abs(width), std::abs(height)});
    }
    pathIsEmpty_ = false;
}

void ContentReader::endPath() {
    if (clipPending_ && path_) {
        clipTo(*path_, {});
    }
    clipPending_ = false;
    pathIsEmpty_ = true;
    path_.reset();
}

void ContentReader::clipTo(const Rect& box, const AffineTransform& transform) {
    const Rect clip = transform.apply(box);
    state_.clip = state_.clip ? intersection(*state_.clip, clip) : clip;
}

void ContentReader::runForm(std::string_view name) {
    if (limits_.forms == 0 || runningForms_.size() >= limits_.formDepth) {
        return;
    }
    --limits_.forms;
    const auto form = resources_->form(name, limits_.contentBytes);
    if (!form || form->hidden || std::ranges::find(runningForms_, form->id) != runningForms_.end()) {
        return;
    }
    runningForms_.push_back(form->id);
    runFormContent(*form);
    runningForms_.pop_back();
}

void ContentReader::runFormContent(const FormUse& form) {
    ContentBuffer content;
    unpack(form.streams, limits_.contentBytes, content);
    ContentResources resources(source_, cache_, form.resources);
    const State before = state_;
    auto outerSaves = std::exchange(saved_, {});
    const auto outerUnsaved = std::exchange(unsaved_, 0);
    auto outerMarks = std::exchange(marks_, {});
    auto* outerResources = std::exchange(resources_, &resources);
    const auto outerText = std::pair(textMatrix_, lineMatrix_);
    state_.ctm = form.matrix.followedBy(state_.ctm);
    if (form.box) {
        clipTo(*form.box, state_.ctm);
    }
    runAll(content);
    while (!marks_.empty()) {
        endMark();
    }
    state_ = before;
    saved_ = std::move(outerSaves);
    unsaved_ = outerUnsaved;
    marks_ = std::move(outerMarks);
    resources_ = outerResources;
    std::tie(textMatrix_, lineMatrix_) = outerText;
    path_.reset();
    pathIsEmpty_ = true;
    clipPending_ = false;
}

} // namespace orvex
