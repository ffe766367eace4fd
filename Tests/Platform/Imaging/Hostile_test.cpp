// Files made to hurt: they end in an error that names what is wrong, or in a picture, and never take much memory.
#include "Platform/Imaging/Codecs.h"

#include "Platform/Imaging/Deflate.h"
#include "Platform/Imaging/Png_p.h"
#include "Support/ImageFixture.h"

#include <fstream>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;
using testing::HasSubstr;

namespace {

std::string bigEndian(std::uint32_t value, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        text += static_cast<char>(value >> shift);
    }
    return text;
}

Bytes replaced(const Bytes& file, std::size_t at, const std::string& by) {
    std::string text(file.text());
    text.replace(at, by.size(), by);
    return Bytes(std::move(text));
}

Bytes smallJPEG() {
    return *encodeJPEG(makePhoto(64, 48), {0.5});
}

Bytes jpegOf(std::uint32_t width, std::uint32_t height) {
    const Bytes jpeg = smallJPEG();
    const std::size_t frame = jpeg.text().find("\xFF\xC0");
    return replaced(jpeg, frame + 5, bigEndian(height, 2) + bigEndian(width, 2));
}

std::string pngChunk(const std::string& type, std::string_view payload) {
    const std::string body = type + std::string(payload);
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(body.data()), body.size());
    return bigEndian(static_cast<std::uint32_t>(payload.size()), 4) + body + bigEndian(png::crc32(bytes), 4);
}

/// A grey picture of these dimensions whose data are `rows`; `extra` chunks stand between.
Bytes pngOf(std::uint32_t width, std::uint32_t height, const Bytes& data, const std::string& extra = {}) {
    return Bytes("\x89PNG\r\n\x1A\n" +
                 pngChunk("IHDR", bigEndian(width, 4) + bigEndian(height, 4) + std::string("\x08\0\0\0\0", 5)) + extra +
                 pngChunk("IDAT", data.text()) + pngChunk("IEND", ""));
}

Bytes quicklyDeflated(std::span<const std::uint8_t> data) {
    return Bytes(deflateZlib(data, 1, 0).value());
}

Bytes zeros(std::size_t count) {
    return quicklyDeflated(std::vector<std::uint8_t>(count));
}

std::string profileChunk(std::size_t size) {
    return pngChunk("iCCP", std::string("x\0\0", 3) +
                                std::string(quicklyDeflated(makeProfile(ColorModel::gray, size).span()).text()));
}

Bytes jpegWithProfileOfSixteenMegabytes() {
    const std::string part(65000, '\0');
    const Bytes profile = makeProfile(ColorModel::rgb, 65000);
    Bytes jpeg = smallJPEG();
    for (int number = 255; number > 0; --number) {
        const std::string head = std::string("ICC_PROFILE\0", 12) + static_cast<char>(number) + '\xFF';
        jpeg = withJPEGSegment(jpeg, 0xE2, head + (number == 1 ? std::string(profile.text()) : part));
    }
    return jpeg;
}

/// SIZ of a codestream: `components` of 8 bits, tiles of these dimensions.
Bytes codestreamOf(std::uint32_t width, std::uint32_t height, std::uint32_t tile, std::uint32_t components) {
    std::string text("\xFF\x4F\xFF\x51", 4);
    text += bigEndian(38 + 3 * components, 2) + bigEndian(0, 2) + bigEndian(width, 4) + bigEndian(height, 4) +
            bigEndian(0, 4) + bigEndian(0, 4) + bigEndian(tile, 4) + bigEndian(tile, 4) + bigEndian(0, 4) +
            bigEndian(0, 4) + bigEndian(components, 2);
    for (std::uint32_t i = 0; i < components; ++i) {
        text += std::string("\x07\x01\x01", 3);
    }
    return Bytes(text + std::string("\xFF\x90\0\x0A\0\0\0\0\0\0\0\x01\xFF\x93\0\0\xFF\xD9", 18));
}

/// A little-endian TIFF of one bilevel strip.
Bytes tiffOf(std::uint32_t width, std::uint32_t height, std::uint32_t compression, std::uint32_t offset,
             std::uint32_t count) {
    std::string text("II*\0\x08\0\0\0", 8);
    const auto put = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(value >> (8 * i));
        }
    };
    const std::pair<std::uint32_t, std::uint32_t> tags[] = {{256, width},       {257, height}, {258, 1},
                                                            {259, compression}, {262, 1},      {273, offset},
                                                            {278, height},      {279, count}};
    put(std::size(tags), 2);
    for (const auto& [tag, value] : tags) {
        put(tag, 2), put(4, 2), put(1, 4), put(value, 4);
    }
    put(0, 4);
    return Bytes(text + std::string(16, '\0'));
}

/// Peak of resident memory, in MiB, that `work` adds.
double megabytesTaken(const std::function<void()>& work) {
    const auto read = [](const std::string& key) {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(key)) {
                return std::stod(line.substr(key.size())) / 1024;
            }
        }
        return 0.0;
    };
    std::ofstream("/proc/self/clear_refs") << 5; // the peak starts again
    const double before = read("VmRSS:");
    work();
    return read("VmHWM:") - before;
}

void open(const Bytes& data) {
    for (const ImageInfo& info : readImageInfo(data)) {
        (void)decodeImage(data, info);
    }
}

} // namespace

TEST(Hostile, bombsAndLiesEndInAnErrorThatNamesThem) {
    struct Case {
        const char* what;
        Bytes data;
        const char* error; ///< empty: the picture itself is sound
    };
    const Bytes jp2 = *encodeJPEG2000(makePhoto(64, 48), {0.5});
    const Case cases[] = {
        {"JPEG of 65500 x 65500", jpegOf(65500, 65500), "image too large (65500 x 65500 pixels)"},
        {"JPEG that promises more than follows", jpegOf(20000, 20000), "truncated JPEG data"},
        {"JPEG without pixels", jpegOf(0, 20), "image without pixels"},
        {"JPEG cut in its header", smallJPEG().slice(0, 100), "truncated JPEG data"},
        {"JPEG cut in its scan", smallJPEG().slice(0, smallJPEG().size() - 40), "truncated JPEG data"},
        {"JPEG with a profile of 16 MB", jpegWithProfileOfSixteenMegabytes(), ""},
        {"PNG of 2^31 - 1 squared", pngOf(0x7FFFFFFF, 0x7FFFFFFF, zeros(100)), "image too large"},
        {"PNG that promises more than follows", pngOf(40000, 40000, zeros(100)), "truncated PNG data"},
        {"PNG that inflates to less", pngOf(1000, 500, zeros(495'000)), "damaged PNG data"},
        {"PNG that inflates to a thousand times as much", pngOf(10, 10, zeros(100 << 20)), ""},
        {"PNG whose profile inflates to 100 MB", pngOf(10, 10, zeros(110), profileChunk(100 << 20)), ""},
        {"PNG with text that inflates to 100 MB",
         pngOf(10, 10, zeros(110), pngChunk("zTXt", std::string("x\0\0", 3) + std::string(zeros(100 << 20).text()))),
         ""},
        {"PNG cut off", pngOf(10, 10, zeros(110)).slice(0, 60), "truncated PNG data"},
        {"TIFF of 2^32 - 1 squared", tiffOf(0xFFFFFFFF, 0xFFFFFFFF, 1, 110, 16), "image too large"},
        {"TIFF that promises more than follows", tiffOf(60000, 60000, 1, 110, 16), "truncated TIFF data"},
        {"TIFF whose strip lies outside", tiffOf(64, 64, 1, 1 << 30, 512), "truncated TIFF data"},
        {"TIFF whose strip is larger than the file", tiffOf(64, 64, 1, 110, 0x7FFFFFFF), "truncated TIFF data"},
        {"fax in one strip of a gigabyte", tiffOf(90000, 90000, 4, 110, 16), "damaged TIFF data"},
        {"JPEG 2000 of 2^31 - 1 squared", codestreamOf(0x7FFFFFFF, 0x7FFFFFFF, 1024, 3), "image too large"},
        {"JPEG 2000 of 16000 x 16000", codestreamOf(16000, 16000, 16000, 3), "image too large (16000 x 16000 pixels)"},
        {"JPEG 2000 with 16384 components", codestreamOf(256, 256, 256, 16384), "image too large"},
        {"JPEG 2000 of a million tiles", codestreamOf(1000, 1000, 1, 1), "truncated JPEG 2000 data"},
        {"JPEG 2000 without parameters", codestreamOf(100, 100, 100, 1), "damaged JPEG 2000 data"},
        {"JPEG 2000 cut off", jp2.slice(0, jp2.size() - 60), "truncated JPEG 2000 data"},
        {"JPEG 2000 without a codestream", jp2.slice(0, 80), "truncated JPEG 2000 data"},
        {"JPEG 2000 with a box shorter than its header", replaced(jp2, 12, bigEndian(3, 4)), "damaged JPEG 2000 data"},
    };
    for (const Case& row : cases) {
        std::string error;
        const double taken = megabytesTaken([&] {
            try {
                open(row.data);
            } catch (const ImageError& caught) {
                error = caught.what();
            }
        });
        EXPECT_THAT(error, row.error[0] == '\0' ? testing::Matcher<std::string>("") : HasSubstr(row.error)) << row.what;
        EXPECT_EQ(error.find('\n'), std::string::npos) << row.what;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // whose bookkeeping outweighs the pictures
        EXPECT_LT(taken, 64) << row.what;
#else
        (void)taken;
#endif
    }
}

TEST(Hostile, giganticProfilesAreLeftOut) {
    EXPECT_TRUE(readImageInfo(jpegWithProfileOfSixteenMegabytes()).front().colorSpace.iccProfile.empty());
    EXPECT_TRUE(
        readImageInfo(pngOf(10, 10, zeros(110), profileChunk(100 << 20))).front().colorSpace.iccProfile.empty());
    EXPECT_EQ(readImageInfo(pngOf(10, 10, zeros(110), profileChunk(3 << 20))).front().colorSpace.iccProfile.size(),
              std::size_t{3} << 20);
}
