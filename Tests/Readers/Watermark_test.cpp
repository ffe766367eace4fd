// The banner in other people's viewers.
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Support/Command.h"
#include "Support/PDFFixture.h"
#include "Support/Places.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace orvex {
namespace {

/// Pictures are compared at Chromium's natural size.
constexpr std::int64_t viewerDPI = 96;

BitmapPtr pictureIn(const std::string& path) {
    const auto image = Image::fromData(readFile(path));
    return image ? image->representations().front()->bitmap() : nullptr;
}

std::array<int, 3> pixel(const Bitmap& picture, std::int64_t x, std::int64_t y) {
    const std::uint8_t* sample = picture.row(y) + x * picture.channels();
    return picture.channels() < 3 ? std::array<int, 3>{sample[0], sample[0], sample[0]}
                                  : std::array<int, 3>{sample[0], sample[1], sample[2]};
}

/// The page within a picture of a window whose ground is dark; the page's own edge must be light.
Bitmap pageInWindow(const Bitmap& window) {
    const auto isLight = [&window](std::int64_t x, std::int64_t y) { return pixel(window, x, y)[1] > 128; };
    std::int64_t left = window.width;
    std::int64_t right = 0;
    std::int64_t top = window.height;
    std::int64_t bottom = 0;
    for (std::int64_t y = 0; y < window.height; ++y) {
        for (std::int64_t x = 0; x < window.width; ++x) {
            if (isLight(x, y)) {
                left = std::min(left, x);
                right = std::max(right, x + 1);
                top = std::min(top, y);
                bottom = std::max(bottom, y + 1);
            }
        }
    }
    Bitmap page;
    page.width = std::max<std::int64_t>(0, right - left);
    page.height = std::max<std::int64_t>(0, bottom - top);
    page.bytesPerRow = Bitmap::tightBytesPerRow(page.width, page.channels(), 8);
    page.samples.resize(page.bytesPerRow * static_cast<std::size_t>(page.height));
    for (std::int64_t y = 0; y < page.height; ++y) {
        for (std::int64_t x = 0; x < page.width; ++x) {
            const auto color = pixel(window, left + x, top + y);
            std::ranges::copy(color, page.row(y) + x * 3);
        }
    }
    return page;
}

/// The share of pixels of `a` that stand nowhere near the same place of `b`: further from all nine neighbours there
/// than anti-aliasing explains.
double shareUnlike(const Bitmap& a, const Bitmap& b) {
    constexpr int tolerance = 40;
    std::int64_t unlike = 0;
    for (std::int64_t y = 0; y < a.height; ++y) {
        for (std::int64_t x = 0; x < a.width; ++x) {
            const auto color = pixel(a, x, y);
            std::array<int, 3> low{255, 255, 255};
            std::array<int, 3> high{0, 0, 0};
            for (std::int64_t v = std::max<std::int64_t>(0, y - 1); v <= std::min(b.height - 1, y + 1); ++v) {
                for (std::int64_t u = std::max<std::int64_t>(0, x - 1); u <= std::min(b.width - 1, x + 1); ++u) {
                    const auto near = pixel(b, u, v);
                    for (std::size_t i = 0; i < 3; ++i) {
                        low[i] = std::min(low[i], near[i]);
                        high[i] = std::max(high[i], near[i]);
                    }
                }
            }
            for (std::size_t i = 0; i < 3; ++i) {
                if (color[i] < low[i] - tolerance || color[i] > high[i] + tolerance) {
                    ++unlike;
                    break;
                }
            }
        }
    }
    return static_cast<double>(unlike) / static_cast<double>(a.width * a.height);
}

struct Viewer {
    std::string name;
    std::string program;
    std::string command; ///< to draw page.pdf into a picture named after the viewer
};

std::vector<Viewer> viewers() {
    const std::string chromium = "node " + test::quoted(test::projectFolder() / "Tests/Readers/chromium_page.mjs") +
                                 " " + test::quoted(test::nodeModules()) +
                                 " \"$(command -v chromium)\" page.pdf Chromium.png";
    return {{"poppler", "pdftoppm", "pdftoppm -r 96 -png -singlefile page.pdf poppler"},
            {"MuPDF", "mutool", "mutool draw -q -r 96 -o MuPDF.png page.pdf"},
            {"Chromium", "chromium", chromium}};
}

class Banner : public testing::TestWithParam<int> {};

TEST_P(Banner, LooksTheSameInEveryViewerAndInOurOwnRendering) {
    const auto page = OrvexPDFDocument::fromData(test::pdfFromPages({{"0.8 1 0.9 rg 0 0 420 300 re f", "[0 0 420 300]",
                                                                      "/Rotate " + std::to_string(GetParam())}}))
                          ->orvexPage(0);
    page->watermarkText = "Entwurf \xC2\xB7 \xD0\xBF\xD1\x80\xD0\xBE\xD0\xB5\xD0\xBA\xD1\x82"; // "Entwurf · проект"
    const test::TempFolder folder;
    std::ofstream(folder.path() / "page.pdf", std::ios::binary)
        << page->createDocumentFromPage()->dataRepresentation()->text();
    const auto ours = page->render(viewerDPI)->representations().front()->bitmap();

    for (const Viewer& viewer : viewers()) {
        SCOPED_TRACE(viewer.name);
        if (!test::hasProgram(viewer.program)) {
            EXPECT_EQ(std::getenv("CI"), nullptr) << "it has to be installed";
            continue;
        }
        const auto drawn = test::run("cd " + test::quoted(folder.path().string()) + " && " + viewer.command);
        ASSERT_EQ(drawn.exitCode, 0) << drawn.errors;
        const auto picture = pictureIn((folder.path() / (viewer.name + ".png")).string());
        ASSERT_NE(picture, nullptr);
        const Bitmap theirs = viewer.name == "Chromium" ? pageInWindow(*picture) : *picture;
        ASSERT_NEAR(static_cast<double>(theirs.width), static_cast<double>(ours->width), 1);
        ASSERT_NEAR(static_cast<double>(theirs.height), static_cast<double>(ours->height), 1);
        EXPECT_LT(shareUnlike(theirs, *ours), 0.0002);
        EXPECT_LT(shareUnlike(*ours, theirs), 0.0002);
    }
}

INSTANTIATE_TEST_SUITE_P(Turned, Banner, testing::Values(0, 90));

} // namespace
} // namespace orvex
