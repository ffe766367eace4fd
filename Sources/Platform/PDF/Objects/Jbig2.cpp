// JBIG2 through PDFium: a page that is one image, seen at one pixel per point, has the image's very samples.
#include "Platform/PDF/Objects/StreamFilters_p.h"
#include "Platform/PDF/PDFium_p.h"

#include <algorithm>

namespace orvex {

namespace {

/// PDFium paints four bytes a pixel; tall images come in pieces.
constexpr std::int64_t mostPixelsAtOnce = std::int64_t{16} << 20;
/// A minute of painting at most.
constexpr std::int64_t mostPixels = std::int64_t{1} << 28;

class SmallFile {
public:
    SmallFile() : text_("%PDF-1.7\n") {}
    void add(const std::string& body) {
        offsets_.push_back(text_.size());
        text_ += std::to_string(offsets_.size()) + " 0 obj\n" + body + "\nendobj\n";
    }
    void addStream(const std::string& entries, ByteSpan data) {
        add("<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" +
            std::string(data.begin(), data.end()) + "\nendstream");
    }
    Bytes finish() {
        const std::size_t table = text_.size();
        text_ += "xref\n0 " + std::to_string(offsets_.size() + 1) + "\n0000000000 65535 f \n";
        for (const std::size_t offset : offsets_) {
            const std::string digits = std::to_string(offset);
            text_ += std::string(10 - std::min<std::size_t>(10, digits.size()), '0') + digits + " 00000 n \n";
        }
        text_ += "trailer\n<< /Root 1 0 R /Size " + std::to_string(offsets_.size() + 1) + " >>\nstartxref\n" +
                 std::to_string(table) + "\n%%EOF\n";
        return Bytes(std::move(text_));
    }

private:
    std::string text_;
    std::vector<std::size_t> offsets_;
};

ByteSpan spanOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Rows `top` to `top + rows` of the image, over red, which no bilevel image has.
Bytes pageOfRows(const Jbig2Image& image, std::int64_t top, std::int64_t rows) {
    const std::string width = std::to_string(image.width);
    const std::string height = std::to_string(image.height);
    const std::string below = std::to_string(top + rows - image.height);
    SmallFile file;
    file.add("<< /Type /Catalog /Pages 2 0 R >>");
    file.add("<< /Type /Pages /Kids [3 0 R] /Count 1 >>");
    file.add("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + width + " " + std::to_string(rows) +
             "] /Contents 4 0 R /Resources << /XObject << /I 5 0 R >> >> >>");
    file.addStream("", spanOf("1 0 0 rg 0 0 " + width + " " + std::to_string(rows) + " re f " + width + " 0 0 " +
                              height + " 0 " + below + " cm /I Do"));
    file.addStream("/Type /XObject /Subtype /Image /Width " + width + " /Height " + height +
                       " /ColorSpace /DeviceGray /BitsPerComponent 1 /Filter /JBIG2Decode" +
                       (image.globals.empty() ? "" : " /DecodeParms << /JBIG2Globals 6 0 R >>"),
                   image.data.span());
    file.addStream("", image.globals.span());
    return file.finish();
}

/// Packs the pixels of a page. False when it shows anything but black and white.
bool appendRows(const Bitmap& page, ByteBuffer& out) {
    const auto rowBytes = static_cast<std::size_t>((page.width + 7) / 8);
    for (std::int64_t y = 0; y < page.height; ++y) {
        const std::uint8_t* pixel = page.row(y);
        out.resize(out.size() + rowBytes);
        std::uint8_t* row = out.data() + out.size() - rowBytes;
        for (std::int64_t x = 0; x < page.width; ++x, pixel += 4) {
            if (pixel[0] != pixel[1]) {
                return false;
            }
            row[x / 8] = static_cast<std::uint8_t>(row[x / 8] | (pixel[0] >> 7) << (7 - x % 8));
        }
    }
    return true;
}

} // namespace

std::optional<ByteBuffer> decodeJbig2(const Jbig2Image& image) {
    if (image.width < 1 || image.height < 1 || image.width > mostPixelsAtOnce ||
        image.height > mostPixels / image.width) {
        return std::nullopt;
    }
    ByteBuffer out;
    const std::int64_t rowsAtOnce = mostPixelsAtOnce / image.width;
    for (std::int64_t top = 0; top < image.height; top += rowsAtOnce) {
        const std::int64_t rows = std::min(rowsAtOnce, image.height - top);
        const auto page = rasterFirstPage(pageOfRows(image, top, rows), {image.width, rows, false, false});
        if (!page || page->width != image.width || page->height != rows || !appendRows(*page, out)) {
            return std::nullopt;
        }
    }
    return out;
}

} // namespace orvex
