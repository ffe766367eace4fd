// libtiff. Messages stay here: the first error becomes the ImageError's reason. Samples are read raw where we know
// their meaning (bilevel, grey, palette, RGB, CMYK) and through libtiff's own RGBA conversion elsewhere (YCbCr, Lab).
#include "Platform/Imaging/ImagingModule_p.h"
#include "Platform/Imaging/Tiff_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include <tiffio.h>

namespace orvex::tiff {
namespace {

constexpr tmsize_t largestAllocation = tmsize_t{512} << 20;
constexpr int mostPages = 65535;

/// An open file in memory. libtiff reads through the mapping, so that no offset of a lying tag leaves the buffer.
class File {
public:
    explicit File(Bytes data) : data_(std::move(data)) {
        const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                       &TIFFOpenOptionsFree);
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), largestAllocation);
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
        tiff_ = TIFFClientOpenExt("image", "r", this, read, write, seek, close, size, map, unmap, options.get());
        if (!tiff_) {
            fail();
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (tiff_) {
            TIFFClose(tiff_);
        }
    }

    operator TIFF*() const { return tiff_; } // NOLINT(google-explicit-constructor): stands for it in libtiff's calls
    [[nodiscard]] const std::string& message() const { return message_; }
    /// A fax strip that ended before its last row: libtiff only warns and leaves rows white.
    [[nodiscard]] bool stoppedEarly() const { return stoppedEarly_; }
    [[noreturn]] void fail() const {
        throw ImageError("damaged TIFF data (" + (message_.empty() ? "unreadable" : message_) + ")");
    }
    template <class Value> [[nodiscard]] Value get(std::uint32_t tag, Value fallback) const {
        Value value = fallback;
        return TIFFGetFieldDefaulted(tiff_, tag, &value) == 1 ? value : fallback;
    }

private:
    static File& self(thandle_t handle) { return *static_cast<File*>(handle); }
    static tmsize_t read(thandle_t handle, void* target, tmsize_t count) {
        File& file = self(handle);
        const Bytes part = file.data_.slice(file.offset_, static_cast<std::size_t>(count));
        std::copy(part.span().begin(), part.span().end(), static_cast<std::uint8_t*>(target));
        file.offset_ += part.size();
        return static_cast<tmsize_t>(part.size());
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        File& file = self(handle);
        const toff_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.offset_ : file.data_.size();
        file.offset_ = static_cast<std::size_t>(std::min<toff_t>(base + offset, file.data_.size()));
        return file.offset_;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) { return self(handle).data_.size(); }
    static int map(thandle_t handle, void** base, toff_t* size) {
        // libtiff wants a mutable pointer and never writes through it when reading.
        *base = const_cast<std::uint8_t*>(self(handle).data_.data());
        *size = self(handle).data_.size();
        return 1;
    }
    static void unmap(thandle_t, void*, toff_t) {}

    static int onError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
        auto& file = *static_cast<File*>(user);
        std::array<char, 200> text{};
        std::vsnprintf(text.data(), text.size(), format, arguments);
        if (file.message_.empty()) {
            file.message_ = text.data();
            std::replace_if(
                file.message_.begin(), file.message_.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
        }
        return 1;
    }
    static int onWarning(TIFF*, void* user, const char*, const char* format, va_list) {
        auto& file = *static_cast<File*>(user);
        file.stoppedEarly_ = file.stoppedEarly_ || std::strstr(format, "Premature EOF") != nullptr;
        return 1;
    }

    Bytes data_;
    std::size_t offset_ = 0;
    TIFF* tiff_ = nullptr;
    std::string message_;
    bool stoppedEarly_ = false;
};

int colorSamples(std::uint16_t photometric) {
    return photometric == PHOTOMETRIC_RGB ? 3 : photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
}

/// What decodes here; the rest goes through libtiff's conversion to 8-bit RGBA, or is refused there.
bool isPlain(const File& file, const Layout& layout) {
    const bool gray = layout.photometric == PHOTOMETRIC_MINISWHITE || layout.photometric == PHOTOMETRIC_MINISBLACK;
    const bool many = layout.photometric == PHOTOMETRIC_RGB ||
                      (layout.photometric == PHOTOMETRIC_SEPARATED && file.get<std::uint16_t>(TIFFTAG_INKSET, 1) == 1);
    const bool small = layout.bits == 1 || layout.bits == 2 || layout.bits == 4;
    const bool bits = layout.bits == 8 || (layout.bits == 16 && !layout.indexed) || (small && layout.samples == 1);
    const bool whole = file.get<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT) == SAMPLEFORMAT_UINT;
    return (gray || layout.indexed || many) && bits && whole && layout.samples <= 8 &&
           layout.samples >= static_cast<std::size_t>(colorSamples(layout.photometric));
}

Layout readLayout(const File& file) {
    Layout layout;
    layout.bits = file.get<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    layout.samples = file.get<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.tiled = TIFFIsTiled(file) != 0;
    layout.separate = layout.samples > 1 && file.get<std::uint16_t>(TIFFTAG_PLANARCONFIG, 1) == PLANARCONFIG_SEPARATE;
    if (TIFFGetField(file, TIFFTAG_PHOTOMETRIC, &layout.photometric) != 1) {
        layout.photometric = layout.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    if (layout.photometric == PHOTOMETRIC_YCBCR &&
        file.get<std::uint16_t>(TIFFTAG_COMPRESSION, 1) == COMPRESSION_JPEG) {
        TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        layout.photometric = PHOTOMETRIC_RGB;
    }
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(file, TIFFTAG_EXTRASAMPLES, &count, &kinds);
    const auto colors = static_cast<std::size_t>(colorSamples(layout.photometric));
    layout.indexed = layout.photometric == PHOTOMETRIC_PALETTE;
    layout.whiteIsZero = layout.photometric == PHOTOMETRIC_MINISWHITE;
    layout.alpha = !layout.indexed && count > 0 && layout.samples > colors && kinds[0] != EXTRASAMPLE_UNSPECIFIED;
    layout.premultiplied = layout.alpha && kinds[0] == EXTRASAMPLE_ASSOCALPHA;
    layout.viaRGBA = !isPlain(file, layout);
    layout.alpha = layout.alpha && !layout.viaRGBA;
    return layout;
}

ColorSpace readColorSpace(const File& file, const Layout& layout, Profiles& profiles) {
    ColorSpace space;
    space.model = layout.viaRGBA || layout.indexed        ? ColorModel::rgb
                  : colorSamples(layout.photometric) == 1 ? ColorModel::gray
                  : colorSamples(layout.photometric) == 3 ? ColorModel::rgb
                                                          : ColorModel::cmyk;
    std::uint32_t count = 0;
    void* profile = nullptr;
    if (!layout.viaRGBA && TIFFGetField(file, TIFFTAG_ICCPROFILE, &count, &profile) == 1 && count <= largestProfile) {
        space.iccProfile = profiles.kept({static_cast<const std::uint8_t*>(profile), count});
    }
    return space;
}

/// Bilevel stays bilevel, sixteen bits stay; everything else becomes bytes.
int decodedBits(const Layout& layout, const ColorSpace& space) {
    if (layout.viaRGBA || layout.bits != 1) {
        return layout.bits == 16 && !layout.viaRGBA ? 16 : 8;
    }
    return space.model == ColorModel::gray ? 1 : 8;
}

void readResolution(const File& file, ImageInfo& info) {
    const auto unit = file.get<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    const double perInch = unit == RESUNIT_INCH ? 1 : unit == RESUNIT_CENTIMETER ? 2.54 : 0;
    // libtiff hands out single precision; four decimals are more than any device has and undo its noise.
    const auto read = [&](std::uint32_t tag) {
        return std::round(static_cast<double>(file.get<float>(tag, 0)) * perInch * 1e4) / 1e4;
    };
    info.dpiX = usableDPI(read(TIFFTAG_XRESOLUTION));
    info.dpiY = usableDPI(read(TIFFTAG_YRESOLUTION), info.dpiX);
}

ImageInfo readPage(const File& file, int page, Profiles& profiles) {
    const Layout layout = readLayout(file);
    ImageInfo info;
    info.format = ImageFormat::tiff;
    info.page = page;
    info.width = file.get<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    info.height = file.get<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    info.bitsPerComponent = layout.bits;
    info.colorSpace = readColorSpace(file, layout, profiles);
    info.alpha = layout.alpha ? Alpha::straight : Alpha::none;
    info.palette = layout.indexed;
    info.orientation = std::clamp<int>(file.get<std::uint16_t>(TIFFTAG_ORIENTATION, 1), 1, 8);
    readResolution(file, info);
    requireDecodable(info.width, info.height, info.colorSpace.components() + (layout.alpha ? 1 : 0),
                     decodedBits(layout, info.colorSpace));
    return info;
}

void selectPage(const File& file, int page) {
    if (TIFFSetDirectory(file, static_cast<tdir_t>(page)) != 1) {
        file.fail();
    }
}

void readPalette(const File& file, Layout& layout) {
    std::array<std::uint16_t*, 3> maps{};
    if (TIFFGetField(file, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) != 1) {
        throw ImageError("damaged TIFF data (no colour map)");
    }
    const std::size_t colors = std::min<std::size_t>(std::size_t{1} << layout.bits, layout.palette.size());
    // Old writers store 8-bit values in the 16-bit map.
    const bool wide = std::any_of(maps.begin(), maps.end(), [&](const std::uint16_t* map) {
        return std::any_of(map, map + colors, [](std::uint16_t value) { return value > 255; });
    });
    for (std::size_t i = 0; i < colors; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            layout.palette[i][c] = static_cast<std::uint8_t>(wide ? maps[c][i] >> 8 : maps[c][i]);
        }
    }
}

void requireBlockSize(const File& file, tmsize_t size) {
    if (size <= 0 || size > largestAllocation) {
        throw ImageError("damaged TIFF data (" + (file.message().empty() ? "bad block size" : file.message()) + ")");
    }
}

std::vector<std::uint8_t> blockBuffer(const File& file, tmsize_t size) {
    requireBlockSize(file, size);
    return std::vector<std::uint8_t>(static_cast<std::size_t>(size));
}

void readStrips(const File& file, Bitmap& bitmap, RowConverter& converter) {
    std::vector<std::uint8_t> buffer = blockBuffer(file, TIFFStripSize(file));
    const auto height = static_cast<std::uint32_t>(bitmap.height);
    const std::uint32_t perStrip = std::clamp(file.get<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, height), 1u, height);
    const tmsize_t rowSize = TIFFScanlineSize(file);
    for (std::size_t plane = 0; plane < converter.planes(); ++plane) {
        for (std::uint32_t top = 0; top < height; top += perStrip) {
            const std::uint32_t rows = std::min(perStrip, height - top);
            const std::uint32_t strip = TIFFComputeStrip(file, top, static_cast<std::uint16_t>(plane));
            const tmsize_t wanted = rowSize * static_cast<tmsize_t>(rows);
            if (TIFFReadEncodedStrip(file, strip, buffer.data(), static_cast<tmsize_t>(buffer.size())) < wanted) {
                file.fail();
            }
            for (std::uint32_t y = 0; y < rows; ++y) {
                converter.put(buffer.data() + rowSize * static_cast<tmsize_t>(y), 0, top + y, bitmap.width, plane);
            }
        }
    }
}

void readTiles(const File& file, Bitmap& bitmap, RowConverter& converter) {
    std::vector<std::uint8_t> buffer = blockBuffer(file, TIFFTileSize(file));
    const std::int64_t wide = file.get<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
    const std::int64_t high = file.get<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
    const tmsize_t rowSize = TIFFTileRowSize(file);
    if (wide < 1 || high < 1 || wide % 8 != 0) {
        throw ImageError("damaged TIFF data (bad tile size)");
    }
    for (std::size_t plane = 0; plane < converter.planes(); ++plane) {
        for (std::int64_t top = 0; top < bitmap.height; top += high) {
            for (std::int64_t left = 0; left < bitmap.width; left += wide) {
                if (TIFFReadTile(file, buffer.data(), static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top),
                                 0, static_cast<std::uint16_t>(plane)) < 0) {
                    file.fail();
                }
                for (std::int64_t y = 0; y < std::min(high, bitmap.height - top); ++y) {
                    converter.put(buffer.data() + rowSize * y, left, top + y, std::min(wide, bitmap.width - left),
                                  plane);
                }
            }
        }
    }
}

Bitmap decodePlain(const File& file, const Layout& layout, const ImageInfo& info) {
    Bitmap bitmap =
        Bitmap::make(info.width, info.height, decodedBits(layout, info.colorSpace), info.colorSpace, info.alpha);
    RowConverter converter(layout, bitmap);
    layout.tiled ? readTiles(file, bitmap, converter) : readStrips(file, bitmap, converter);
    if (file.stoppedEarly()) {
        throw ImageError("truncated TIFF data");
    }
    if (layout.premultiplied) {
        unpremultiply(bitmap);
    }
    return bitmap;
}

Bitmap decodeViaRGBA(const File& file, const ImageInfo& info) {
    std::array<char, 1024> why{};
    if (TIFFRGBAImageOK(file, why.data()) != 1) {
        throw ImageError("unsupported TIFF image (" + std::string(why.data()) + ")");
    }
    Bitmap bitmap = Bitmap::make(info.width, info.height, 8, info.colorSpace);
    requireDecodable(info.width, info.height, 4, 8);
    std::vector<std::uint32_t> raster(static_cast<std::size_t>(info.width * info.height));
    // The orientation asked for is the stored one: no turning.
    if (TIFFReadRGBAImageOriented(file, static_cast<std::uint32_t>(info.width), static_cast<std::uint32_t>(info.height),
                                  raster.data(), info.orientation, 1) != 1) {
        file.fail();
    }
    std::uint8_t* target = bitmap.samples.data();
    for (const std::uint32_t pixel : raster) {
        *target++ = static_cast<std::uint8_t>(TIFFGetR(pixel));
        *target++ = static_cast<std::uint8_t>(TIFFGetG(pixel));
        *target++ = static_cast<std::uint8_t>(TIFFGetB(pixel));
    }
    return bitmap;
}

/// Bytes of all strips or tiles. Throws where one lies outside the file.
std::uint64_t storedBytes(const File& file, std::uint64_t fileSize) {
    const std::uint32_t blocks = TIFFIsTiled(file) ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
    if (blocks > fileSize) { // each has an offset somewhere in the file
        throw ImageError("truncated TIFF data");
    }
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i < blocks; ++i) {
        const std::uint64_t offset = TIFFGetStrileOffset(file, i);
        const std::uint64_t count = TIFFGetStrileByteCount(file, i);
        if (offset >= fileSize || count > fileSize - offset) {
            throw ImageError("truncated TIFF data");
        }
        sum += count;
    }
    return sum;
}

/// What a header promises is bounded by what follows it, before any of it is reserved. Fax codes have no such bound: a
/// white row of any length is one bit.
void requireEnoughData(const File& file, const Layout& layout, const ImageInfo& info, std::uint64_t fileSize) {
    const auto compression = file.get<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    constexpr std::array bounded = {COMPRESSION_NONE, COMPRESSION_PACKBITS,      COMPRESSION_LZW,
                                    COMPRESSION_JPEG, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE};
    constexpr std::uint64_t mostExpansion = 2600; // LZW's longest string for one code of 12 bits
    const std::uint64_t stored = storedBytes(file, fileSize);
    const std::uint64_t row = Bitmap::tightBytesPerRow(info.width, static_cast<int>(layout.samples), layout.bits);
    if (std::find(bounded.begin(), bounded.end(), compression) != bounded.end() &&
        row * static_cast<std::uint64_t>(info.height) / mostExpansion > stored) {
        throw ImageError("truncated TIFF data");
    }
    if (!layout.viaRGBA) {
        requireBlockSize(file, layout.tiled ? TIFFTileSize(file) : TIFFStripSize(file));
    }
}

} // namespace

std::vector<ImageInfo> readInfo(const Bytes& data) {
    const File file(data);
    std::vector<ImageInfo> pages;
    std::vector<ImageInfo> copies;
    Profiles profiles(data.size());
    int page = 0;
    do {
        const auto kind = file.get<std::uint32_t>(TIFFTAG_SUBFILETYPE, 0);
        const bool copy = (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0;
        (copy ? copies : pages).push_back(readPage(file, page, profiles));
    } while (++page < mostPages && TIFFReadDirectory(file) == 1);
    if (TIFFLastDirectory(file) == 0 && page < mostPages) {
        file.fail();
    }
    return pages.empty() ? copies : pages;
}

void verify(const Bytes& data, int page) {
    const File file(data);
    selectPage(file, page);
    (void)storedBytes(file, data.size());
}

Bitmap decode(const Bytes& data, const ImageInfo& info) {
    const File file(data);
    selectPage(file, info.page);
    Layout layout = readLayout(file);
    if (layout.indexed) {
        readPalette(file, layout);
    }
    requireEnoughData(file, layout, info, data.size());
    return layout.viaRGBA ? decodeViaRGBA(file, info) : decodePlain(file, layout, info);
}

} // namespace orvex::tiff
