#include "Platform/PDF/Reading/PageText_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Reading/ContentReader_p.h"
#include "Platform/PDF/Reading/TextLines_p.h"

#include <algorithm>

namespace orvex {

namespace {

/// What a thread uses again from page to page.
struct Workspace {
    ContentBuffer content;
    PageGlyphs glyphs;
};

Workspace& workspace() {
    thread_local Workspace own;
    return own;
}

// A page with more content is rare: the room that one took is given back.
constexpr std::size_t keptContent = std::size_t{8} << 20;

enum class Wanted { everything, firstText };

void readGlyphs(const PDFSource& source, int page, Wanted wanted, Workspace& space) {
    space.glyphs.clear();
    const ReadingLimits limits;
    std::vector<StoredStream> streams;
    QPDFObjectHandle dictionary;
    Rect mediaBox;
    {
        const std::lock_guard lock(source.mutex());
        auto object = source.page(page);
        streams = storedStreams(source, object.getKey("/Contents"), limits.contentBytes);
        dictionary = inheritedAttribute(object, "/Resources");
        mediaBox = pageBox(object, PDFDisplayBox::media);
    }
    unpack(streams, limits.contentBytes, space.content);
    ContentResources resources(source, source.readingCache(), dictionary);
    ContentReader reader(source, source.readingCache(), mediaBox, space.glyphs);
    if (wanted == Wanted::firstText) {
        reader.stopAtFirstText();
    }
    reader.read(space.content, resources);
    if (space.content.size() > keptContent) {
        space.content = {};
    }
}

} // namespace

std::vector<TextLine> readTextLines(const PDFSource& source, int page) {
    Workspace& space = workspace();
    readGlyphs(source, page, Wanted::everything, space);
    return makeLines(space.glyphs);
}

bool readHasText(const PDFSource& source, int page) {
    Workspace& space = workspace();
    readGlyphs(source, page, Wanted::firstText, space);
    return std::ranges::any_of(space.glyphs.glyphs,
                               [](const Glyph& glyph) { return !trimWhitespaceAndNewlines(glyph.text).empty(); });
}

} // namespace orvex
