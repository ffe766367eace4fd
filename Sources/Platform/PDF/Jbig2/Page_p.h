// The page that segments put together, one after the other.
#pragma once

#include "Platform/PDF/Jbig2/Segments_p.h"

#include <optional>

namespace orvex::jbig2 {

struct SegmentHeader {
    std::uint32_t number = 0;
    unsigned type = 0;
    std::vector<std::uint32_t> references;
    std::optional<std::uint32_t> length; ///< without one the data say where they end
};
[[nodiscard]] SegmentHeader readSegmentHeader(Reader& reader);

class Page {
public:
    explicit Page(Budget& budget) : budget_(budget) {}
    /// Segments until the data or the page end. Damage ends reading too; what was there before stays. A page that does
    /// not say its height takes this one.
    void read(std::span<const std::uint8_t> data, std::int64_t height);
    /// Nothing unless there was a page.
    [[nodiscard]] const std::optional<Bitmap>& picture() const { return picture_; }

private:
    struct Region {
        Size size;
        std::int64_t x = 0;
        std::int64_t y = 0;
        Operator combination = Operator::or_;
    };
    static Region readRegion(Reader& reader);

    void readInOrder(Reader& reader);
    void readHeadersFirst(Reader& reader);
    void readSegment(const SegmentHeader& header, std::span<const std::uint8_t> data);
    void readRegionSegment(const SegmentHeader& header, Reader& reader, References& references);
    Bitmap refinement(Reader& reader, const Region& region, const References& references);
    void begin(Reader& reader);
    [[nodiscard]] References referencesOf(const SegmentHeader& header) const;

    Budget& budget_;
    std::map<std::uint32_t, Resource> resources_;
    std::optional<Bitmap> picture_;
    std::int64_t height_ = 0;
    bool isOver_ = false;
};

} // namespace orvex::jbig2
