#include "OrvexPDF/FoundContent.h"
#include "OrvexPDF/Alias.h"
#include "Platform/Foundation/JSONCoding.h"

namespace orvex {

template <> struct JSONRecord<OrvexFoundBox> {
    static constexpr std::array fields{jsonField<&OrvexFoundBox::x>("x"), jsonField<&OrvexFoundBox::y>("y"),
                                       jsonField<&OrvexFoundBox::w>("w"), jsonField<&OrvexFoundBox::h>("h")};
};

template <> struct JSONRecord<OrvexFoundSize> {
    static constexpr std::array fields{jsonField<&OrvexFoundSize::h>("h"), jsonField<&OrvexFoundSize::w>("w")};
};

template <> struct JSONRecord<OrvexFoundFont> {
    static constexpr std::array fields{
        jsonField<&OrvexFoundFont::name>("name"),     jsonField<&OrvexFoundFont::size>("size"),
        jsonField<&OrvexFoundFont::bold>("bold"),     jsonField<&OrvexFoundFont::caps>("caps"),
        jsonField<&OrvexFoundFont::italic>("italic"), jsonField<&OrvexFoundFont::mono>("mono"),
        jsonField<&OrvexFoundFont::serif>("serif"),   jsonField<&OrvexFoundFont::underline>("underline")};
};

template <> struct JSONRecord<OrvexFoundItem> {
    static constexpr std::array fields{jsonField<&OrvexFoundItem::box>("box"), jsonField<&OrvexFoundItem::font>("font"),
                                       jsonField<&OrvexFoundItem::text>("text"), jsonField<&OrvexFoundItem::bl>("bl"),
                                       jsonField<&OrvexFoundItem::cf>("cf")};
};

template <> inline constexpr bool isReadSideBySide<OrvexFoundPage> = true;

template <> struct JSONRecord<OrvexFoundPage> {
    static constexpr std::array fields{
        jsonField<&OrvexFoundPage::size>("size"), jsonField<&OrvexFoundPage::items>("items"),
        jsonField<&OrvexFoundPage::fonts>("fonts"), jsonField<&OrvexFoundPage::dpi>("dpi")};
};

template <> struct JSONRecord<OrvexFoundDocument> {
    static constexpr std::array fields{
        jsonField<&OrvexFoundDocument::author>("author"), jsonField<&OrvexFoundDocument::creator>("creator"),
        jsonField<&OrvexFoundDocument::source>("source"), jsonField<&OrvexFoundDocument::pages>("pages")};
};

/// A document whose pages are not read yet.
struct OrvexFoundOutline {
    std::optional<std::string> author;
    std::optional<std::string> creator;
    std::optional<std::string> source;
    std::optional<JSONElements> pages;
};

template <> struct JSONRecord<OrvexFoundOutline> {
    static constexpr std::array fields{
        jsonFieldToRead<&OrvexFoundOutline::author>("author"), jsonFieldToRead<&OrvexFoundOutline::creator>("creator"),
        jsonFieldToRead<&OrvexFoundOutline::source>("source"), jsonFieldToRead<&OrvexFoundOutline::pages>("pages")};
};

template <> struct JSONRecord<OrvexFoundFeature> {
    static constexpr std::array fields{
        jsonField<&OrvexFoundFeature::box>("box"), jsonField<&OrvexFoundFeature::score>("score"),
        jsonField<&OrvexFoundFeature::string>("string"), jsonField<&OrvexFoundFeature::type>("type")};
};

template <> struct JSONRecord<OrvexFoundExtraction> {
    static constexpr std::array fields{jsonField<&OrvexFoundExtraction::features>("features"),
                                       jsonField<&OrvexFoundExtraction::text>("text")};
};

namespace {

void warn(std::string_view function, const JSONError& error) {
    moduleLogger().log(LogLevel::warning, "FoundContent", function,
                       [&] { return std::string("Thrown error: ") + error.what(); });
}

template <class Record> std::optional<Bytes> encode(const Record& record, bool pretty) {
    try {
        return Bytes(encodeJSON(record, pretty));
    } catch (const JSONError& error) {
        warn("toData(pretty:)", error);
        return std::nullopt;
    }
}

template <class Record> std::string encodeText(const Record& record, bool pretty) {
    const auto data = record.toData(pretty);
    return data ? std::string(data->text()) : "{}";
}

/// What `read` gives; nothing, with a warning and the reason, when it fails.
template <class Read> auto attempt(std::string_view function, std::string* why, Read read) {
    try {
        return std::optional(read());
    } catch (const JSONError& error) {
        warn(function, error);
        if (why != nullptr) {
            *why = error.summary();
        }
        return std::optional<decltype(read())>();
    }
}

template <class Record> std::optional<Record> decode(const Bytes& jsonData, std::string* why) {
    return attempt("from(jsonData:)", why, [&] { return decodeJSON<Record>(jsonData); });
}

} // namespace

std::optional<Rect> OrvexFoundBox::cgRect() const {
    return x && y && w && h ? std::optional(Rect{*x, *y, *w, *h}) : std::nullopt;
}

std::optional<Size> OrvexFoundSize::cgSize() const {
    return w && h ? std::optional(Size{*w, *h}) : std::nullopt;
}

std::optional<Bytes> OrvexFoundPage::toData(bool pretty) const {
    return encode(*this, pretty);
}
std::string OrvexFoundPage::toJSONString(bool pretty) const {
    return encodeText(*this, pretty);
}
std::optional<OrvexFoundPage> OrvexFoundPage::from(const Bytes& jsonData, std::string* why) {
    return decode<OrvexFoundPage>(jsonData, why);
}

std::optional<Bytes> OrvexFoundDocument::toData(bool pretty) const {
    return encode(*this, pretty);
}
std::string OrvexFoundDocument::toJSONString(bool pretty) const {
    return encodeText(*this, pretty);
}
std::optional<OrvexFoundDocument> OrvexFoundDocument::from(const Bytes& jsonData, std::string* why) {
    return decode<OrvexFoundDocument>(jsonData, why);
}

std::optional<OrvexFoundPages> OrvexFoundPages::from(const Bytes& jsonData, std::string* why) {
    auto outline = decode<OrvexFoundOutline>(jsonData, why);
    return outline && outline->pages
               ? std::optional(OrvexFoundPages(std::make_shared<const OrvexFoundOutline>(std::move(*outline))))
               : std::nullopt;
}

std::size_t OrvexFoundPages::count() const {
    return outline_->pages->size();
}

std::optional<OrvexFoundPage> OrvexFoundPages::page(std::size_t index, std::string* why) const {
    return attempt("page(_:)", why, [&] {
        OrvexFoundPage page;
        readJSONElement(*outline_->pages, index, page);
        return page;
    });
}

} // namespace orvex
