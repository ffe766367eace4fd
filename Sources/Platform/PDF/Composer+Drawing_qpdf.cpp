// What pages draw, and how it gets into the file.
#include "Platform/Foundation/Workers.h"
#include "Platform/Imaging/Deflate.h"
#include "Platform/PDF/Composer_p.h"
#include "Platform/PDF/ContentBalance_p.h"
#include "Platform/PDF/FieldAppearances_p.h"
#include "Platform/PDF/FormAppearances_p.h"
#include "Platform/PDF/Saving/PageTree_p.h"
#include "Platform/PDF/Saving/Pictures_p.h"

#include <algorithm>

namespace orvex {

namespace {

QPDFObjectHandle copyOfDictionary(QPDFObjectHandle value) {
    return value.isDictionary() ? value.shallowCopy() : QPDFObjectHandle::newDictionary();
}

/// A start of names that no resource of the page has yet.
std::string freePrefix(QPDFObjectHandle page) {
    auto resources = inheritedAttribute(page, "/Resources");
    const auto isTaken = [&resources](const std::string& prefix) {
        const auto categories = {"/Font", "/ExtGState", "/XObject"};
        return resources.isDictionary() && std::ranges::any_of(categories, [&](const char* category) {
                   auto entries = resources.getKey(category);
                   return entries.isDictionary() && std::ranges::any_of(entries.getKeys(), [&](const auto& key) {
                              return key.starts_with("/" + prefix);
                          });
               });
    };
    std::string prefix = "Orvex";
    for (int i = 1; isTaken(prefix); ++i) {
        prefix = "Orvex" + std::to_string(i) + "x";
    }
    return prefix;
}

QPDFObjectHandle rectangleArray(const Rect& rect) {
    return QPDFObjectHandle::newArray(QPDFObjectHandle::Rectangle(rect.x, rect.y, rect.maxX(), rect.maxY()));
}

} // namespace

/// Not too many at a time: what was drawn is kept until it is compressed. The first pages, which need most of the new
/// characters, a few at a time.
void Composer::drawPages() {
    constexpr std::size_t most = 128;
    for (std::size_t first = 0; first < pages_.size();) {
        const std::size_t count = std::min({pages_.size() - first, first + 1, most});
        drawPages(first, count);
        first += count;
    }
}

void Composer::drawPages(std::size_t first, std::size_t count) {
    std::vector<std::unique_ptr<ContentStreamContext>> drawn(count);
    std::vector<std::size_t> aside;
    std::vector<bool> wasKept(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (isDrawnAside(*pages_[first + i])) {
            wasKept[i] = document_.isKept(objects_[first + i]);
            releasePage(document_, objects_[first + i]);
            drawn[i] = std::make_unique<ContentStreamContext>(
                invisible_, outlines_, [prefix = freePrefix(objects_[first + i])] { return prefix; });
            aside.push_back(i);
        }
    }
    forEachInParallel(aside.size(),
                      [&](std::size_t i) { pages_[first + aside[i]]->draw(PDFDisplayBox::media, *drawn[aside[i]]); });
    for (std::size_t i = 0; i < count; ++i) {
        if (wasKept[i] && !drawn[i]->drewAnything()) {
            document_.kept->keepAgain(objects_[first + i].getObjGen());
        } else if (const auto finished = std::move(drawn[i])) {
            finishPage(*pages_[first + i], objects_[first + i], *finished);
        } else {
            drawPage(*pages_[first + i], objects_[first + i]);
        }
    }
}

/// A page whose file is locked here cannot be asked for anything on other threads.
bool Composer::isDrawnAside(const PDFPage& page) const {
    const auto* loaded = placeInFile(page);
    return page.isDrawnBesideOthers() && (loaded == nullptr || !lockedSources_.contains(loaded->source)) &&
           picturedPage(page) == nullptr;
}

void Composer::drawPage(PDFPage& page, QPDFObjectHandle object) {
    if (const auto* pictured = picturedPage(page)) {
        becomePicture(object, pictured->rotation, page.bounds(PDFDisplayBox::media).size());
    }
    // A page on which nothing is drawn is not looked into.
    ContentStreamContext context(invisible_, outlines_, [this, object] {
        releasePage(document_, object);
        return freePrefix(object);
    });
    page.draw(PDFDisplayBox::media, context);
    if (document_.isKept(object) && !context.drewAnything()) {
        return;
    }
    releasePage(document_, object);
    finishPage(page, object, context);
}

void Composer::finishPage(const PDFPage& page, QPDFObjectHandle object, ContentStreamContext& drawn) {
    drawn.finish();
    if (page.rotation() != pageRotation(object)) {
        object.replaceKey("/Rotate", QPDFObjectHandle::newInteger(page.rotation()));
    }
    if (!std::holds_alternative<LoadedPageContent>(page.content())) {
        finishOwnPage(page, object, drawn);
    } else if (drawn.drewAnything()) {
        finishLoadedPage(object, drawn);
    }
}

void Composer::finishLoadedPage(QPDFObjectHandle object, const ContentStreamContext& drawn) {
    surroundContent(object, drawn.before(), drawn.after());
    addResources(object, drawn.resources());
}

void Composer::surroundContent(QPDFObjectHandle object, const std::string& before, const std::string& after) {
    ContentBalance balance = measureBalance(joinedContent(object));
    if (balance.unterminated) {
        wrapContent(object);
        balance = {};
    }
    auto contents = QPDFObjectHandle::newArray();
    contents.appendItem(contents_.stream(balance.opening() + before));
    auto own = object.getKey("/Contents");
    for (auto& stream : own.isArray() ? own.getArrayAsVector() : std::vector<QPDFObjectHandle>{own}) {
        if (stream.isStream()) {
            contents.appendItem(stream);
        }
    }
    contents.appendItem(contents_.stream(balance.closing() + after));
    object.replaceKey("/Contents", contents);
}

/// Content that ends inside a token would swallow what follows: as a form it ends where it ends.
void Composer::wrapContent(QPDFObjectHandle object) {
    const Bytes content = Bytes::copyOf(joinedContent(object));
    auto form = QPDFObjectHandle::newStream(target_.get(), std::string(deflate(content.span()).text()));
    form.setFilterOnWrite(false);
    auto dictionary = form.getDict();
    dictionary.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dictionary.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    dictionary.replaceKey("/Filter", QPDFObjectHandle::newName("/FlateDecode"));
    dictionary.replaceKey("/BBox", rectangleArray(pageBox(object, PDFDisplayBox::media)));
    dictionary.replaceKey("/Resources", inheritedAttribute(object, "/Resources"));
    auto resources = QPDFObjectHandle::parse("<< /XObject << >> >>");
    resources.getKey("/XObject").replaceKey("/OrvexContent", form);
    object.replaceKey("/Resources", resources);
    object.replaceKey("/Contents", contents_.stream("/OrvexContent Do\n"));
}

void Composer::finishOwnPage(const PDFPage& page, QPDFObjectHandle object, const ContentStreamContext& drawn) {
    const Rect media = page.bounds(PDFDisplayBox::media);
    object.replaceKey("/MediaBox", rectangleArray(media));
    auto resources = QPDFObjectHandle::newDictionary();
    std::string placement;
    if (std::holds_alternative<ImagePageContent>(page.content())) {
        auto images = QPDFObjectHandle::newDictionary();
        images.replaceKey("/Im0", images_.object(page.imageStream()));
        resources.replaceKey("/XObject", images);
        placement = "q\n";
        appendNumber(placement, media.width);
        placement += " 0 0 ";
        appendNumber(placement, media.height);
        placement += " 0 0 cm\n/Im0 Do\nQ\n";
    }
    object.replaceKey("/Resources", resources);
    const std::string operators = drawn.drewAnything() ? drawn.before() + placement + drawn.after() : placement;
    object.replaceKey("/Contents", contents_.stream(operators));
    if (drawn.drewAnything()) {
        addResources(object, drawn.resources());
    }
}

void Composer::addResources(QPDFObjectHandle page, const DrawnResources& drawn) {
    auto resources = copyOfDictionary(inheritedAttribute(page, "/Resources"));
    auto fonts = copyOfDictionary(resources.getKey("/Font"));
    const auto reserved = [this](QPDFObjectHandle& object) {
        if (!object.isInitialized()) {
            object = QPDFObjectHandle::newReserved(target_.get());
        }
        return object;
    };
    if (!drawn.invisibleFont.empty()) {
        fonts.replaceKey("/" + drawn.invisibleFont, reserved(invisibleObject_));
    }
    for (const auto& [face, name] : drawn.faces) {
        fonts.replaceKey("/" + name, reserved(faceObjects_[face]));
    }
    resources.replaceKey("/Font", fonts);
    if (!drawn.alphas.empty()) {
        auto states = copyOfDictionary(resources.getKey("/ExtGState"));
        for (const auto& [alpha, name] : drawn.alphas) {
            states.replaceKey("/" + name, alphaState(alpha));
        }
        resources.replaceKey("/ExtGState", states);
    }
    page.replaceKey("/Resources", resources);
}

QPDFObjectHandle Composer::alphaState(double alpha) {
    auto& object = alphaStates_[alpha];
    if (!object.isInitialized()) {
        object = target_->makeIndirectObject(QPDFObjectHandle::parse("<< /Type /ExtGState >>"));
        object.replaceKey("/ca", QPDFObjectHandle::newReal(alpha, 6));
    }
    return object;
}

/// Only now is it known which characters and glyphs the pages show.
void Composer::makeFonts() {
    if (invisibleObject_.isInitialized()) {
        target_->replaceReserved(invisibleObject_, invisible_.makeObject(*target_).unsafeShallowCopy());
    }
    for (auto& [face, object] : outlines_.makeObjects(*target_)) {
        target_->replaceReserved(faceObjects_.at(face), object.unsafeShallowCopy());
    }
}

void Composer::showMediaBoxes() {
    for (auto& page : objects_) {
        page.replaceKey("/CropBox", rectangleArray(pageBox(page, PDFDisplayBox::media)));
    }
}

void Composer::showFields() {
    makeMissingAppearances(document_);
    for (auto& page : objects_) {
        if (orvex::showsFields(page)) {
            surroundContent(page, "q\n", "Q\n"); // may change the page's resources, so it goes first
            page.getKey("/Contents").appendItem(contents_.stream(takeFieldAppearances(page)));
        }
    }
}

} // namespace orvex
