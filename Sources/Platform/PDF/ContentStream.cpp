#include "Platform/PDF/ContentStream_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/FontObjects_p.h"
#include "Platform/PDF/InvisibleFont_p.h"
#include "Platform/PDF/PDFDocument.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace orvex {

using namespace std::string_view_literals;

namespace {

constexpr std::size_t longestNumber = 24;

constexpr auto digitPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

char* putPair(char* at, std::uint32_t pair) {
    return std::copy_n(digitPairs.data() + std::size_t{2} * pair, 2, at);
}

/// Back to before the zeros that a fraction ends with.
char* dropZeros(char* at) {
    while (at[-1] == '0') {
        --at;
    }
    return at;
}

char* putWhole(char* at, std::uint64_t whole) {
    if (whole >= 1000) {
        return std::to_chars(at, at + longestNumber, whole).ptr;
    }
    const auto small = static_cast<std::uint32_t>(whole);
    if (small < 10) {
        *at = static_cast<char>('0' + small);
        return at + 1;
    }
    if (small >= 100) {
        *at++ = static_cast<char>('0' + small / 100);
    }
    return putPair(at, small % 100);
}

/// Behind it; there is room for the longest number.
char* putNumber(char* at, double value) {
    constexpr double largest = 1e9; // beyond it readers disagree; no page is that large
    if (!std::isfinite(value)) {
        value = 0;
    }
    constexpr std::uint64_t unit = 1'000'000; // whole millionths print several times faster than a double does
    const double scaled = std::min(std::abs(value), largest) * unit;
    auto millionths = static_cast<std::uint64_t>(scaled);
    millionths += scaled - static_cast<double>(millionths) >= 0.5 ? 1 : 0;
    if (value < 0 && millionths != 0) {
        *at++ = '-';
    }
    at = putWhole(at, millionths / unit);
    if (const auto fraction = static_cast<std::uint32_t>(millionths % unit); fraction != 0) {
        *at++ = '.';
        at = dropZeros(putPair(putPair(putPair(at, fraction / 10'000), fraction / 100 % 100), fraction % 100));
    }
    return at;
}

constexpr std::int64_t parts = 10'000;
constexpr std::int64_t unstretched = 100 * parts;

std::int64_t inParts(double value) {
    return std::llrint(value * parts);
}

/// As putNumber(), and a blank.
char* putParts(char* at, std::int64_t value) {
    if (value < 0) {
        *at++ = '-';
    }
    const auto size = static_cast<std::uint64_t>(std::abs(value));
    at = putWhole(at, size / parts);
    if (const auto fraction = static_cast<std::uint32_t>(size % parts); fraction != 0) {
        *at++ = '.';
        at = dropZeros(putPair(putPair(at, fraction / 100), fraction % 100));
    }
    *at++ = ' ';
    return at;
}

/// Whether a line in this place is stretched along its base line and nothing else, by what readers are used to.
bool isOnlyStretched(const AffineTransform& place) {
    constexpr double most = 100;
    constexpr double mostDistant = 1e9;
    return place.b == 0 && place.c == 0 && place.d == 1 && place.a > 1 / most && place.a < most &&
           std::abs(place.tx) < mostDistant && std::abs(place.ty) < mostDistant;
}

} // namespace

void appendNumber(std::string& content, double value) {
    std::array<char, longestNumber> text; // NOLINT(*-member-init): filled as far as it is read
    content.append(text.data(), putNumber(text.data(), value));
}

void ContentStreamContext::appendNumbers(std::initializer_list<double> numbers, std::string_view operation) {
    constexpr std::size_t mostNumbers = 6;
    std::array<char, mostNumbers*(longestNumber + 1)> text; // NOLINT(*-member-init): filled as far as it is read
    char* end = text.data();
    for (const double number : numbers) {
        end = putNumber(end, number);
        *end++ = ' ';
    }
    after_.append(text.data(), end).append(operation) += '\n';
}

/// For what follows in a saved state, if there is one.
void ContentStreamContext::prepare() {
    if (!contentDrawn_) {
        throw PDFWriteError("a page draws its content before anything else");
    }
    endTextObject();
    writePending();
}

void ContentStreamContext::endTextObject() {
    if (textObject_) {
        after_ += "ET\n";
        textObject_.reset();
    }
}

void ContentStreamContext::writePending() {
    if (const auto transform = std::exchange(pending_, std::nullopt)) {
        endTextObject();
        after_ += "q\n";
        if (!transform->isIdentity()) {
            concatenate(*transform);
        }
    }
}

void ContentStreamContext::saveState() {
    saved_.push_back(state_);
    if (contentDrawn_) {
        writePending();
        pending_.emplace();
    } else {
        before_ += "q\n";
    }
}

void ContentStreamContext::restoreState() {
    if (saved_.empty()) {
        throw PDFWriteError("a page restores a state that it has not saved");
    }
    if (pending_) { // never written: what was set in it holds on
        const double alpha = saved_.back().fillAlpha;
        saved_.back() = state_;
        saved_.back().fillAlpha = alpha;
        pending_.reset();
    } else {
        endTextObject();
        (contentDrawn_ ? after_ : before_) += "Q\n";
    }
    state_ = saved_.back();
    saved_.pop_back();
}

void ContentStreamContext::concatenate(const AffineTransform& transform) {
    if (pending_) {
        pending_ = pending_->isIdentity() ? transform : transform.followedBy(*pending_);
        return;
    }
    prepare();
    appendNumbers({transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty}, "cm");
}

void ContentStreamContext::setFillColor(const Color& color) {
    prepare();
    appendNumbers({color.red, color.green, color.blue}, "rg");
    setFillAlpha(color.alpha);
}

std::string ContentStreamContext::named(const std::string& what) {
    if (!prefix_) {
        prefix_ = findPrefix_();
    }
    return *prefix_ + what;
}

void ContentStreamContext::setFillAlpha(double alpha) {
    if (alpha == state_.fillAlpha) {
        return;
    }
    state_.fillAlpha = alpha;
    auto& name = resources_.alphas[alpha];
    if (name.empty()) {
        name = named("Alpha" + std::to_string(resources_.alphas.size()));
    }
    after_.append("/").append(name).append(" gs\n");
}

void ContentStreamContext::setStrokeColor(const Color& color) {
    prepare();
    appendNumbers({color.red, color.green, color.blue}, "RG");
}

void ContentStreamContext::fillRect(const Rect& rect) {
    prepare();
    appendNumbers({rect.x, rect.y, rect.width, rect.height}, "re");
    after_ += "f\n";
    drewMarks_ = true;
}

void ContentStreamContext::fillAndStrokeRoundedRect(const Rect& rect, double radiusX, double radiusY) {
    prepare();
    const double rx = std::min(radiusX, rect.width / 2);
    const double ry = std::min(radiusY, rect.height / 2);
    const double kx = rx * (1 - quarterCircle);
    const double ky = ry * (1 - quarterCircle);
    const double left = rect.x;
    const double right = rect.maxX();
    const double bottom = rect.y;
    const double top = rect.maxY();
    appendNumbers({left + rx, bottom}, "m");
    appendNumbers({right - rx, bottom}, "l");
    appendNumbers({right - kx, bottom, right, bottom + ky, right, bottom + ry}, "c");
    appendNumbers({right, top - ry}, "l");
    appendNumbers({right, top - ky, right - kx, top, right - rx, top}, "c");
    appendNumbers({left + rx, top}, "l");
    appendNumbers({left + kx, top, left, top - ky, left, top - ry}, "c");
    appendNumbers({left, bottom + ry}, "l");
    appendNumbers({left, bottom + ky, left + kx, bottom, left + rx, bottom}, "c");
    after_ += "1 w\nh\nB\n";
    drewMarks_ = true;
}

void ContentStreamContext::drawPageContent(const PDFPage& /*page*/, PDFDisplayBox /*box*/) {
    contentDrawn_ = true;
}

void ContentStreamContext::finish() {
    endTextObject();
    if (gaps_.empty()) {
        return;
    }
    std::string whole;
    whole.reserve(2 * after_.size());
    std::size_t done = 0;
    for (const auto& gap : gaps_) {
        whole.append(after_, done, gap.place - done);
        gap.fill(whole);
        done = gap.place;
    }
    after_ = whole.append(after_, done);
    gaps_.clear();
}

void ContentStreamContext::drawVisibleLine(std::string line, std::shared_ptr<const Font> font, double size,
                                           Point baseline) {
    if (std::exchange(state_.isTextStretched, false)) {
        after_ += "100 Tz\n";
    }
    gaps_.push_back({after_.size(), [=, this, line = std::move(line), font = std::move(font)](std::string& content) {
                         const auto nameOf = [this](const FontFile& face) {
                             auto& name = resources_.faces[face];
                             if (name.empty()) {
                                 name = named("Face" + std::to_string(resources_.faces.size()));
                             }
                             return name;
                         };
                         outlines_.appendLine(content, nameOf, line, *font, size, baseline.x, baseline.y);
                     }});
    state_.invisibleSize.reset();
    state_.isTextInvisible = false;
    drewMarks_ = true;
}

void ContentStreamContext::drawInvisibleLine(std::string_view line, const std::shared_ptr<const Font>& font,
                                             double size, Point baseline) {
    if (!textObject_) {
        after_ += "BT\n";
        textObject_ = {0, 0, state_.isTextStretched ? 0 : unstretched};
    }
    if (std::exchange(state_.invisibleSize, size) != size) {
        setInvisible(size);
    }
    const Point start = pending_ ? pending_->apply(baseline) : baseline;
    const AffineTransform space = pending_.value_or(AffineTransform{});
    const bool othersMayFollow = placeLine({space.a, space.b, space.c, space.d, start.x, start.y});
    if (!invisible_.appendLine(after_, line)) {
        gaps_.push_back({after_.size(), [this, line = std::string(line), font](std::string& content) {
                             invisible_.add(line, *font);
                             invisible_.appendLine(content, line);
                         }});
    }
    if (!othersMayFollow) {
        endTextObject();
    }
}

void ContentStreamContext::setInvisible(double size) {
    if (resources_.invisibleFont.empty()) {
        resources_.invisibleFont = named("Text");
    }
    after_.append("/").append(resources_.invisibleFont).append(" ");
    appendNumbers({size}, "Tf");
    if (!std::exchange(state_.isTextInvisible, true)) {
        after_ += "3 Tr\n";
    }
}

/// By the way from the last line, and how far it is stretched: half as long as a matrix. Lines that need a matrix have
/// a text object to themselves: false.
bool ContentStreamContext::placeLine(const AffineTransform& place) {
    if (!isOnlyStretched(place)) {
        if (std::exchange(state_.isTextStretched, false)) {
            after_ += "100 Tz\n";
        }
        appendNumbers({place.a, place.b, place.c, place.d, place.tx, place.ty}, "Tm");
        return false;
    }
    const TextObject last = *textObject_;
    textObject_ = {inParts(place.tx), inParts(place.ty), inParts(100 * place.a)};
    std::array<char, 3 * longestNumber + 8> text; // NOLINT(*-member-init): filled as far as it is read
    char* end = text.data();
    if (textObject_->stretch != last.stretch) {
        end = std::ranges::copy("Tz "sv, putParts(end, textObject_->stretch)).out;
        state_.isTextStretched = textObject_->stretch != unstretched;
    }
    end = putParts(putParts(end, textObject_->x - last.x), textObject_->y - last.y);
    after_.append(text.data(), std::ranges::copy("Td\n"sv, end).out);
    return true;
}

void ContentStreamContext::drawText(std::string_view utf8, const std::shared_ptr<const Font>& font, double size,
                                    const Rect& rect, TextMode mode) {
    if (mode == TextMode::visible || !contentDrawn_) {
        prepare();
    }
    Point baseline{rect.x, rect.maxY() - Font::ascent() * size};
    for (const auto line : TextLines(utf8)) {
        if (mode == TextMode::visible) {
            drawVisibleLine(std::string(line), font, size, baseline);
        } else {
            drawInvisibleLine(line, font, size, baseline);
        }
        baseline.y -= size;
    }
}

/// Other readers pass over marked content that they do not know.
void ContentStreamContext::beginFoundText(std::string_view utf8, const Rect& rect) {
    if (!pending_ || !pending_->isIdentity()) { // the rectangle is one of the space in force
        prepare();
    }
    endTextObject();
    after_ += "/OrvexFound << /Text <FEFF";
    for (std::size_t at = 0; at < utf8.size();) {
        appendUTF16(after_, nextCodePoint(utf8, at));
    }
    after_ += "> /Box [ ";
    appendNumbers({rect.x, rect.y, rect.width, rect.height}, "] >> BDC");
}

void ContentStreamContext::endFoundText() {
    endTextObject(); // marked content and text objects do not overlap
    after_ += "EMC\n";
}

} // namespace orvex
