#include "Platform/PDF/PDFSource_p.h"

#include "Platform/PDF/FormAppearances_p.h"
#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/PDFium_p.h"
#include "Platform/PDF/Reading/ContentResources_p.h"
#include "Platform/PDF/Reading/PageText_p.h"

#include <qpdf/QPDFExc.hh>
#include <qpdf/QUtil.hh>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace orvex {

namespace {

constexpr Rect letter{0, 0, 612, 792};
constexpr std::size_t headerWindow = 1024; // readers accept a header that is preceded by that much junk

/// qpdf makes a static object when it first closes a file, and needs it for closing. Made as early as this it outlives
/// the documents that a host keeps in statics of its own.
[[maybe_unused]] const bool qpdfHasItsStatics = [] {
    QPDF::create()->emptyPDF();
    return true;
}();

bool hasHeader(const Bytes& bytes) {
    return bytes.text().substr(0, headerWindow).find("%PDF-") != std::string_view::npos;
}

/// Whether a warning, or an error, is about memory and not about the file.
bool isOutOfMemory(const std::exception& error) {
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ||
           std::string_view(error.what()).ends_with(std::bad_alloc().what());
}

bool ranOutOfMemory(QPDF& pdf) {
    return pdf.anyWarnings() && std::ranges::any_of(pdf.getWarnings(), isOutOfMemory);
}

std::shared_ptr<QPDF> parseWith(const Bytes& bytes, const std::string& password) {
    auto pdf = QPDF::create();
    pdf->setSuppressWarnings(true);
    try {
        pdf->processMemoryFile("input", reinterpret_cast<const char*>(bytes.data()), bytes.size(), password.c_str());
    } catch (const QPDFExc&) {
        requireMemory(*pdf);
        throw;
    }
    requireMemory(*pdf);
    return pdf;
}

/// Older encryption knows passwords in other encodings than UTF-8: those are tried as well.
std::shared_ptr<QPDF> parse(const Bytes& bytes, const std::string& password) {
    try {
        return parseWith(bytes, password);
    } catch (const QPDFExc& error) {
        if (error.getErrorCode() != qpdf_e_password || password.empty()) {
            throw;
        }
    }
    for (const auto& encoded : QUtil::possible_repaired_encodings(password)) {
        try {
            return parseWith(bytes, encoded);
        } catch (const QPDFExc& error) {
            if (error.getErrorCode() != qpdf_e_password) {
                throw;
            }
        }
    }
    return parseWith(bytes, password);
}

[[noreturn]] void rethrowAsOpenError(const std::exception& error) {
    if (isOutOfMemory(error)) {
        throw std::bad_alloc();
    }
    if (const auto* qpdf = dynamic_cast<const QPDFExc*>(&error)) {
        if (qpdf->getErrorCode() == qpdf_e_password) {
            throw PDFOpenError(PDFOpenFailure::passwordNeeded, "a password is needed");
        }
        throw PDFOpenError(PDFOpenFailure::damaged, "damaged PDF: " + qpdf->getMessageDetail());
    }
    throw PDFOpenError(PDFOpenFailure::damaged, std::string("damaged PDF: ") + error.what());
}

/// A file that needs no password opens with any; it is emptied then.
std::shared_ptr<QPDF> parseWithOrWithout(const Bytes& bytes, std::string& password) {
    try {
        return parse(bytes, password);
    } catch (const QPDFExc& error) {
        if (error.getErrorCode() != qpdf_e_password || password.empty()) {
            throw;
        }
    }
    password.clear();
    try {
        return parse(bytes, password);
    } catch (const QPDFExc& error) {
        if (error.getErrorCode() == qpdf_e_password) {
            throw PDFOpenError(PDFOpenFailure::passwordNeeded, "the password is not the right one");
        }
        throw;
    }
}

std::optional<Rect> rectangleOf(const std::array<double, 4>& corner) {
    const auto [left, right] = std::minmax(corner[0], corner[2]);
    const auto [bottom, top] = std::minmax(corner[1], corner[3]);
    const Rect rect{left, bottom, right - left, top - bottom};
    const bool usable = std::isfinite(rect.width) && std::isfinite(rect.height) && rect.width > 0 && rect.height > 0;
    return usable ? std::optional(rect) : std::nullopt;
}

std::optional<Rect> rectangle(QPDFObjectHandle array) {
    if (!array.isArray() || array.getArrayNItems() != 4) {
        return std::nullopt;
    }
    std::array<double, 4> corner{};
    for (int i = 0; i < 4; ++i) {
        if (!readNumber(array.getArrayItem(i), corner[static_cast<std::size_t>(i)])) {
            return std::nullopt;
        }
    }
    return rectangleOf(corner);
}

/// The media box among plainly spelled attributes; none where a parser may still find one.
std::optional<Rect> plainMediaBox(std::string_view attributes) {
    std::vector<TextEntry> entries;
    const bool isPlain = TextScanner(attributes).dictionary(entries);
    const auto* value = isPlain ? findEntry(entries, "/MediaBox") : nullptr;
    if (value == nullptr || value->kind != TextKind::array) {
        return std::nullopt;
    }
    TextScanner items(value->text, 1);
    std::array<double, 4> corner{};
    for (double& number : corner) {
        const auto item = items.value();
        const auto read = numberOf(item ? &*item : nullptr);
        if (!read) {
            return std::nullopt;
        }
        number = *read;
    }
    return items.rest() == "]" ? rectangleOf(corner) : std::nullopt;
}

/// The part of `a` within `b`; `b` where they do not meet.
Rect within(const Rect& a, const Rect& b) {
    const double x = std::max(a.x, b.x);
    const double y = std::max(a.y, b.y);
    const double width = std::min(a.maxX(), b.maxX()) - x;
    const double height = std::min(a.maxY(), b.maxY()) - y;
    return width > 0 && height > 0 ? Rect{x, y, width, height} : b;
}

int quarterTurns(QPDFObjectHandle value) {
    double degrees = 0;
    if (!readNumber(value, degrees) || !std::isfinite(degrees)) {
        return 0;
    }
    const double reduced = std::fmod(degrees, 360);
    return std::fmod(reduced, 90) == 0 ? (static_cast<int>(reduced) + 360) % 360 : 0;
}

} // namespace

void requireMemory(QPDF& pdf) {
    if (ranOutOfMemory(pdf)) {
        throw std::bad_alloc();
    }
}

const char* infoEntry(PDFInfoKey key) {
    switch (key) {
    case PDFInfoKey::title:
        return "/Title";
    case PDFInfoKey::author:
        return "/Author";
    case PDFInfoKey::creator:
        return "/Creator";
    case PDFInfoKey::producer:
        break;
    }
    return "/Producer";
}

QPDFObjectHandle inheritedAttribute(QPDFObjectHandle page, const std::string& key) {
    for (int depth = 0; depth < treeDepthLimit && page.isDictionary(); ++depth) {
        if (auto value = page.getKey(key); !value.isNull()) {
            return value;
        }
        page = page.getKey("/Parent");
    }
    return QPDFObjectHandle::newNull();
}

int pageRotation(const QPDFObjectHandle& page) {
    return quarterTurns(inheritedAttribute(page, "/Rotate"));
}

Rect pageBox(const QPDFObjectHandle& page, PDFDisplayBox box) {
    const Rect media = rectangle(inheritedAttribute(page, "/MediaBox")).value_or(letter);
    if (box == PDFDisplayBox::media) {
        return media;
    }
    const Rect crop = within(rectangle(inheritedAttribute(page, "/CropBox")).value_or(media), media);
    if (box == PDFDisplayBox::crop) {
        return crop;
    }
    const char* key = box == PDFDisplayBox::bleed ? "/BleedBox" : box == PDFDisplayBox::trim ? "/TrimBox" : "/ArtBox";
    return within(rectangle(QPDFObjectHandle(page).getKey(key)).value_or(crop), media);
}

std::shared_ptr<PDFSource> PDFSource::open(const Bytes& bytes, const std::string& password) {
    if (!hasHeader(bytes)) {
        throw PDFOpenError(PDFOpenFailure::notAPDF, "not a PDF");
    }
    std::shared_ptr<PDFSource> source(new PDFSource);
    try {
        source->bytes_ = bytes;
        source->password_ = password;
        source->pdf_ = parseWithOrWithout(bytes, source->password_);
        source->stored_ = std::make_unique<Stored>(bytes, *source->pdf_);
        source->pages_ = listPages(*source->pdf_, bytes, source->stored_->table);
        const bool isEncrypted = source->pdf_->isEncrypted();
        if (isEncrypted) {
            source->savedEncryption_ =
                source->password_.empty() ? PDFSavedEncryption::removed : PDFSavedEncryption::kept;
        }
        if (source->pages_.repaired || isEncrypted) {
            source->stored_.reset();
        }
        orvex::requireMemory(*source->pdf_);
    } catch (const PDFOpenError&) {
        throw;
    } catch (const std::exception& error) {
        rethrowAsOpenError(error);
    }
    source->textStates_ = std::vector<std::atomic<TextState>>(source->pages_.ids.size());
    return source;
}

PDFSource::PDFSource() : readingCache_(std::make_unique<ReadingCache>()) {}

PDFSource::~PDFSource() {
    closeInPDFium(*this);
}

void PDFSource::requireMemory() const {
    isIncomplete_ = ranOutOfMemory(*pdf_) || isIncomplete_;
    if (isIncomplete_) {
        auto fresh = reopen();
        if (pages_.repaired) {
            fresh->getAllPages();
        }
        orvex::requireMemory(*fresh);
        retired_.push_back(pdf_);
        pdf_ = std::move(fresh);
        isIncomplete_ = false;
        throw std::bad_alloc();
    }
}

Rect PDFSource::box(int page, PDFDisplayBox box) const {
    const std::lock_guard lock(mutex_);
    PageText text;
    const bool readable = readPage(page, PageTexts::Wanted::boxes, text);
    if (const auto media = readable && box == PDFDisplayBox::media ? plainMediaBox(text.attributes) : std::nullopt) {
        return *media;
    }
    const Rect found = pageBox(readable ? QPDFObjectHandle::parse(pdf_.get(), text.attributes) : this->page(page), box);
    requireMemory();
    return found;
}

bool PDFSource::readPage(int index, PageTexts::Wanted wanted, PageText& text) const {
    return stored_ && stored_->pages.read(*pdf_, pageID(index), wanted, text);
}

std::optional<int> PDFSource::knownRotation(int page) const {
    const int turns = pages_.turns.at(static_cast<std::size_t>(page));
    return turns != PageList::unknownTurn ? std::optional(turns * 90) : std::nullopt;
}

int PDFSource::rotation(int page) const {
    if (const auto known = knownRotation(page)) {
        return *known;
    }
    const std::lock_guard lock(mutex_);
    auto object = this->page(page);
    auto own = object.getKey("/Rotate");
    auto parent = object.getKey("/Parent");
    const bool isKnown = own.isNull() && parent.isIndirect() && parent.getObjGen() == lastParent_;
    const int found = isKnown ? lastParentRotation_ : own.isNull() ? pageRotation(parent) : quarterTurns(own);
    requireMemory();
    if (own.isNull() && parent.isIndirect()) { // neighbours have the same parent, and inherit the same
        lastParent_ = parent.getObjGen();
        lastParentRotation_ = found;
    }
    return found;
}

std::string PDFSource::info(PDFInfoKey key) const {
    const std::lock_guard lock(mutex_);
    auto dictionary = pdf_->getTrailer().getKey("/Info");
    auto value = dictionary.isDictionary() ? dictionary.getKey(infoEntry(key)) : QPDFObjectHandle::newNull();
    std::string text = value.isString() ? value.getUTF8Value() : std::string();
    requireMemory();
    return text;
}

bool PDFSource::hasText(int page) const {
    auto& state = textStates_.at(static_cast<std::size_t>(page));
    if (state.load() == TextState::unknown) {
        state.store(readHasText(*this, page) ? TextState::present : TextState::absent);
    }
    return state.load() == TextState::present;
}

bool PDFSource::showsFields(int page) const {
    const std::lock_guard lock(mutex_);
    const bool shows = orvex::showsFields(this->page(page));
    requireMemory();
    return shows;
}

std::shared_ptr<QPDF> PDFSource::reopen() const {
    return parse(bytes_, password_);
}

std::vector<QPDFObjectHandle> PDFSource::pagesOf(QPDF& parse) const {
    if (pages_.repaired) {
        return parse.getAllPages();
    }
    std::vector<QPDFObjectHandle> pages;
    pages.reserve(pages_.ids.size());
    for (const auto& id : pages_.ids) {
        pages.push_back(parse.getObject(id));
    }
    return pages;
}

std::optional<int> PDFSource::pageNumber(QPDFObjGen id) const {
    const std::lock_guard lock(mutex_);
    if (pageNumbers_.empty()) {
        std::vector<std::pair<QPDFObjGen, int>> numbers;
        numbers.reserve(pages_.ids.size());
        for (const auto& page : pages_.ids) {
            numbers.emplace_back(page, static_cast<int>(numbers.size()));
        }
        std::sort(numbers.begin(), numbers.end());
        pageNumbers_ = std::move(numbers);
    }
    const auto found = std::ranges::lower_bound(pageNumbers_, id, std::less<>(), &std::pair<QPDFObjGen, int>::first);
    return found != pageNumbers_.end() && found->first == id ? std::optional(found->second) : std::nullopt;
}

} // namespace orvex
