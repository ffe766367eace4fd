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

// Room for the glyphs of most pages, taken at once: what is never used of it costs nothing, moving to larger room does.
constexpr std::size_t glyphsAtFirst = 16'384;

enum class Wanted { everything, firstText };

/// What reading takes of a page before its file is let go.
struct PageParts {
    std::vector<StoredStream> streams;
    QPDFObjectHandle resources;
    Rect mediaBox;
};

/// Hold the source's mutex.
PageParts partsOf(const PDFSource& source, int page, std::size_t limit) {
    PageText text;
    if (source.readPage(page, PageTexts::Wanted::boxesAndResources, text)) {
        if (auto streams = storedStreams(source, text.object, limit)) {
            auto attributes = QPDFObjectHandle::parse(&source.pdf(), text.attributes);
            return {std::move(*streams), attributes.getKey("/Resources"), pageBox(attributes, PDFDisplayBox::media)};
        }
    }
    auto object = source.page(page);
    return {storedStreams(source, object.getKey("/Contents"), limit), inheritedAttribute(object, "/Resources"),
            pageBox(object, PDFDisplayBox::media)};
}

void readGlyphs(const PDFSource& source, int page, Wanted wanted, Workspace& space) {
    space.glyphs.clear();
    const ReadingLimits limits;
    PageParts parts;
    {
        const std::lock_guard lock(source.mutex());
        parts = partsOf(source, page, limits.contentBytes);
    }
    unpack(parts.streams, limits.contentBytes, space.content);
    space.glyphs.glyphs.reserve(std::min(space.content.size() / 2, glyphsAtFirst));
    ContentResources resources(source, source.readingCache(), parts.resources);
    ContentReader reader(source, source.readingCache(), parts.mediaBox, space.glyphs);
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
