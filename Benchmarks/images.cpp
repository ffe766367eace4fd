// What a file's pages carry as images, ours against poppler's pdfimages: one line per image that pdfimages lists.
// Usage: bench_images FILE.pdf LIST PREFIX, where LIST is what `pdfimages -list` printed and PREFIX is what
// `pdfimages -png` was given. Prints tab-separated: page, number, type, width, height, poppler's colour, bits and
// encoding, then what came out (raw, jpg, the error, or where the image stands), and for two sets of pixels their
// largest and mean difference.
#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Utils+ExtractImages.h"
#include "Platform/Imaging/Codecs.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

namespace {

using namespace orvex;

struct Listed {
    int page = 0;
    int number = 0;
    std::string type, width, height, color, components, bits, encoding, interpolated, object;
};

std::vector<Listed> readList(const char* path) {
    std::vector<Listed> list;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        Listed entry;
        if (words >> entry.page >> entry.number >> entry.type >> entry.width >> entry.height >> entry.color >>
            entry.components >> entry.bits >> entry.encoding >> entry.interpolated >> entry.object) {
            list.push_back(entry);
        }
    }
    return list;
}

struct Outcome {
    std::string what;
    std::optional<Bitmap> pixels;
};

Bitmap bytesOf(const Bitmap& bitmap) {
    constexpr std::int64_t most = 300'000'000;
    if (bitmap.width * bitmap.height > most) {
        throw std::runtime_error("too large to compare");
    }
    return flattenedOverWhite(convertToSRGB(bitmap));
}

Outcome decode(const PDFObject& object) {
    try {
        const auto image = decodeEmbeddedImage("", object);
        if (!image) {
            return {"no image", {}};
        }
        if (const auto* jpg = std::get_if<EmbeddedJPG>(&*image)) {
            const auto stored = Image::fromData(jpg->data);
            return {"stored", bytesOf(*stored->representations().front()->bitmap())};
        }
        PDFImagePtr raw = std::get<EmbeddedRaw>(*image).image;
        const bool cut = raw->format == PDFStreamFormat::raw && raw->width * raw->bitsPerPixel % 8 != 0;
        raw = cut ? raw->withWholeByteRows() : raw;
        return {cut ? "raw, rows cut" : "raw", bytesOf(*raw->makeRep()->bitmap())};
    } catch (const std::exception& error) {
        return {error.what(), {}};
    }
}

/// The page's own image XObjects by object number, and how they came out.
struct PageImages {
    bool inherited = false;
    std::map<std::string, Outcome> outcomes;
};

PageImages readPage(const PDFPage& page) {
    PageImages images;
    const PDFObject resources = PDFObject::ofPage(page).get("Resources");
    images.inherited = resources.isNull();
    const PDFObject objects = resources.get("XObject");
    for (const std::string& key : objects.keys()) {
        const PDFObject object = objects.get(key);
        images.outcomes.emplace(std::to_string(object.objectNumber()), decode(object));
    }
    return images;
}

/// Grey as three equal components.
std::uint8_t component(const Bitmap& bitmap, std::int64_t x, std::int64_t y, int c) {
    const int channels = bitmap.channels();
    return bitmap.row(y)[x * channels + std::min(c, channels - 1)];
}

std::string compare(const Bitmap& ours, const Bitmap& theirs) {
    if (ours.width != theirs.width || ours.height != theirs.height) {
        return "\tsizes differ\t";
    }
    int largest = 0;
    double sum = 0;
    for (std::int64_t y = 0; y < ours.height; ++y) {
        for (std::int64_t x = 0; x < ours.width; ++x) {
            for (int c = 0; c < 3; ++c) {
                const int difference = std::abs(component(ours, x, y, c) - component(theirs, x, y, c));
                largest = std::max(largest, difference);
                sum += difference;
            }
        }
    }
    const double samples = 3.0 * static_cast<double>(ours.width) * static_cast<double>(ours.height);
    char text[64];
    std::snprintf(text, sizeof text, "\t%d\t%.3f", largest, sum / samples);
    return text;
}

std::string comparison(const Outcome& outcome, const std::string& png) {
    try {
        const auto theirs = Image::fromData(readFile(png));
        return outcome.pixels ? compare(*outcome.pixels, bytesOf(*theirs->representations().front()->bitmap()))
                              : "\t\t";
    } catch (const std::exception&) {
        return "\tpoppler wrote none\t";
    }
}

std::string pngName(const std::string& prefix, int number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "-%03d.png", number);
    return prefix + digits;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: bench_images FILE.pdf LIST PREFIX\n";
        return 2;
    }
    moduleLogger().setLevel(LogLevel::off);
    std::streambuf* const out = std::cout.rdbuf(nullptr); // the library prints names
    std::ostringstream table;
    const auto list = readList(argv[2]);
    const auto document = OrvexPDFDocument::fromFile(argv[1]);
    std::map<int, PageImages> pages;
    for (const Listed& entry : list) {
        if (document && !pages.contains(entry.page) && document->page(entry.page - 1)) {
            pages[entry.page] = readPage(*document->page(entry.page - 1));
        }
        const PageImages& page = pages[entry.page];
        const auto found = page.outcomes.find(entry.object);
        table << entry.page << '\t' << entry.number << '\t' << entry.type << '\t' << entry.width << '\t' << entry.height
              << '\t' << entry.color << '\t' << entry.bits << '\t' << entry.encoding << '\t';
        if (found == page.outcomes.end()) {
            table << (!document ? "file not opened" : page.inherited ? "resources inherited" : "elsewhere") << "\t\t\n";
        } else {
            table << found->second.what << comparison(found->second, pngName(argv[3], entry.number)) << '\n';
        }
    }
    std::cout.rdbuf(out);
    std::cout << table.str();
}
