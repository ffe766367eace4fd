// Images as they stand in saved files, read back by poppler.
#include "Platform/Imaging/Codecs.h"
#include "Platform/PDF/PDFDocument.h"
#include "Support/Command.h"
#include "Support/Places.h"
#include "Support/SavedDocument.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sstream>

namespace orvex {
namespace {

using test::SavedDocument;

std::filesystem::path scans() {
    return test::sharedFolder() / "corpus/scans";
}

std::shared_ptr<PDFDocument> documentOf(const std::vector<ImagePtr>& images) {
    auto document = std::make_shared<PDFDocument>();
    for (const auto& image : images) {
        document->insertPage(std::make_shared<PDFPage>(ImagePageContent{image}), document->pageCount());
    }
    return document;
}

/// The columns of `pdfimages -list` for each image, header lines left out.
std::vector<std::vector<std::string>> listed(const SavedDocument& saved) {
    std::istringstream lines(saved.tool("pdfimages -list"));
    std::vector<std::vector<std::string>> rows;
    std::string line;
    for (int number = 0; std::getline(lines, line); ++number) {
        std::istringstream words(line);
        std::vector<std::string> row{std::istream_iterator<std::string>(words), {}};
        if (number >= 2) {
            rows.push_back(row);
        }
    }
    return rows;
}
constexpr std::size_t typeColumn = 2;
constexpr std::size_t componentsColumn = 6;
constexpr std::size_t bitsColumn = 7;
constexpr std::size_t encodingColumn = 8;

Bitmap pixelsOfFirstImage(const SavedDocument& saved) {
    const test::TempFolder folder;
    const std::string root = (folder.path() / "image").string();
    test::run("pdfimages -png " + test::quoted(saved.path()) + " " + root);
    return *Image::fromData(readFile(root + "-000.png"))->representations().front()->bitmap();
}

Bitmap asRGB(const Bitmap& bitmap) {
    Bitmap rgb;
    rgb.width = bitmap.width;
    rgb.height = bitmap.height;
    const bool gray = bitmap.colorSpace.model == ColorModel::gray;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        for (std::int64_t x = 0; x < bitmap.width; ++x) {
            for (int channel = 0; channel < 3; ++channel) {
                if (bitmap.bitsPerComponent == 1) {
                    rgb.samples.push_back((bitmap.row(y)[x / 8] >> (7 - x % 8) & 1) != 0 ? 255 : 0);
                    continue;
                }
                const auto index = static_cast<std::size_t>(x * bitmap.channels() + (gray ? 0 : channel));
                const auto bytes = static_cast<std::size_t>(bitmap.bitsPerComponent / 8);
                rgb.samples.push_back(bitmap.row(y)[index * bytes + (bytes - 1)]); // the high byte here, little-endian
            }
        }
    }
    return rgb;
}

void expectSamePixels(const Bitmap& a, const Bitmap& b, const std::string& name) {
    ASSERT_EQ(a.width, b.width) << name;
    ASSERT_EQ(a.height, b.height) << name;
    EXPECT_EQ(asRGB(a).samples, asRGB(b).samples) << name;
}

/// A gradient with `levels` values per channel.
Bitmap gradient(ColorModel model, Alpha alpha, int bits, int levels) {
    Bitmap bitmap;
    bitmap.width = 61;
    bitmap.height = 37;
    bitmap.bitsPerComponent = bits;
    bitmap.colorSpace.model = model;
    bitmap.alpha = alpha;
    bitmap.bytesPerRow = Bitmap::tightBytesPerRow(bitmap.width, bitmap.channels(), bits);
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        for (std::int64_t i = 0; i < bitmap.width * bitmap.channels(); ++i) {
            const auto level = static_cast<std::uint8_t>((i * 7 + y * 13) % levels * 255 / (levels - 1));
            bitmap.samples.insert(bitmap.samples.end(), static_cast<std::size_t>(bits / 8), level);
        }
    }
    return bitmap;
}

TEST(ImageStream, JPEGBytesAreInTheFileUnchanged) {
    if (!std::filesystem::exists(scans())) {
        GTEST_SKIP() << "the corpus is absent";
    }
    const Bytes data = readFile(scans() / "baiona_color.jpg");
    const SavedDocument saved(*documentOf({Image::fromData(data)}));
    EXPECT_NE(saved.bytes.text().find(data.text()), std::string_view::npos);
    EXPECT_EQ(listed(saved).at(0).at(encodingColumn), "jpeg");
}

TEST(ImageStream, PNGScansReadBackPixelForPixel) {
    if (!std::filesystem::exists(scans())) {
        GTEST_SKIP() << "the corpus is absent";
    }
    for (const char* name :
         {"linn.png", "typewriter.png", "baiona.png", "baiona_alpha.png", "baiona_colormapped.png", "crom.png"}) {
        const auto image = Image::fromData(readFile(scans() / name));
        const SavedDocument saved(*documentOf({image}));
        expectSamePixels(pixelsOfFirstImage(saved), *image->representations().front()->bitmap(), name);
    }
}

TEST(ImageStream, APNGsOwnCompressedDataIsUsed) {
    const Bytes png = *encodePNG(gradient(ColorModel::rgb, Alpha::none, 8, 256), {});
    const SavedDocument saved(*documentOf({Image::fromData(png)}));
    EXPECT_NE(saved.bytes.text().find(pngStream(png)->deflate.text()), std::string_view::npos);
}

TEST(ImageStream, EveryKindOfSamplesReadsBack) {
    struct Case {
        const char* name;
        ColorModel model;
        Alpha alpha;
        int bits;
        int levels;
    };
    const Case cases[] = {
        {"gray 8", ColorModel::gray, Alpha::none, 8, 256},
        {"gray 16", ColorModel::gray, Alpha::none, 16, 256},
        {"rgb 8", ColorModel::rgb, Alpha::none, 8, 256},
        {"rgb 16", ColorModel::rgb, Alpha::none, 16, 256},
        {"gray alpha", ColorModel::gray, Alpha::straight, 8, 256},
        {"rgb alpha", ColorModel::rgb, Alpha::straight, 8, 256},
        {"rgb alpha 16", ColorModel::rgb, Alpha::straight, 16, 256},
        {"few colours", ColorModel::rgb, Alpha::none, 8, 3},
        {"two levels", ColorModel::gray, Alpha::none, 8, 2},
    };
    for (const Case& c : cases) {
        const Bitmap bitmap = gradient(c.model, c.alpha, c.bits, c.levels);
        const SavedDocument saved(*documentOf({Image::fromBitmap(std::make_shared<Bitmap>(bitmap))}));
        expectSamePixels(pixelsOfFirstImage(saved), bitmap, c.name);
        EXPECT_EQ(listed(saved).size(), c.alpha == Alpha::none ? 1U : 2U) << c.name;
    }
}

TEST(ImageStream, TwoLevelsTakeOneBit) {
    const Bitmap bitmap = gradient(ColorModel::gray, Alpha::none, 8, 2);
    const SavedDocument saved(*documentOf({Image::fromBitmap(std::make_shared<Bitmap>(bitmap))}));
    EXPECT_EQ(listed(saved).at(0).at(bitsColumn), "1");
}

TEST(ImageStream, TransparencyBecomesASoftMask) {
    const Bitmap bitmap = gradient(ColorModel::rgb, Alpha::straight, 8, 256);
    const SavedDocument saved(*documentOf({Image::fromBitmap(std::make_shared<Bitmap>(bitmap))}));
    EXPECT_EQ(listed(saved).at(1).at(typeColumn), "smask");
}

TEST(ImageStream, AnImageOnTwoPagesIsStoredOnce) {
    const Bytes png = *encodePNG(gradient(ColorModel::rgb, Alpha::none, 8, 256), {});
    const auto image = Image::fromData(png);
    const std::string_view data = pngStream(png)->deflate.text();
    const auto document = documentOf({image});
    document->insertPage(document->page(0), 1);
    const SavedDocument saved(*document);
    const auto first = saved.bytes.text().find(data);
    ASSERT_NE(first, std::string_view::npos);
    EXPECT_EQ(saved.bytes.text().find(data, first + 1), std::string_view::npos);
}

TEST(ImageStream, InvertedCMYKJPEGsKeepTheirColours) {
    const test::TempFolder folder;
    const std::string jpeg = (folder.path() / "cmyk.jpg").string();
    const auto made = test::run("gs -q -dNOPAUSE -dBATCH -sDEVICE=jpegcmyk -r72 -g100x100 -o " + jpeg +
                                " -c '1 0 0 0 setcmykcolor 0 0 100 100 rectfill showpage'");
    ASSERT_EQ(made.exitCode, 0) << made.errors;
    const auto image = Image::fromData(readFile(jpeg));
    EXPECT_EQ(image->representations().front()->info().colorSpace.model, ColorModel::cmyk);
    const SavedDocument saved(*documentOf({image}));
    EXPECT_EQ(listed(saved).at(0).at(componentsColumn), "4");
    const std::string page = (folder.path() / "page").string();
    test::run("pdftoppm -png -r 72 -singlefile " + saved.path() + " " + page);
    const Bitmap shown = *Image::fromData(readFile(page + ".png"))->representations().front()->bitmap();
    const std::uint8_t* cyan = shown.row(50) + 50 * shown.channels();
    EXPECT_LT(cyan[0], 60);
    EXPECT_GT(cyan[1], 130);
    EXPECT_GT(cyan[2], 190);
}

} // namespace
} // namespace orvex
