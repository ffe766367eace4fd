// The images that a page's own resources name, as its file stores them.
#pragma once

#include "Platform/PDF/Objects/PDFImage.h"
#include "Platform/PDF/Objects/PDFObject.h"
#include "Platform/PDF/PDFPage.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace orvex {

/// A stream's data as stored: JPEG or JPEG 2000 data that could not be joined with a declared colour space.
struct EmbeddedJPG {
    Bytes data;
};
/// An image with its colour space.
struct EmbeddedRaw {
    PDFImagePtr image;
};
using EmbeddedImage = std::variant<EmbeddedJPG, EmbeddedRaw>;

/// Why a page's images cannot be read.
enum class PDFReadErrorCode {
    couldNotOpenPage, ///< declared for hosts; nothing here fails with it
    couldNotGetPageReference,
    couldNotOpenPageDictionary,
    couldNotReadResources,
    cannotCopyData
};

/// A page whose images cannot be read; cannotCopyData is about one image. `what()` is the code's name, with the page's
/// index for couldNotOpenPage.
class PDFReadError : public std::runtime_error {
public:
    explicit PDFReadError(PDFReadErrorCode code);
    static PDFReadError couldNotOpenPage(std::int64_t index);
    [[nodiscard]] PDFReadErrorCode code() const { return code_; }
    [[nodiscard]] std::int64_t page() const { return page_; } ///< of couldNotOpenPage

private:
    PDFReadError(PDFReadErrorCode code, std::int64_t page, const std::string& description);
    PDFReadErrorCode code_;
    std::int64_t page_ = 0;
};

/// Why an image cannot be decoded.
enum class RawDecodingErrorCode {
    noColorSpace,
    unkownColorSpace, ///< spelled so in logs that hosts read
    cannotConstructImage,
    cannotReadSize,
    cannotReadBitsPerComponent,
    corruptColorSpace,
    noLookupTable
};

/// One image that cannot be decoded. `what()` is the code's name with its payload.
class RawDecodingError : public std::runtime_error {
public:
    explicit RawDecodingError(RawDecodingErrorCode code);
    static RawDecodingError noColorSpace(const std::optional<std::vector<std::string>>& filters);
    static RawDecodingError unkownColorSpace(const std::string& name);
    [[nodiscard]] RawDecodingErrorCode code() const { return code_; }
    [[nodiscard]] const std::optional<std::vector<std::string>>& filters() const { return filters_; } ///< noColorSpace
    [[nodiscard]] const std::string& name() const { return name_; } ///< unkownColorSpace

private:
    RawDecodingError(RawDecodingErrorCode code, const std::string& description);
    RawDecodingErrorCode code_;
    std::optional<std::vector<std::string>> filters_;
    std::string name_;
};

/// Gets one image and its resource name.
using EmbeddedImageHandler = std::function<void(const EmbeddedImage& image, const std::string& name)>;
/// Told of an image that fails, besides the log.
using EmbeddedImageErrorHandler = std::function<void(const std::exception& error, const std::string& name)>;

/// Hands out the page's image XObjects one after the other, with their resource names, in the order in which the file
/// writes them; a name is printed on standard output before its image is read. An image that fails is logged and left
/// out. Images inside forms, patterns and annotations are not reached, resources that the page inherits neither.
/// Throws PDFReadError when the page has no object, dictionary or resources; what the handler throws ends the walk.
/// Threads: any; the handler runs on the caller's.
void walkEmbeddedImages(const PDFPage& page, const EmbeddedImageHandler& handler,
                        const EmbeddedImageErrorHandler& failed = {});

/// One XObject; empty, without an error, for what is no image. Throws PDFReadError (cannotCopyData) and
/// RawDecodingError.
[[nodiscard]] std::optional<EmbeddedImage> decodeEmbeddedImage(const std::string& key, const PDFObject& object);
/// Whether points may have fractions.
enum class PointSize { exact, whole };
/// As an image for a host: pixels at 300 dpi, or stored data at their own size. The size in points is cut to whole
/// points on demand (one without any then has a point per pixel). Null for data that no codec reads.
[[nodiscard]] ImagePtr imageFrom(const EmbeddedImage& embedded, PointSize rounding);
/// A colour space as a file writes it. Throws RawDecodingError. An array of numbers that holds anything else is fatal.
[[nodiscard]] PDFColorSpacePtr colorSpace(const PDFObject& from);
/// Samples to an image. Rows are taken to be as long as the whole bytes in them: what a last byte begins is dropped
/// from the row length, by design. Throws RawDecodingError. Products that overflow are fatal.
[[nodiscard]] PDFImagePtr rawImage(const Bytes& data, const PDFObject& dictionary);
/// A name, or the names of an array; empty for anything else.
[[nodiscard]] std::optional<std::vector<std::string>> names(const std::string& forKey, const PDFObject& in);
/// An array's numbers. An element that is no number is fatal.
[[nodiscard]] std::vector<double> numbers(const PDFObject& in);

} // namespace orvex
