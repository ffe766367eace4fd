// The pixels of embedded images beside poppler's: exact to rounding where the samples say what they mean, within a
// named tolerance where a conversion between colour models comes in.
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Utils+ExtractImages.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/Deflate.h"
#include "Support/Command.h"
#include "Support/ImageFixture.h"
#include "Support/ImagePage.h"
#include "Support/PDFFixture.h"
#include "Support/Places.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace orvex {
namespace {

using test::FixtureXObject;
using test::imageDictionary;

constexpr int rounding = 1;
/// DeviceCMYK means no particular inks: we mix the overprints of common offset inks (Neugebauer's model), poppler
/// interpolates a table of its own between the same corners.
constexpr int otherInks = 12;
/// Little CMS on both sides, but with black point compensation on ours.
constexpr int otherIntent = 4;
/// Poppler takes L*a*b* to a display without adapting its white as ICC does.
constexpr int otherWhite = 40;

struct PixelCase {
    std::string colorSpace;
    int bits;
    int components;
    int tolerance;
    std::string more;
};

constexpr int width = 64; // whole bytes at every depth
constexpr int height = 48;

/// Samples that run through all values, each component at its own pace.
std::string samples(const PixelCase& c) {
    std::string data;
    unsigned state = 7;
    for (int i = 0; i < width * height * c.components * c.bits / 8; ++i) {
        state = state * 1664525 + 1013904223;
        const unsigned byte = i < 256 ? static_cast<unsigned>(i) : state >> 24;
        // Poppler turns the largest samples of 16-bit RGB to zero.
        data += static_cast<char>(c.bits == 16 ? byte % 128 + 64 : byte);
    }
    return data;
}

std::vector<PixelCase> pixelCases() {
    std::vector<PixelCase> cases;
    for (const int bits : {1, 2, 4, 8, 16}) {
        cases.push_back({"/DeviceGray", bits, 1, rounding, ""});
        cases.push_back({"/DeviceGray", bits, 1, rounding, "/Decode [1 0]"});
        cases.push_back({"/DeviceRGB", bits, 3, rounding, ""});
        if (bits != 16) { // pdfimages passes over the decode array there
            cases.push_back({"/DeviceRGB", bits, 3, rounding, "/Decode [1 0 0 1 0.5 1]"});
        }
        cases.push_back({"/DeviceCMYK", bits, 4, otherInks, ""});
    }
    std::string table;
    for (int i = 0; i < 256 * 3; ++i) {
        constexpr std::string_view digits = "0123456789ABCDEF";
        table += {digits[static_cast<std::size_t>(i * 7 / 16 % 16)], digits[static_cast<std::size_t>(i * 7 % 16)]};
    }
    for (const int bits : {2, 4, 8}) { // pdfimages writes a palette of two as black and white
        const std::string last = std::to_string((1 << bits) - 1);
        cases.push_back({"[/Indexed /DeviceRGB " + last + " <" + table + ">]", bits, 1, rounding, ""});
        cases.push_back({"[/Indexed /DeviceGray " + last + " <" + table + ">]", bits, 1, rounding, ""});
    }
    cases.push_back({"[/Indexed /DeviceRGB 20 <" + table + ">]", 8, 1, rounding, ""}); // samples beyond the table
    cases.push_back({"[/Indexed /DeviceCMYK 63 <" + table + ">]", 8, 1, otherInks, ""});
    cases.push_back({"[/Lab << /WhitePoint [0.9642 1 0.8249] /Range [-60 60 -60 60] >>]", 8, 3, otherWhite, ""});
    return cases;
}

/// Every image of the file in sRGB.
std::vector<Bitmap> ours(const Bytes& file) {
    std::vector<Bitmap> pixels;
    testing::internal::CaptureStdout();
    walkEmbeddedImages(*OrvexPDFDocument::fromData(file)->page(0), [&](const EmbeddedImage& image, const std::string&) {
        pixels.push_back(convertToSRGB(*std::get<EmbeddedRaw>(image).image->makeRep()->bitmap()));
    });
    testing::internal::GetCapturedStdout();
    return pixels;
}

Bitmap popplers(const test::TempFolder& folder, std::size_t index) {
    std::string number = std::to_string(index);
    number.insert(0, 3 - std::min<std::size_t>(3, number.size()), '0');
    return convertToSRGB(
        *Image::fromData(readFile(folder.path() / ("i-" + number + ".png")))->representations().front()->bitmap());
}

int largestDifference(const Bitmap& a, const Bitmap& b) {
    int largest = a.width == b.width && a.height == b.height ? 0 : 65535;
    const auto at = [](const Bitmap& bitmap, std::int64_t x, std::int64_t y, int c) -> int {
        const std::int64_t sample = x * bitmap.channels() + std::min(c, bitmap.colorSpace.components() - 1);
        return bitmap.bitsPerComponent == 16
                   ? reinterpret_cast<const std::uint16_t*>(bitmap.row(y))[sample] / 257 // poppler writes bytes
                   : bitmap.row(y)[sample];
    };
    for (std::int64_t y = 0; y < height && largest < 65535; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                largest = std::max(largest, std::abs(at(a, x, y, c) - at(b, x, y, c)));
            }
        }
    }
    return largest;
}

void expectPopplersPixels(const std::vector<PixelCase>& cases, const std::vector<std::string>& more) {
    std::vector<FixtureXObject> objects;
    for (const PixelCase& c : cases) {
        const std::string data = samples(c);
        const Bytes packed = deflate({reinterpret_cast<const std::uint8_t*>(data.data()), data.size()});
        objects.push_back({"Im" + std::to_string(objects.size() + 100),
                           imageDictionary(width, height, c.bits, c.colorSpace, "/Filter /FlateDecode " + c.more),
                           std::string(packed.text())});
    }
    const test::TempFolder folder;
    const Bytes file = test::pdfWithXObjects(objects, more);
    test::writeFile(folder.path() / "a.pdf", file);
    ASSERT_EQ(test::run("cd " + test::quoted(folder.path().string()) + " && pdfimages -png a.pdf i").exitCode, 0);
    const auto pixels = ours(file);
    ASSERT_EQ(pixels.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_LE(largestDifference(pixels[i], popplers(folder, i)), cases[i].tolerance)
            << cases[i].bits << " bits " << cases[i].colorSpace.substr(0, 40) << " " << cases[i].more;
    }
}

TEST(EmbeddedPixels, AgreeWithPopplers) {
    expectPopplersPixels(pixelCases(), {});
}

TEST(EmbeddedPixels, ThroughAProfileAgreeWithPopplers) {
    const Bytes profile = test::realProfile("srgb.icc"); // Little CMS asks for a sound one
    expectPopplersPixels({{"[/ICCBased 4 0 R]", 8, 3, otherIntent, ""}},
                         {test::streamBody(std::string(profile.text()), "/N 3 /Alternate /DeviceRGB")});
}

/// Files of the shared collection; the second one's data refer to segments that stand apart.
TEST(EmbeddedPixels, OfJBIG2DataAgreeWithPopplers) {
    for (const std::string name : {"linn.pdf", "jbig2_baddevicen.pdf"}) {
        const auto path = test::sharedFolder() / "corpus/scans" / name;
        if (!std::filesystem::exists(path)) {
            GTEST_SKIP() << "the shared collection of files is not there";
        }
        const test::TempFolder folder;
        const std::string command =
            "pdfimages -l 1 -png " + test::quoted(path.string()) + " " + test::quoted((folder.path() / "i").string());
        ASSERT_EQ(test::run(command).exitCode, 0);
        const PDFObject objects =
            PDFObject::ofPage(*OrvexPDFDocument::fromFile(path)->page(0)).get("Resources").get("XObject");
        const auto data = objects.get(objects.keys().front()).streamData();
        ASSERT_TRUE(data) << name;
        const Bitmap theirs =
            *Image::fromData(readFile(folder.path() / "i-000.png"))->representations().front()->bitmap();
        ASSERT_EQ(theirs.bitsPerComponent, 1) << name;
        ASSERT_EQ(data->bytes.size(), theirs.samples.size()) << name;
        // Which of the two values is black is for the colour space to say, and the second file's is none of ours.
        const int flip = data->bytes.data()[0] ^ theirs.samples[0];
        EXPECT_TRUE(flip == 0 || flip == 0xFF) << name;
        const auto last = theirs.bytesPerRow - 1; // bits behind the row's end do not count
        for (std::size_t i = 0; i < theirs.samples.size(); ++i) {
            ASSERT_TRUE(i % theirs.bytesPerRow == last || (data->bytes.data()[i] ^ theirs.samples[i]) == flip)
                << name << " byte " << i;
        }
    }
}

} // namespace
} // namespace orvex
