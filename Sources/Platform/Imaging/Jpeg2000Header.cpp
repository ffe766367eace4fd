// JPEG 2000 around its codestream: the boxes of a JP2 file, read and written, and the codestream's first markers.
#include "Platform/Imaging/ImagingModule_p.h"
#include "Platform/Imaging/Jpeg2000_p.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace orvex {
namespace jpeg2000 {
namespace {

using Data = std::span<const std::uint8_t>;

[[noreturn]] void throwTruncated() {
    throw ImageError("truncated JPEG 2000 data");
}

[[noreturn]] void throwDamaged(const char* what) {
    throw ImageError("damaged JPEG 2000 data (" + std::string(what) + ")");
}

/// Calls `visit` with type and contents of each box; a last one that is cut off comes as far as it goes.
template <class Visit> void forEachBox(Data data, Visit visit) {
    constexpr std::size_t shortHeader = 8;
    constexpr std::size_t longHeader = 16;
    while (data.size() >= shortHeader) {
        std::uint64_t length = bigEndian32(data.data());
        std::size_t start = shortHeader;
        if (length == 1 && data.size() >= longHeader) {
            length = std::uint64_t{bigEndian32(&data[8])} << 32 | bigEndian32(&data[12]);
            start = longHeader;
        }
        length = length == 0 ? data.size() : length;
        if (length < start) {
            throwDamaged("bad box");
        }
        const auto whole = static_cast<std::size_t>(std::min<std::uint64_t>(length, data.size()));
        visit(std::string_view(reinterpret_cast<const char*>(&data[4]), 4), data.subspan(start, whole - start));
        data = data.subspan(whole);
    }
}

/// What the colour, palette and channel boxes add up to.
struct Boxes {
    Header header;
    int colors = 0;             ///< as the colour box says; 0: it does not say
    std::size_t components = 0; ///< of the codestream
    std::size_t channels = 0;   ///< what they become: as many, or what a palette gives
    bool alpha = false;
};

int colorsOfProfile(const Bytes& profile) {
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb, ColorModel::cmyk}) {
        if (isProfileFor(profile, model)) {
            return ColorSpace{model, {}, 0}.components();
        }
    }
    return 0;
}

void readColor(Data box, Boxes& boxes) {
    constexpr std::size_t fixed = 3;
    if (box.size() < fixed + 1 || boxes.colors != 0) {
        return; // the first colour box that is understood counts
    }
    if (box[0] == 2) {
        const Bytes profile = Bytes::copyOf(box.subspan(fixed));
        boxes.colors = colorsOfProfile(profile);
        boxes.header.info.colorSpace.iccProfile = boxes.colors == 0 ? Bytes{} : profile;
    } else if (box[0] == 1 && box.size() >= fixed + 4) {
        const std::uint32_t space = bigEndian32(&box[fixed]);
        constexpr std::uint32_t inks = 12;
        constexpr std::uint32_t standard = 16;
        constexpr std::uint32_t gray = 17;
        constexpr std::uint32_t differences = 18;
        boxes.header.luminanceFirst = space == differences;
        boxes.colors = space == gray ? 1 : space == standard || space == differences ? 3 : space == inks ? 4 : 0;
    }
}

void readChannels(Data box, Boxes& boxes) {
    constexpr std::size_t entry = 6;
    for (std::size_t at = 2; at + entry <= box.size(); at += entry) {
        const std::uint32_t kind = bigEndian16(&box[at + 2]);
        boxes.alpha = boxes.alpha || kind == 1 || kind == 2;
        boxes.header.premultiplied = boxes.header.premultiplied || kind == 2;
    }
}

void readResolution(Data box, ImageInfo& info) {
    if (box.size() < 10) {
        return;
    }
    const auto perInch = [](const std::uint8_t* fraction, std::uint8_t exponent) {
        constexpr double metresPerInch = 0.0254;
        const double value = static_cast<double>(bigEndian16(fraction)) / bigEndian16(fraction + 2) *
                             std::pow(10, static_cast<std::int8_t>(exponent)) * metresPerInch;
        return std::round(value * 1e4) / 1e4; // more decimals than any device has
    };
    info.dpiX = usableDPI(perInch(&box[4], box[9]));
    info.dpiY = usableDPI(perInch(&box[0], box[8]), info.dpiX);
}

void readHeaderBoxes(Data data, Boxes& boxes) {
    forEachBox(data, [&](std::string_view type, Data box) {
        if (type == "colr") {
            readColor(box, boxes);
        } else if (type == "cdef") {
            readChannels(box, boxes);
        } else if (type == "pclr" && box.size() >= 3) {
            boxes.channels = box[2];
            boxes.header.info.palette = true;
        } else if (type == "res ") {
            forEachBox(box, [&](std::string_view, Data resolution) { readResolution(resolution, boxes.header.info); });
        }
    });
}

/// The codestream opens with SOC and SIZ. Its numbers count: what the header box says is not looked at.
void readSize(Boxes& boxes) {
    constexpr std::size_t fixed = 42;
    const Data data = boxes.header.codestream;
    ImageInfo& info = boxes.header.info;
    if (data.size() < fixed || bigEndian32(data.data()) != 0xFF4FFF51) {
        throwTruncated();
    }
    boxes.components = bigEndian16(&data[40]);
    if (boxes.components == 0 || data.size() < fixed + 3 * boxes.components) {
        throwTruncated();
    }
    int depth = 0;
    for (std::size_t i = 0; i < boxes.components; ++i) {
        const std::uint8_t* component = &data[fixed + 3 * i];
        const auto side = [&](std::size_t end, std::size_t start, std::int64_t step) {
            if (step == 0) {
                throwDamaged("bad sampling");
            }
            const auto scaled = [step](std::int64_t at) { return (at + step - 1) / step; };
            return scaled(bigEndian32(&data[end])) - scaled(bigEndian32(&data[start]));
        };
        depth = std::max(depth, (component[0] & 0x7F) + 1);
        info.width = std::max(info.width, side(8, 16, component[1]));
        info.height = std::max(info.height, side(12, 20, component[2]));
    }
    info.bitsPerComponent = depth <= 8 || info.palette ? 8 : 16;
    boxes.channels = boxes.channels == 0 ? boxes.components : boxes.channels;
}

/// Channels that nothing says anything about: two are grey with alpha, four RGB with alpha, as viewers take them.
void settleChannels(Boxes& boxes) {
    ImageInfo& info = boxes.header.info;
    const int channels = static_cast<int>(boxes.channels);
    if (boxes.colors == 0 || boxes.colors > channels) {
        boxes.colors = channels <= 2 ? 1 : 3;
        boxes.header.luminanceFirst = false;
    }
    info.colorSpace.model = boxes.colors == 1   ? ColorModel::gray
                            : boxes.colors == 3 ? ColorModel::rgb
                                                : ColorModel::cmyk;
    info.alpha =
        channels > boxes.colors && (boxes.alpha || channels == boxes.colors + 1) ? Alpha::straight : Alpha::none;
}

/// Decoders keep every sample of every component in four bytes, twice over.
void requireAffordable(const Boxes& boxes) {
    constexpr int decodedBits = 64;
    const auto channels = static_cast<int>(std::max(boxes.channels, boxes.components));
    requireDecodable(boxes.header.info.width, boxes.header.info.height, channels, decodedBits);
}

} // namespace

Header readHeader(const Bytes& data) {
    Boxes boxes;
    boxes.header.info.format = ImageFormat::jpeg2000;
    boxes.header.boxed = data.span()[0] != 0xFF;
    if (!boxes.header.boxed) {
        boxes.header.codestream = data.span();
    } else {
        forEachBox(data.span(), [&](std::string_view type, Data box) {
            if (type == "jp2h") {
                readHeaderBoxes(box, boxes);
            } else if (type == "jp2c" && boxes.header.codestream.empty()) {
                boxes.header.codestream = box;
            }
        });
    }
    readSize(boxes);
    settleChannels(boxes);
    requireAffordable(boxes);
    return boxes.header;
}

ImageInfo readInfo(const Bytes& data) {
    return readHeader(data).info;
}

void verify(const Bytes& data) {
    constexpr std::uint32_t startOfTilePart = 0xFF90;
    constexpr std::size_t tilePartHeader = 12;
    const Data codestream = readHeader(data).codestream;
    std::size_t at = 2;
    std::size_t tileParts = 0;
    while (at + 4 <= codestream.size()) {
        const std::uint32_t marker = bigEndian16(&codestream[at]);
        if (marker != startOfTilePart) {
            if (tileParts > 0) {
                break; // what stands behind the tiles is not looked at
            }
            at += 2 + bigEndian16(&codestream[at + 2]);
            continue;
        }
        if (at + tilePartHeader > codestream.size()) {
            throwTruncated();
        }
        const std::size_t length = bigEndian32(&codestream[at + 6]);
        ++tileParts;
        at = length == 0 ? codestream.size() : at + std::max(length, tilePartHeader); // 0: up to the end
    }
    const auto field = [&](std::size_t offset) { return std::uint64_t{bigEndian32(&codestream[offset])}; };
    const auto tiles = [&](std::size_t end, std::size_t start, std::size_t side) {
        return field(side) == 0 ? 1 : (field(end) - std::min(field(end), field(start)) + field(side) - 1) / field(side);
    };
    if (at > codestream.size() || tileParts < tiles(8, 32, 24) * tiles(12, 36, 28)) {
        throwTruncated();
    }
}

namespace {

class BoxWriter {
public:
    void put(std::string_view text) { bytes_ += text; }
    void put(Data data) { bytes_.append(data.begin(), data.end()); }
    void put(std::uint64_t value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
            bytes_.push_back(static_cast<char>(value >> shift));
        }
    }
    template <class Fill> void box(std::string_view type, Fill fill) {
        const std::size_t start = bytes_.size();
        put(0, 4);
        put(type);
        fill();
        const std::size_t length = bytes_.size() - start;
        for (std::size_t i = 0; i < 4; ++i) {
            bytes_[start + i] = static_cast<char>(length >> (24 - 8 * i));
        }
    }
    [[nodiscard]] Bytes take() { return Bytes(std::move(bytes_)); }

private:
    std::string bytes_;
};

void writeColor(BoxWriter& writer, const ColorSpace& space) {
    const bool profiled = isProfileFor(space.iccProfile, space.model);
    writer.box("colr", [&] {
        writer.put(profiled ? 0x020000 : 0x010000, 3);
        if (profiled) {
            writer.put(space.iccProfile.span());
        } else {
            writer.put(space.model == ColorModel::gray ? 17 : 16, 4);
        }
    });
}

void writeChannels(BoxWriter& writer, int colors) {
    writer.box("cdef", [&] {
        writer.put(static_cast<std::uint64_t>(colors) + 1, 2);
        for (int i = 0; i < colors; ++i) {
            writer.put(static_cast<std::uint64_t>(i), 2);
            writer.put(0, 2); // a colour, and which
            writer.put(static_cast<std::uint64_t>(i) + 1, 2);
        }
        writer.put(static_cast<std::uint64_t>(colors), 2);
        writer.put(0x00010000, 4); // opacity of the whole
    });
}

void writeResolution(BoxWriter& writer, double dpiX, double dpiY) {
    // As fractions of 254 times a power of ten: hundredths of a dpi stay exact up to 655 dpi.
    const auto write = [&](double dpi) {
        std::uint64_t exponent = 2;
        double count = std::round(usableDPI(dpi) * 100);
        for (; count > 65535 && exponent < 100; ++exponent) {
            count = std::round(count / 10);
        }
        writer.put(static_cast<std::uint64_t>(std::max(count, 1.0)), 2);
        writer.put(254, 2);
        return exponent;
    };
    writer.box("res ", [&] {
        writer.box("resc", [&] {
            const std::uint64_t down = write(dpiY);
            const std::uint64_t across = write(dpiX);
            writer.put(down, 1);
            writer.put(across, 1);
        });
    });
}

Bytes wrapped(Data codestream, const Bitmap& bitmap, const JPEGOptions& options) {
    BoxWriter writer;
    writer.put(std::string_view("\0\0\0\x0CjP  \r\n\x87\n\0\0\0\x14"
                                "ftypjp2 \0\0\0\0jp2 ",
                                32));
    writer.box("jp2h", [&] {
        writer.box("ihdr", [&] {
            writer.put(static_cast<std::uint64_t>(bitmap.height), 4);
            writer.put(static_cast<std::uint64_t>(bitmap.width), 4);
            writer.put(static_cast<std::uint64_t>(bitmap.channels()), 2);
            writer.put(static_cast<std::uint64_t>(bitmap.bitsPerComponent) - 1, 1);
            writer.put(0x070000, 3); // the one compression there is; the colour space is known
        });
        writeColor(writer, bitmap.colorSpace);
        if (bitmap.alpha != Alpha::none) {
            writeChannels(writer, bitmap.colorSpace.components());
        }
        writeResolution(writer, options.dpiX, options.dpiY);
    });
    writer.box("jp2c", [&] { writer.put(codestream); });
    return writer.take();
}

/// Files of this kind know no inks, and no mere gamma.
std::optional<Bitmap> asSRGBUnlessPlain(const Bitmap& bitmap) {
    const ColorSpace& space = bitmap.colorSpace;
    const bool plain = space.model != ColorModel::cmyk && (space.gamma == 0 || !space.iccProfile.empty());
    return plain ? std::nullopt : std::optional(convertToSRGB(bitmap));
}

std::optional<Bitmap> bitsAsBytes(const Bitmap& bitmap) {
    return bitmap.bitsPerComponent == 1 ? asBytes(bitmap) : std::nullopt;
}

} // namespace
} // namespace jpeg2000

std::optional<Bytes> encodeJPEG2000(const Bitmap& bitmap, const JPEGOptions& options) {
    Simplified simplified(bitmap);
    simplified.apply(jpeg2000::asSRGBUnlessPlain)
        .apply(jpeg2000::bitsAsBytes)
        .apply(withoutUnusedAlpha)
        .apply(withoutUnusedColor);
    const auto codestream = imagingModule().encodeJPEG2000(simplified.bitmap(), options.quality);
    return codestream ? std::optional(jpeg2000::wrapped(*codestream, simplified.bitmap(), options)) : std::nullopt;
}

} // namespace orvex
