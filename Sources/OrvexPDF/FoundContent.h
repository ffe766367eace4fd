// Recognised text: plain records, every field optional, exchanged as JSON with the field names as keys.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/Geometry.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvex {

/// A rectangle in its page's found space: origin at the top left, y down, units of the page's `size`.
struct OrvexFoundBox {
    std::optional<double> x;
    std::optional<double> y;
    std::optional<double> w;
    std::optional<double> h;
    OrvexFoundBox() = default;
    explicit OrvexFoundBox(const Rect& rect) : x(rect.x), y(rect.y), w(rect.width), h(rect.height) {}
    /// The rectangle, when all four numbers are there.
    [[nodiscard]] std::optional<Rect> cgRect() const;
    friend bool operator==(const OrvexFoundBox&, const OrvexFoundBox&) = default;
};

/// An extent; height comes first in the exchange format.
struct OrvexFoundSize {
    std::optional<double> h;
    std::optional<double> w;
    OrvexFoundSize() = default;
    OrvexFoundSize(double width, double height) : h(height), w(width) {}
    explicit OrvexFoundSize(const Size& size) : OrvexFoundSize(size.width, size.height) {}
    /// The size, when both numbers are there.
    [[nodiscard]] std::optional<Size> cgSize() const;
    friend bool operator==(const OrvexFoundSize&, const OrvexFoundSize&) = default;
};

/// A font as a recogniser describes it.
struct OrvexFoundFont {
    std::optional<std::string> name;
    std::optional<double> size;
    std::optional<bool> bold;
    std::optional<bool> caps;
    std::optional<bool> italic;
    std::optional<bool> mono;
    std::optional<bool> serif;
    std::optional<bool> underline;
    friend bool operator==(const OrvexFoundFont&, const OrvexFoundFont&) = default;
};

/// One piece of text: a word or a line.
struct OrvexFoundItem {
    std::optional<OrvexFoundBox> box;
    std::optional<OrvexFoundFont> font;
    std::optional<std::string> text;
    std::optional<double> bl; ///< the producer's own number, carried
    std::optional<double> cf; ///< the producer's own number, carried
    OrvexFoundItem() = default;
    OrvexFoundItem(std::string itemText, OrvexFoundBox itemBox) : box(itemBox), text(std::move(itemText)) {}
    friend bool operator==(const OrvexFoundItem&, const OrvexFoundItem&) = default;
};

/// What was found on a page.
struct OrvexFoundPage {
    std::optional<OrvexFoundSize> size;               ///< extent of the space that the boxes are given in
    std::optional<std::vector<OrvexFoundItem>> items; ///< in reading order
    std::optional<std::vector<OrvexFoundFont>> fonts;
    std::optional<double> dpi; ///< of the image that was recognised; carried
    OrvexFoundPage() = default;
    explicit OrvexFoundPage(OrvexFoundSize pageSize) : size(pageSize) {}

    /// UTF-8 JSON; empty, with a warning in the log, when a number is not finite or a text is not UTF-8.
    /// Pretty output sorts keys and puts one member on a line; compact output has no white space.
    [[nodiscard]] std::optional<Bytes> toData(bool pretty) const;
    /// The same as text, "{}" on failure.
    [[nodiscard]] std::string toJSONString(bool pretty) const;
    /// Empty, with a warning in the log, for malformed JSON or a value of the wrong type at any depth; the reason, in a
    /// line for people, goes to `why` when given. Keys that the format does not have are passed over.
    [[nodiscard]] static std::optional<OrvexFoundPage> from(const Bytes& jsonData, std::string* why = nullptr);
    friend bool operator==(const OrvexFoundPage&, const OrvexFoundPage&) = default;
};

/// What was found on the pages of a document.
struct OrvexFoundDocument {
    std::optional<std::string> author;
    std::optional<std::string> creator;
    std::optional<std::string> source; ///< "pdf" for content read out of pages
    std::optional<std::vector<OrvexFoundPage>> pages;

    /// JSON, from it and to it, as for a page.
    [[nodiscard]] std::optional<Bytes> toData(bool pretty) const;
    [[nodiscard]] std::string toJSONString(bool pretty) const;
    [[nodiscard]] static std::optional<OrvexFoundDocument> from(const Bytes& jsonData, std::string* why = nullptr);
    friend bool operator==(const OrvexFoundDocument&, const OrvexFoundDocument&) = default;
};

struct OrvexFoundOutline;

/// The pages of a found document in JSON, read one by one: what long documents hold takes several times the JSON's size
/// once it is read.
class OrvexFoundPages {
public:
    /// Empty, with a warning in the log and the reason in `why`, for what OrvexFoundDocument refuses; but what stands
    /// inside of pages shows only when they are read. Empty without a word for a document without pages. Keeps the
    /// JSON.
    [[nodiscard]] static std::optional<OrvexFoundPages> from(const Bytes& jsonData, std::string* why = nullptr);
    [[nodiscard]] std::size_t count() const;
    /// Reads a page, each time anew; `index` is below count(). Empty as OrvexFoundPage::from() is. Threads: any, side
    /// by side.
    [[nodiscard]] std::optional<OrvexFoundPage> page(std::size_t index, std::string* why = nullptr) const;

private:
    explicit OrvexFoundPages(std::shared_ptr<const OrvexFoundOutline> outline) : outline_(std::move(outline)) {}
    std::shared_ptr<const OrvexFoundOutline> outline_;
};

/// One thing that a recogniser found, in its own words.
struct OrvexFoundFeature {
    std::optional<OrvexFoundBox> box;
    std::optional<double> score;
    std::optional<std::string> string;
    std::optional<std::string> type;
    friend bool operator==(const OrvexFoundFeature&, const OrvexFoundFeature&) = default;
};

/// The result of one recognition run; carried for hosts, neither made nor read by the library.
struct OrvexFoundExtraction {
    std::optional<std::vector<OrvexFoundFeature>> features;
    std::optional<std::string> text;
    friend bool operator==(const OrvexFoundExtraction&, const OrvexFoundExtraction&) = default;
};

} // namespace orvex
