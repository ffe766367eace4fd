// An image as a host handles it: a size in points and representations that hold pixels, decoded only when asked for.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/Geometry.h"
#include "Platform/Imaging/Bitmap.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvex {

enum class ImageFormat { jpeg, png, tiff, jpeg2000 };

/// An image that cannot be read; `what()` is one line with the reason ("not an image", "truncated JPEG data", ...).
class ImageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a file's header says, before any pixel is decoded.
struct ImageInfo {
    ImageFormat format = ImageFormat::png;
    std::int64_t width = 0;   ///< pixels as stored
    std::int64_t height = 0;  ///< pixels as stored
    int bitsPerComponent = 8; ///< as stored: 1, 2, 4, 8 or 16
    ColorSpace colorSpace;    ///< of the decoded samples (a palette decodes to rgb)
    Alpha alpha = Alpha::none;
    double dpiX = 72; ///< 72 where the file does not say
    double dpiY = 72;
    int page = 0;                   ///< TIFF: the directory that holds this page, from 0
    int orientation = 1;            ///< EXIF / TIFF orientation, 1 to 8; pixels are never turned by it (see Image)
    bool adobeInvertedCMYK = false; ///< JPEG with an Adobe marker and four components: samples stored inverted
    bool arithmeticCoded = false;   ///< JPEG that few readers (and no PDF reader) can decode: re-encode it
    bool progressiveOrInterlaced = false;
    bool palette = false;

    /// Orientations 2, 5 and 7: the stored pixels are mirrored left to right. bitmap() undoes it; whoever places the
    /// encoded bytes as they are must.
    [[nodiscard]] bool mirroredHorizontally() const { return orientation == 2 || orientation == 5 || orientation == 7; }
    /// Orientation 4: the stored pixels are mirrored top to bottom. As above.
    [[nodiscard]] bool mirroredVertically() const { return orientation == 4; }
};

/// One grid of pixels with a size in points. Shared and immutable but for its size. Threads: any for reading.
class ImageRep {
public:
    /// From samples; the size in points equals the pixels until setSize().
    explicit ImageRep(BitmapPtr bitmap);
    /// From encoded bytes whose header has been read; the size in points is pixels x (72 / dpi) per axis.
    ImageRep(Bytes encoded, ImageInfo info);

    [[nodiscard]] std::int64_t pixelsWide() const { return info_.width; }
    [[nodiscard]] std::int64_t pixelsHigh() const { return info_.height; }
    [[nodiscard]] Size size() const { return size_; } ///< points
    void setSize(Size points) { size_ = points; }
    [[nodiscard]] const ImageInfo& info() const { return info_; }
    /// The encoded bytes that the pixels came from, as they were; empty for a rep made from samples.
    [[nodiscard]] const Bytes& encoded() const { return encoded_; }
    [[nodiscard]] int page() const { return info_.page; } ///< TIFF directory, from 0

    /// The pixels, decoded on the first call and kept. A mirrored orientation (2, 4, 5, 7) is undone here, a turned one
    /// is not. Throws ImageError on damaged data, data that stops early included.
    [[nodiscard]] BitmapPtr bitmap() const;
    /// The same for one use: decoded anew unless bitmap() was called before, and not kept. Throws as bitmap() does.
    [[nodiscard]] BitmapPtr passingBitmap() const;

private:
    Bytes encoded_;
    ImageInfo info_;
    Size size_;
    mutable std::mutex mutex_;
    mutable BitmapPtr bitmap_;
};

using ImageRepPtr = std::shared_ptr<ImageRep>;

/// A shared image. Orientation tags are carried, not applied: a host turns the page (see orientationDegrees).
class Image {
public:
    Image() = default;
    explicit Image(Size points) : size_(points) {}

    /// Reads the headers of JPEG, PNG, TIFF (every page becomes a representation) or JPEG 2000 data; pixels are decoded
    /// later. The size in points is that of the first representation: pixels x (72 / dpi) per axis.
    /// Throws ImageError when the bytes are no such image. Bytes are shared, not copied.
    static std::shared_ptr<Image> fromData(const Bytes& data);
    /// From samples; a zero size means one point per pixel.
    static std::shared_ptr<Image> fromBitmap(BitmapPtr bitmap, Size points = {});
    /// One image per page of a TIFF file, one for other formats.
    static std::vector<std::shared_ptr<Image>> pagesFromData(const Bytes& data);

    [[nodiscard]] Size size() const { return size_; } ///< points
    void setSize(Size points) { size_ = points; }
    [[nodiscard]] const std::vector<ImageRepPtr>& representations() const { return reps_; }
    /// Changes neither the image's size nor the representation's.
    void addRepresentation(ImageRepPtr rep);
    /// The representation with the most pixels; null without any.
    [[nodiscard]] ImageRepPtr bestRepresentation() const;

    /// Pixels across the first representation x 72 / its width in points; 72 without a representation.
    [[nodiscard]] double dpi() const;
    /// Clockwise degrees that show the first representation upright: 0, 90, 180 or 270.
    [[nodiscard]] int orientationDegrees() const;
    /// For log lines, under the name that their readers know: <NSImage 0x... Size={w, h} Reps=(Size={w, h} Pixels=WxH,
    /// ...)>
    [[nodiscard]] std::string description() const;

private:
    Size size_;
    std::vector<ImageRepPtr> reps_;
};

using ImagePtr = std::shared_ptr<Image>;

} // namespace orvex
