// The choice of PNG's pixel format: grey before colour, palettes for up to 256 colours, as few bits as will do.
#include "Platform/Imaging/Png_p.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace orvex::png {
namespace {

/// Red, green, blue, alpha from the most significant byte down.
using Color = std::uint32_t;

/// Up to 256 colours with the number of each, found by open addressing.
class ColorTable {
public:
    explicit ColorTable(std::size_t most) : most_(most) {}

    /// False once there are more colours than asked for.
    bool add(Color color) {
        if (!colors_.empty() && color == last_) {
            return true;
        }
        last_ = color;
        const std::size_t slot = find(color);
        if (used_[slot]) {
            return true;
        }
        used_[slot] = true;
        slots_[slot] = color;
        colors_.push_back(color);
        return colors_.size() <= most_;
    }
    /// Sorts the colours: transparent ones first (their alpha list ends early), then by lightness, so that similar
    /// colours have similar numbers.
    void sort() {
        const auto key = [](Color c) {
            return std::tuple(c & 255, 2 * (c >> 24) + 5 * (c >> 16 & 255) + (c >> 8 & 255), c);
        };
        std::sort(colors_.begin(), colors_.end(), [&](Color a, Color b) { return key(a) < key(b); });
        for (std::size_t i = 0; i < colors_.size(); ++i) {
            index_[find(colors_[i])] = static_cast<std::uint8_t>(i);
        }
    }
    [[nodiscard]] std::uint8_t indexOf(Color color) const { return index_[find(color)]; }
    [[nodiscard]] const std::vector<Color>& colors() const { return colors_; }

private:
    static constexpr std::size_t capacity = 1024;
    [[nodiscard]] std::size_t find(Color color) const {
        std::size_t slot = (color * 2654435761u) >> 22; // multiplicative hashing to ten bits
        while (used_[slot] && slots_[slot] != color) {
            slot = (slot + 1) % capacity;
        }
        return slot;
    }

    std::array<Color, capacity> slots_{};
    std::array<bool, capacity> used_{};
    std::array<std::uint8_t, capacity> index_{};
    std::vector<Color> colors_;
    Color last_ = 0;
    std::size_t most_;
};

Color colorAt(const std::uint8_t* pixel, int channels) {
    switch (channels) {
    case 1:
        return pixel[0] * 0x01010100u | 255;
    case 2:
        return pixel[0] * 0x01010100u | pixel[1];
    case 3:
        return static_cast<Color>(pixel[0] << 24) | static_cast<Color>(pixel[1] << 16 | pixel[2] << 8 | 255);
    default:
        return bigEndian32(pixel);
    }
}

bool countColors(const Bitmap& bitmap, ColorTable& table) {
    const int channels = bitmap.channels();
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const std::uint8_t* pixel = bitmap.row(y);
        for (std::int64_t x = 0; x < bitmap.width; ++x, pixel += channels) {
            if (!table.add(colorAt(pixel, channels))) {
                return false;
            }
        }
    }
    table.sort();
    return true;
}

PackedImage imageWithoutRows(const Bitmap& bitmap, ColorType type, int depth) {
    PackedImage image;
    image.width = bitmap.width;
    image.height = bitmap.height;
    image.type = type;
    image.depth = depth;
    image.colorSpace = bitmap.colorSpace;
    image.rowBytes = Bitmap::tightBytesPerRow(bitmap.width, static_cast<int>(image.channels()), depth);
    return image;
}

PackedImage emptyImage(const Bitmap& bitmap, ColorType type, int depth) {
    PackedImage image = imageWithoutRows(bitmap, type, depth);
    image.packed.resize(image.rowBytes * static_cast<std::size_t>(bitmap.height));
    image.stride = image.rowBytes;
    image.first = image.packed.data();
    return image;
}

/// Each pixel through `valueOf`, packed to the image's depth.
template <class ValueOf> void packSmall(const Bitmap& bitmap, PackedImage& image, ValueOf valueOf) {
    const int channels = bitmap.channels();
    std::uint8_t* target = image.packed.data();
    for (std::int64_t y = 0; y < bitmap.height; ++y, target += image.rowBytes) {
        const std::uint8_t* pixel = bitmap.row(y);
        for (std::int64_t x = 0; x < bitmap.width; ++x, pixel += channels) {
            const std::int64_t bit = x * image.depth;
            const int shift = 8 - image.depth - static_cast<int>(bit & 7);
            target[bit >> 3] = static_cast<std::uint8_t>(target[bit >> 3] | valueOf(pixel) << shift);
        }
    }
}

int bitsForCount(std::size_t count) {
    return count <= 2 ? 1 : count <= 4 ? 2 : count <= 16 ? 4 : 8;
}

PackedImage packPalette(const Bitmap& bitmap, const ColorTable& table) {
    PackedImage image = emptyImage(bitmap, ColorType::palette, bitsForCount(table.colors().size()));
    image.colorSpace.model = ColorModel::rgb;
    for (const Color color : table.colors()) {
        for (const int shift : {24, 16, 8}) {
            image.palette.push_back(static_cast<std::uint8_t>(color >> shift));
        }
        if ((color & 255) != 255) {
            image.transparency.push_back(static_cast<std::uint8_t>(color));
        }
    }
    const int channels = bitmap.channels();
    packSmall(bitmap, image, [&](const std::uint8_t* pixel) { return table.indexOf(colorAt(pixel, channels)); });
    return image;
}

/// Fewest bits whose grey levels include all of these; 8 when there are others.
int bitsForLevels(const std::vector<Color>& colors) {
    for (const int bits : {1, 2, 4}) {
        const Color step = 255 / ((1u << bits) - 1);
        if (std::all_of(colors.begin(), colors.end(), [step](Color color) { return (color >> 24) % step == 0; })) {
            return bits;
        }
    }
    return 8;
}

PackedImage packGray(const Bitmap& bitmap, const ColorTable& table) {
    const int bits = bitsForLevels(table.colors());
    // A palette's colours are RGB: a grey profile would not fit them.
    if (bitmap.colorSpace.iccProfile.empty() && bitsForCount(table.colors().size()) < bits) {
        return packPalette(bitmap, table);
    }
    if (bits == 8) {
        return packAsIs(bitmap);
    }
    PackedImage image = emptyImage(bitmap, ColorType::gray, bits);
    packSmall(bitmap, image, [bits](const std::uint8_t* pixel) { return *pixel >> (8 - bits); });
    return image;
}

PackedImage packBytes(const Bitmap& bitmap) {
    // More than sixteen levels of grey take a byte anyway.
    ColorTable table(bitmap.channels() == 1 ? 16 : 256);
    if (!countColors(bitmap, table)) {
        return packAsIs(bitmap);
    }
    if (bitmap.channels() == 1) {
        return packGray(bitmap, table);
    }
    const bool fits = bitmap.colorSpace.model == ColorModel::rgb || bitmap.colorSpace.iccProfile.empty();
    return fits ? packPalette(bitmap, table) : packAsIs(bitmap);
}

} // namespace

std::size_t PackedImage::channels() const {
    return static_cast<std::size_t>(channelsOf(type));
}

PackedImage packForPNG(const Bitmap& bitmap) {
    Simplified simplified(bitmap);
    simplified.apply(withoutUnusedDepth).apply(withoutUnusedAlpha).apply(withoutUnusedColor);
    const Bitmap& simple = simplified.bitmap();
    PackedImage image = simple.bitsPerComponent == 8 ? packBytes(simple) : packAsIs(simple);
    if (&simple != &bitmap) {
        image.simplified = simplified.take();
    }
    return image;
}

PackedImage packAsIs(const Bitmap& bitmap) {
    const bool alpha = bitmap.alpha != Alpha::none;
    const ColorType type = bitmap.colorSpace.model == ColorModel::gray
                               ? (alpha ? ColorType::grayAlpha : ColorType::gray)
                               : (alpha ? ColorType::rgbAlpha : ColorType::rgb);
    if (bitmap.bitsPerComponent == 16 && std::endian::native == std::endian::little) {
        PackedImage image = emptyImage(bitmap, type, 16);
        for (std::int64_t y = 0; y < bitmap.height; ++y) {
            const std::uint8_t* source = bitmap.row(y);
            std::uint8_t* target = image.packed.data() + static_cast<std::size_t>(y) * image.rowBytes;
            for (std::size_t i = 0; i + 1 < image.rowBytes; i += 2) {
                target[i] = source[i + 1];
                target[i + 1] = source[i];
            }
        }
        return image;
    }
    PackedImage image = imageWithoutRows(bitmap, type, bitmap.bitsPerComponent);
    image.stride = bitmap.bytesPerRow;
    image.first = bitmap.samples.data();
    return image;
}

} // namespace orvex::png
