// First pages of real files: our pixels at 72 dpi and our time at 144 dpi against Qt PDF called directly, poppler and
// MuPDF. Prints one line per odd page on standard error. Their times are those of whole processes, on one processor.
#include "OrvexPDF/Document.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/PDF/Renderer.h"
#include "Support/Command.h"
#include "Support/TempFolder.h"

#include <QtGui/QImage>
#include <QtPdf/QPdfDocument>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace {

using namespace orvex;
using Clock = std::chrono::steady_clock;

constexpr double tolerance =
    6; // mean difference per sample, of 255: other rasterisers' edges and fonts, nothing missing
constexpr int repeats = 3;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

struct Timed {
    std::optional<Bitmap> bitmap;
    double milliseconds = 0;
};

/// A page of an open document: what a viewer asks for again and again.
Timed ours(PDFPage& page, std::int64_t width, std::int64_t height) {
    const auto start = Clock::now();
    auto bitmap = render(page, {width, height, true, true});
    return {std::move(bitmap), millisecondsSince(start)};
}

Bitmap rgbOverWhite(const QImage& image) {
    Bitmap bitmap;
    bitmap.width = image.width();
    bitmap.height = image.height();
    bitmap.bytesPerRow = Bitmap::tightBytesPerRow(bitmap.width, 3, 8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            for (const int value : {qRed(pixel), qGreen(pixel), qBlue(pixel)}) {
                bitmap.samples.push_back(
                    static_cast<std::uint8_t>((value * qAlpha(pixel) + 255 * (255 - qAlpha(pixel))) / 255));
            }
        }
    }
    return bitmap;
}

Timed direct(QPdfDocument& document, std::int64_t width, std::int64_t height) {
    const auto start = Clock::now();
    QPdfDocumentRenderOptions options;
    options.setRenderFlags(QPdfDocumentRenderOptions::RenderFlag::Annotations);
    const QImage image = document.render(0, {static_cast<int>(width), static_cast<int>(height)}, options);
    const double time = millisecondsSince(start);
    return {image.isNull() ? std::nullopt : std::optional(rgbOverWhite(image)), time};
}

constexpr std::int64_t timedScale = 2; // of 72 dpi

std::optional<Bitmap> otherTool(const std::string& command, const std::string& path) {
    const test::TempFolder folder;
    const std::string out = (folder.path() / "page").string();
    test::run("cd " + test::quoted(folder.path().string()) + " && timeout 60 " + command + " " + test::quoted(path) +
              (command.starts_with("pdftoppm") ? " page" : " 1"));
    try {
        return convertToSRGB(*Image::fromData(readFile(out + ".png"))->representations().front()->bitmap());
    } catch (const std::exception&) { // the tool could not read the page
        return std::nullopt;
    }
}

/// Processor milliseconds of a command that draws a page at 144 dpi.
double timeOf(const std::string& command, const std::string& path) {
    const test::TempFolder folder;
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_CHILDREN, &before);
    test::run("cd " + test::quoted(folder.path().string()) + " && timeout 60 " + command + " " + test::quoted(path) +
              (command.starts_with("pdftoppm") ? " page" : " 1"));
    getrusage(RUSAGE_CHILDREN, &after);
    const auto milliseconds = [](const rusage& usage) {
        return 1e3 * static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               1e-3 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
    };
    return milliseconds(after) - milliseconds(before);
}

/// Mean difference per sample after bringing `b` to the size of `a`; grey counts as three equal samples.
std::optional<double> difference(const std::optional<Bitmap>& a, const std::optional<Bitmap>& b) {
    if (!a || !b) {
        return std::nullopt;
    }
    const Bitmap same = a->width == b->width && a->height == b->height ? *b : resample(*b, a->width, a->height);
    const auto sample = [](const Bitmap& bitmap, std::int64_t x, std::int64_t y, int channel) {
        const int colors = bitmap.colorSpace.components();
        return static_cast<double>(bitmap.row(y)[x * bitmap.channels() + std::min(channel, colors - 1)]);
    };
    double total = 0;
    for (std::int64_t y = 0; y < a->height; ++y) {
        for (std::int64_t x = 0; x < a->width; ++x) {
            for (int channel = 0; channel < 3; ++channel) {
                total += std::abs(sample(*a, x, y, channel) - sample(same, x, y, channel));
            }
        }
    }
    return total / static_cast<double>(a->width * a->height * 3);
}

struct Shares {
    int poppler = 0;
    int mupdf = 0;
    int either = 0;
    int compared = 0;
};

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    Shares us;
    Shares qt;
    double oursTotal = 0;
    double directTotal = 0;
    double popplerTotal = 0;
    double mupdfTotal = 0;
    int pages = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string path = std::filesystem::absolute(argv[i]).string();
        const auto document = OrvexPDFDocument::fromFile(path);
        if (!document || document->pageCount() == 0) {
            continue;
        }
        const Rect media = document->page(0)->bounds(PDFDisplayBox::media);
        const bool cropped = document->page(0)->bounds(PDFDisplayBox::crop) != media;
        const bool upright = document->page(0)->rotation() % 180 == 0;
        const auto width = std::max<std::int64_t>(1, std::llround(upright ? media.width : media.height));
        const auto height = std::max<std::int64_t>(1, std::llround(upright ? media.height : media.width));
        if (!isRenderable(timedScale * width, timedScale * height)) {
            continue;
        }
        std::vector<double> oursTimes;
        std::vector<double> directTimes;
        QPdfDocument opened(nullptr);
        opened.load(QString::fromStdString(path));
        Timed mine = ours(*document->page(0), width, height); // opens the file
        Timed plain = direct(opened, width, height);
        for (int repeat = 0; repeat < repeats; ++repeat) {
            directTimes.push_back(direct(opened, timedScale * width, timedScale * height).milliseconds);
            oursTimes.push_back(ours(*document->page(0), timedScale * width, timedScale * height).milliseconds);
        }
        popplerTotal += timeOf("pdftoppm -r 144 -singlefile -f 1", path);
        mupdfTotal += timeOf("mutool draw -q -r 144 -o page.ppm", path);
        ++pages;
        oursTotal += median(oursTimes);
        directTotal += median(directTimes);
        const auto poppler = otherTool("pdftoppm -r 72 -png -singlefile -f 1", path);
        const auto mupdf = otherTool("mutool draw -q -r 72 -o page.png", path);
        const auto judge = [&](const Timed& timed, Shares& shares) {
            const auto p = difference(timed.bitmap, poppler);
            const auto m = difference(timed.bitmap, mupdf);
            ++shares.compared;
            shares.poppler += p && *p <= tolerance ? 1 : 0;
            shares.mupdf += m && *m <= tolerance ? 1 : 0;
            const bool good = (p && *p <= tolerance) || (m && *m <= tolerance);
            shares.either += good ? 1 : 0;
            return good;
        };
        const bool good = judge(mine, us);
        const bool qtGood = judge(plain, qt);
        if (!good) {
            std::fprintf(stderr, "differs %s (Qt PDF alone %s%s)\n", path.c_str(),
                         qtGood ? "agrees" : "differs as well", cropped ? ", cropped" : "");
        }
    }
    std::printf("\n%d pages. Near: mean difference per sample at most %.0f of 255.\n\n", pages, tolerance);
    std::printf("| | near poppler | near MuPDF | near either |\n| --- | --- | --- | --- |\n");
    const auto row = [](const char* name, const Shares& shares) {
        std::printf("| %s | %d | %d | %d |\n", name, shares.poppler, shares.mupdf, shares.either);
    };
    row("ours", us);
    row("Qt PDF called directly", qt);
    std::printf("\n| | ms for all pages at 144 dpi | times ours |\n| --- | --- | --- |\n");
    const auto time = [&](const char* name, double total) {
        std::printf("| %s | %.0f | %.3f |\n", name, total, total / oursTotal);
    };
    time("ours", oursTotal);
    time("Qt PDF called directly", directTotal);
    time("pdftoppm, a process a page", popplerTotal);
    time("mutool draw, a process a page", mupdfTotal);
    return EXIT_SUCCESS;
}
