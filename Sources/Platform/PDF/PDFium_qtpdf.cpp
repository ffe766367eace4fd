// PDFium through Qt PDF, a module of its own. It needs no application object, but it is not safe for threads: one lock
// around all of it.
#include "Platform/PDF/PDFiumModule_p.h"

#include <QtCore/QBuffer>
#include <QtGui/QImage>
#include <QtPdf/QPdfDocument>

#include <algorithm>
#include <bit>
#include <limits>
#include <memory>
#include <mutex>

namespace orvex {

namespace {

/// One file open in PDFium; the bytes are shared.
class OpenFile {
public:
    OpenFile(Bytes bytes, const std::string& password) : bytes_(std::move(bytes)), document_(nullptr) {
        if (bytes_.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            return; // PDFium counts a file's bytes in an int
        }
        buffer_.setData(QByteArray::fromRawData(reinterpret_cast<const char*>(bytes_.data()),
                                                static_cast<qsizetype>(bytes_.size())));
        buffer_.open(QIODevice::ReadOnly);
        document_.setPassword(QString::fromStdString(password));
        document_.load(&buffer_);
    }

    [[nodiscard]] bool isOf(const Bytes& bytes) const { return bytes_.data() == bytes.data(); }
    QPdfDocument* withPage(int page) {
        const bool ready = document_.status() == QPdfDocument::Status::Ready && page < document_.pageCount();
        return ready ? &document_ : nullptr;
    }

private:
    Bytes bytes_;
    QBuffer buffer_;
    QPdfDocument document_;
};

/// The file that was read last stays open: callers ask page after page.
struct PDFium {
    std::mutex mutex;
    std::unique_ptr<OpenFile> last;
    bool ended = false; ///< Qt's statics are going or gone

    /// Lives for ever: a host's statics may hold documents, which close after ours would be destroyed.
    static PDFium& shared() {
        static auto& pdfium = *new PDFium;
        return pdfium;
    }

    QPdfDocument* open(const Bytes& file, const std::string& password, int page) {
        if (ended) {
            return nullptr;
        }
        if (!last || !last->isOf(file)) {
            last.reset();
            last = std::make_unique<OpenFile>(file, password);
        }
        static const Ending ending; // made after Qt's statics, so destroyed before them
        return last->withPage(page);
    }

    struct Ending {
        ~Ending() {
            const std::lock_guard lock(shared().mutex);
            shared().last.reset();
            shared().ended = true;
        }
    };
};

/// `value` with `alpha` over white.
QRgb overWhite(QRgb value, QRgb alpha) {
    return (value * alpha + 255 * (255 - alpha) + 127) / 255;
}

/// PDFium's blue, green, red, alpha as opaque red, green, blue, alpha.
QRgb shown(QRgb pixel) {
    const QRgb alpha = pixel >> 24;
    const QRgb red = overWhite(pixel >> 16 & 0xFF, alpha);
    const QRgb green = overWhite(pixel >> 8 & 0xFF, alpha);
    const QRgb blue = overWhite(pixel & 0xFF, alpha);
    return 0xFF000000 | blue << 16 | green << 8 | red;
}

/// The same for pixels that are opaque or empty, without arithmetic.
QRgb shownWhole(QRgb pixel) {
    const QRgb swapped = (pixel & 0xFF00FF00) | (pixel >> 16 & 0xFF) | (pixel & 0xFF) << 16;
    return pixel >> 24 == 0 ? ~QRgb{0} : swapped;
}

/// Nearly all rows hold paper that nothing marked and pixels marked to the full; those go through registers whole.
void copyRowOverWhite(const QRgb* from, QRgb* to, std::int64_t width) {
    QRgb partial = 0;
    for (std::int64_t x = 0; x < width; ++x) {
        partial |= ((from[x] >> 24) + 1) & 0xFE;
    }
    if (partial == 0) {
        std::transform(from, from + width, to, shownWhole);
    } else {
        std::transform(from, from + width, to, shown);
    }
}

Bitmap overWhite(const QImage& image) {
    static_assert(std::endian::native == std::endian::little, "pixels are put together as little-endian words");
    Bitmap bitmap;
    bitmap.width = image.width();
    bitmap.height = image.height();
    bitmap.alpha = Alpha::straight;
    bitmap.bytesPerRow = Bitmap::tightBytesPerRow(bitmap.width, bitmap.channels(), 8);
    bitmap.samples.resize(bitmap.bytesPerRow * static_cast<std::size_t>(bitmap.height));
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(static_cast<int>(y)));
        copyRowOverWhite(row, reinterpret_cast<QRgb*>(bitmap.row(y)), bitmap.width);
    }
    return bitmap;
}

std::optional<Bitmap> raster(QPdfDocument* document, int page, const PageRaster& request) {
    if (document == nullptr) {
        return std::nullopt;
    }
    using Flag = QPdfDocumentRenderOptions::RenderFlag;
    QPdfDocumentRenderOptions::RenderFlags flags;
    flags.setFlag(Flag::Annotations, request.annotations);
    for (const Flag aliased : {Flag::TextAliased, Flag::PathAliased}) {
        flags.setFlag(aliased, !request.smooth);
    }
    flags.setFlag(Flag::ForceHalftone, !request.smooth); // images stay finely interpolated all the same
    QPdfDocumentRenderOptions options;
    options.setRenderFlags(flags);
    const QSize size(static_cast<int>(request.width), static_cast<int>(request.height));
    const QImage image = document->render(page, size, options);
    return image.isNull() ? std::nullopt : std::optional(overWhite(image));
}

std::optional<Bitmap> rasterOfPage(const Bytes& file, const std::string& password, int page,
                                   const PageRaster& request) {
    PDFium& pdfium = PDFium::shared();
    const std::lock_guard lock(pdfium.mutex);
    return raster(pdfium.open(file, password, page), page, request);
}

std::optional<Bitmap> rasterOfFirstPage(const Bytes& file, const PageRaster& request) {
    const std::lock_guard lock(PDFium::shared().mutex);
    OpenFile open(file, {});
    return raster(open.withPage(0), 0, request);
}

void closeFile(const Bytes& file) {
    PDFium& pdfium = PDFium::shared();
    const std::lock_guard lock(pdfium.mutex);
    if (pdfium.last && pdfium.last->isOf(file)) {
        pdfium.last.reset();
    }
}

} // namespace

} // namespace orvex

extern "C" {
extern const orvex::PDFiumModule orvexPDFiumModule;
constinit const orvex::PDFiumModule orvexPDFiumModule{orvex::rasterOfPage, orvex::rasterOfFirstPage, orvex::closeFile};
}
