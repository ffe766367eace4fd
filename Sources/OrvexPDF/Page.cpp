#include "OrvexPDF/Page.h"

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "Platform/Foundation/UserDefaults.h"

#include <numbers>
#include <typeinfo>

namespace orvex {

namespace {

/// Turns about the middle of the box; a quarter turn is scaled so that a layer made for the box fits it again. By
/// design every angle but a half turn is scaled so.
AffineTransform textRotationTransform(const Rect& box, std::int64_t degrees) {
    const bool halfTurn = degrees == 180 || degrees == -180;
    const double sx = halfTurn ? 1 : box.height / box.width;
    const double sy = halfTurn ? 1 : box.width / box.height;
    return AffineTransform{}
        .translated(box.midX(), box.midY())
        .rotated(static_cast<double>(degrees) * std::numbers::pi / 180)
        .scaled(sx, sy)
        .translated(-box.midX(), -box.midY());
}

bool isDebugWanted() {
    return UserDefaults::standard().boolForKey("debug");
}

} // namespace

std::shared_ptr<OrvexPDFPage> OrvexPDFPage::fromImage(const ImagePtr& image) {
    return canHold(image) ? std::make_shared<OrvexPDFPage>(ImagePageContent{image}) : nullptr;
}

void OrvexPDFPage::draw(PDFDisplayBox box, GraphicsContext& context) {
    {
        const ScopedState content(context);
        PDFPage::draw(box, context);
    }
    if (isDebugWanted()) {
        debug = true; // by design it stays on when the setting goes off again
    }
    const ScopedState overlay(context);
    drawOverlay(box, context);
}

bool OrvexPDFPage::isDrawnBesideOthers() const {
    const bool settled = debug || !isDebugWanted(); // else drawing changes the page
    return foundPage && layers().empty() && settled && typeid(*this) == typeid(OrvexPDFPage) &&
           !moduleLogger().isEnabled(LogLevel::debug);
}

void OrvexPDFPage::drawOverlay(PDFDisplayBox box, GraphicsContext& context) const {
    if (!foundPage && !watermarkText &&
        textRotation % 360 == 0) { // most pages of a long file: their boxes need not be read
        return;
    }
    const Rect drawn = bounds(box);
    if (const std::int64_t degrees = textRotation % 360; degrees != 0) {
        context.concatenate(textRotationTransform(drawn, degrees));
    }
    if (drawn.x != 0 || drawn.y != 0) { // what follows is drawn from the box's corner
        context.concatenate(AffineTransform{}.translated(drawn.x, drawn.y));
    }
    drawInvisibleText(box, context);
    drawWatermark(box, context);
}

std::shared_ptr<OrvexPDFDocument> OrvexPDFPage::createDocumentFromPage() {
    auto document = std::make_shared<OrvexPDFDocument>();
    document->insertPage(shared_from_this(), 0);
    return document;
}

/// Content never changes, so a deep copy may share it; the overlay is not content and comes along as settings.
std::shared_ptr<OrvexPDFPage> OrvexPDFPage::clone() const {
    auto copy = std::make_shared<OrvexPDFPage>(content(), layers(), rotation());
    copy->debug = debug;
    copy->watermarkText = watermarkText;
    copy->watermarkForegroundColor = watermarkForegroundColor;
    copy->watermarkBackgroundColor = watermarkBackgroundColor;
    copy->textRotation = textRotation;
    copy->foundPage = foundPage;
    return copy;
}

std::shared_ptr<OrvexPDFPage> OrvexPDFPage::flattened() const {
    auto drawn = layers();
    if (foundPage || !watermarkText.value_or("").empty()) {
        const auto frozen = clone();
        frozen->debug = debug || isDebugWanted();
        drawn.push_back(std::make_shared<const PDFPageLayer::element_type>(
            [frozen](PDFDisplayBox box, GraphicsContext& context) { frozen->drawOverlay(box, context); }));
    }
    return std::make_shared<OrvexPDFPage>(content(), std::move(drawn), rotation());
}

} // namespace orvex
