// What the samples and profiles of TIFF pages mean, and their way into a bitmap; the library that decompresses them is
// not known here.
#pragma once

#include "Platform/Imaging/Codecs_p.h"

#include <array>
#include <span>
#include <vector>

namespace orvex::tiff {

struct Layout {
    int bits = 1;
    std::size_t samples = 1; ///< per pixel
    std::uint16_t photometric = 0;
    bool indexed = false;
    bool whiteIsZero = false;
    bool separate = false; ///< one plane after the other
    bool tiled = false;
    bool alpha = false;
    bool premultiplied = false;
    bool viaRGBA = false; ///< left to the library's own conversion
    std::array<std::array<std::uint8_t, 3>, 256> palette{};
};

/// Pages of one file often point to the same colour profile, which may be megabytes: each is kept once.
class Profiles {
public:
    explicit Profiles(std::size_t fileSize) : room_(fileSize) {}
    /// A copy, or one made before. Throws ImageError when there are more different ones than the file has room for.
    [[nodiscard]] Bytes kept(std::span<const std::uint8_t> profile);

private:
    std::size_t room_;
    std::vector<Bytes> known_;
};

/// Puts decoded rows of a strip or tile into the rows of a bitmap.
class RowConverter {
public:
    RowConverter(const Layout& layout, Bitmap& bitmap) : layout_(layout), bitmap_(bitmap) {}

    /// How many planes of a picture with separate planes the bitmap holds; 1 for interleaved samples and for indices.
    [[nodiscard]] std::size_t planes() const;
    /// `source` holds `count` pixels that belong at (x, y); with separate planes only samples of `plane`.
    void put(const std::uint8_t* source, std::int64_t x, std::int64_t y, std::int64_t count, std::size_t plane);

private:
    void putBits(const std::uint8_t* source, std::uint8_t* target, std::int64_t count) const;
    void putIndexed(const std::uint8_t* source, std::uint8_t* target, std::int64_t count) const;
    template <class Sample>
    void putSamples(const std::uint8_t* source, std::uint8_t* row, std::int64_t x, std::int64_t count,
                    std::size_t plane) const;
    template <class Sample> [[nodiscard]] Sample read(const std::uint8_t* source, std::size_t index) const;
    [[nodiscard]] std::uint32_t smallSample(const std::uint8_t* source, std::size_t index) const;

    const Layout& layout_;
    Bitmap& bitmap_;
};

} // namespace orvex::tiff
