#include "Platform/PDF/Jbig2/Page_p.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace orvex::jbig2 {

namespace {

/// Segments by their types (T.88, 7.3). Regions come in threes: to be used by others, to be shown, to be shown and
/// exact.
enum Type : unsigned {
    symbolDictionary = 0,
    textRegion = 4,
    patternDictionary = 16,
    halftoneRegion = 20,
    genericRegion = 36,
    refinementRegion = 40,
    pageInformation = 48,
    endOfPage = 49,
    endOfFile = 51,
    tables = 53,
};

constexpr std::uint32_t unknown = 0xFFFFFFFF;

/// Whoever puts a whole file into a PDF leaves its header in.
constexpr std::array<std::uint8_t, 8> fileSignature = {0x97, 'J', 'B', '2', 0x0D, 0x0A, 0x1A, 0x0A};

/// A generic region that does not say how long it is ends in two bytes by its coding; the number of its rows follows.
std::span<const std::uint8_t> upToItsEnd(Reader& reader) {
    constexpr std::size_t regionBytes = 17;
    constexpr std::size_t rowsBytes = 4;
    const auto data = reader.rest();
    if (data.size() <= regionBytes) {
        throw Damage("the data end early");
    }
    const bool isFacsimile = (data[regionBytes] & 1U) != 0;
    const std::array<std::uint8_t, 2> end =
        isFacsimile ? std::array<std::uint8_t, 2>{0, 0} : std::array<std::uint8_t, 2>{0xFF, 0xAC};
    const auto found = std::search(data.begin() + regionBytes + 1, data.end(), end.begin(), end.end());
    const auto at = static_cast<std::size_t>(found - data.begin()) + end.size();
    return reader.bytes(std::min(at + rowsBytes, data.size()));
}

/// Such a region may have fewer rows than its header says.
void limitRows(std::span<const std::uint8_t> data, Size& size) {
    Reader last(data.last(4));
    size.height = std::min(size.height, std::int64_t{last.u32()});
}

} // namespace

SegmentHeader readSegmentHeader(Reader& reader) {
    SegmentHeader header;
    header.number = reader.u32();
    const unsigned flags = reader.u8();
    header.type = flags & 0x3FU;
    std::uint32_t count = reader.u8() >> 5;
    if (count == 7) {
        constexpr std::size_t rest = 3;
        count = 0;
        for (const std::uint8_t byte : reader.bytes(rest)) {
            count = count << 8 | byte;
        }
        reader.bytes((std::size_t{count} + 8) / 8);
    }
    for (; count > 0; --count) {
        header.references.push_back(header.number <= 256     ? reader.u8()
                                    : header.number <= 65536 ? reader.u16()
                                                             : reader.u32());
    }
    reader.bytes((flags & 0x40U) != 0 ? 4 : 1); // the page
    const std::uint32_t length = reader.u32();
    header.length = length == unknown ? std::nullopt : std::optional(length);
    return header;
}

void Page::read(std::span<const std::uint8_t> data, std::int64_t height) {
    height_ = height;
    Reader reader(data);
    try {
        bool isInOrder = true;
        if (data.size() > fileSignature.size() && std::ranges::equal(data.first(fileSignature.size()), fileSignature)) {
            reader.bytes(fileSignature.size());
            const unsigned flags = reader.u8();
            isInOrder = (flags & 1U) != 0;
            reader.bytes((flags & 2U) != 0 ? 0 : 4); // the number of pages
        }
        if (isInOrder) {
            readInOrder(reader);
        } else {
            readHeadersFirst(reader);
        }
    } catch (const Damage&) { // what was put together before is what there is
    }
}

void Page::readInOrder(Reader& reader) {
    while (!isOver_ && reader.left() > 0) {
        const SegmentHeader header = readSegmentHeader(reader);
        const bool isCutOff = header.length && *header.length > reader.left();
        readSegment(header,
                    !header.length ? upToItsEnd(reader) : reader.bytes(isCutOff ? reader.left() : *header.length));
    }
}

void Page::readHeadersFirst(Reader& reader) {
    std::vector<SegmentHeader> headers;
    do {
        headers.push_back(readSegmentHeader(reader));
    } while (headers.back().type != endOfFile);
    for (const SegmentHeader& header : headers) {
        if (isOver_) {
            break;
        }
        readSegment(header, header.length ? reader.bytes(*header.length) : upToItsEnd(reader));
    }
}

References Page::referencesOf(const SegmentHeader& header) const {
    std::vector<const Resource*> found;
    for (const std::uint32_t number : header.references) {
        if (const auto resource = resources_.find(number); resource != resources_.end()) {
            found.push_back(&resource->second);
        }
    }
    return References(std::move(found));
}

void Page::readSegment(const SegmentHeader& header, std::span<const std::uint8_t> data) {
    Reader reader(data);
    References references = referencesOf(header);
    switch (header.type) {
    case symbolDictionary:
        resources_[header.number] = readSymbolDictionary(reader, references, budget_);
        break;
    case patternDictionary:
        resources_[header.number] = readPatternDictionary(reader, budget_);
        break;
    case tables:
        resources_[header.number] = std::make_shared<const HuffmanTable>(HuffmanTable::read(reader, budget_));
        break;
    case pageInformation:
        begin(reader);
        break;
    case endOfPage:
    case endOfFile:
        isOver_ = isOver_ || picture_.has_value();
        break;
    default:
        readRegionSegment(header, reader, references);
    }
}

void Page::begin(Reader& reader) {
    if (picture_) {
        isOver_ = true;
        return;
    }
    const std::int64_t width = reader.u32();
    const std::uint32_t height = reader.u32();
    reader.bytes(8); // the resolution
    picture_.emplace(width, height == unknown ? height_ : std::int64_t{height}, budget_, (reader.u8() & 4U) != 0);
}

Page::Region Page::readRegion(Reader& reader) {
    Region region;
    region.size.width = reader.u32();
    region.size.height = reader.u32();
    region.x = reader.u32();
    region.y = reader.u32();
    region.combination = static_cast<Operator>(std::min(reader.u8() & 7U, 4U));
    return region;
}

Bitmap Page::refinement(Reader& reader, const Region& region, const References& references) {
    if (const BitmapPtr picture = references.picture()) {
        return readRefinementRegion(reader, region.size, *picture, budget_);
    }
    if (!picture_) {
        throw Damage("a refinement of nothing");
    }
    const auto& [width, height] = region.size;
    return readRefinementRegion(reader, region.size, picture_->part(region.x, region.y, width, height, budget_),
                                budget_);
}

void Page::readRegionSegment(const SegmentHeader& header, Reader& reader, References& references) {
    const unsigned kind = header.type & ~3U;
    const bool isShown = (header.type & 2U) != 0;
    if (kind != textRegion && kind != halftoneRegion && kind != genericRegion && kind != refinementRegion) {
        return; // profiles, colours, comments
    }
    const auto all = reader.rest();
    Region region = readRegion(reader);
    if (!header.length) {
        limitRows(all, region.size);
    }
    Bitmap bitmap = kind == textRegion       ? readTextRegion(reader, region.size, references, budget_)
                    : kind == halftoneRegion ? readHalftoneRegion(reader, region.size, references, budget_)
                    : kind == genericRegion  ? readGenericRegion(reader, region.size, budget_)
                                             : refinement(reader, region, references);
    if (!isShown) {
        resources_[header.number] = std::make_shared<const Bitmap>(std::move(bitmap));
    } else if (picture_) {
        picture_->draw(bitmap, region.x, region.y, region.combination);
    }
}

} // namespace orvex::jbig2
