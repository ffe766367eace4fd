// Images of every format, made by our encoders where there is one and bit by bit where there is none.
#include "Parts.h"
#include "Seeds.h"

#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/Deflate.h"
#include "Support/ImagePage.h"
#include "Support/PDFFixture.h"

#include <vector>

namespace orvex::fuzz {

namespace {

using namespace std::string_literals;

/// Binary digits, blanks left out, the last byte filled up with zeros.
std::string bits(std::string_view digits) {
    std::string bytes;
    int count = 0;
    for (const char digit : digits) {
        if (digit == ' ') {
            continue;
        }
        if (count++ % 8 == 0) {
            bytes.push_back('\0');
        }
        bytes.back() = static_cast<char>(bytes.back() | (digit - '0') << (7 - (count - 1) % 8));
    }
    return bytes;
}

// Rows of 24 pixels as fax machines send them.
constexpr std::string_view rowsOfGroup4 = "1 001 1100 000101 1 111 011 010 1 0001 1 1 1 1 000000000001 000000000001";
constexpr std::string_view rowOfGroup3 = "000000000001 1100 000101 01000";
constexpr std::string_view mixedRows = "000000000001 1 0101000 000000000001 0 1 000000000001 1 1100 000101 01000";

std::string repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

void add16(std::string& out, std::size_t value) {
    out += {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
}
void add32(std::string& out, std::size_t value) {
    add16(out, value & 0xFFFF);
    add16(out, value >> 16);
}

struct TiffKind {
    std::size_t compression;
    std::size_t photometric;
    std::size_t samples;
    std::size_t bits;
    std::size_t predictor = 1;
};

/// One strip of 24 x 8 pixels.
Bytes tiff(const TiffKind& kind, const std::string& strip) {
    const std::vector<std::pair<std::size_t, std::size_t>> tags{{256, 24},
                                                                {257, 8},
                                                                {258, kind.bits},
                                                                {259, kind.compression},
                                                                {262, kind.photometric},
                                                                {273, 8},
                                                                {274, 1},
                                                                {277, kind.samples},
                                                                {278, 8},
                                                                {279, strip.size()},
                                                                {317, kind.predictor}};
    std::string file("II*\0", 4);
    add32(file, 8 + strip.size() + strip.size() % 2);
    file += strip + std::string(strip.size() % 2, '\0');
    add16(file, tags.size());
    for (const auto& [tag, value] : tags) {
        add16(file, tag);
        add16(file, 4); // a whole number of 32 bits
        add32(file, 1);
        add32(file, value);
    }
    add32(file, 0);
    return Bytes(std::move(file));
}

std::string deflated(const std::string& text) {
    return std::string(deflate(Bytes::copyOf(text).span()).text());
}

std::string rowsOfSamples(std::size_t bytesPerRow) {
    std::string rows;
    for (std::size_t i = 0; i < 8 * bytesPerRow; ++i) {
        rows += static_cast<char>(i * 37);
    }
    return rows;
}

void addTiffs(Seeds& seeds) {
    seeds.add("tiff", tiff({1, 2, 3, 8}, rowsOfSamples(72)));
    seeds.add("tiff", tiff({1, 5, 4, 8}, rowsOfSamples(96)));
    seeds.add("tiff", tiff({1, 0, 1, 1}, rowsOfSamples(3)));
    seeds.add("tiff", tiff({8, 1, 1, 16, 2}, deflated(rowsOfSamples(48))));
    seeds.add("tiff", tiff({32773, 1, 1, 8}, bits("10000001 00000000 10000001 11111111")));
    seeds.add("tiff", tiff({4, 0, 1, 1}, bits(rowsOfGroup4)));
    seeds.add("tiff", tiff({3, 0, 1, 1}, bits(repeated(rowOfGroup3, 8))));
    seeds.add("tiff", tiff({5, 1, 1, 8}, bits("100000000" + repeated("001010101", 192) + "100000001")));
    seeds.add("tiff", tiff({7, 6, 3, 8}, std::string(encodeJPEG(test::makePhoto(24, 8), {})->text())));
}

void addCodecs(Seeds& seeds) {
    for (const auto model : {ColorModel::gray, ColorModel::rgb, ColorModel::cmyk}) {
        seeds.add("jpeg", *encodeJPEG(test::makePhoto(24, 16, model), {}));
    }
    seeds.add("jpeg", *encodeJPEG(test::makePhoto(24, 16), {.quality = 0.95, .orientation = 5}));
    for (const int depth : {8, 16}) {
        seeds.add("png", *encodePNG(test::makePhoto(12, 9, ColorModel::rgb, depth), {}));
        seeds.add("png", *encodePNG(test::makePhoto(12, 9, ColorModel::gray, depth, Alpha::straight), {}));
    }
    seeds.add("png", *encodePNG(test::makeLineArt(33, 20), {}));
    seeds.add("png", *encodePNG(test::makeFlat(20, 20, 5), {}));
    for (const double quality : {0.5, 1.0}) {
        const Bytes boxed = *encodeJPEG2000(test::makePhoto(24, 16), {.quality = quality});
        seeds.add("jpeg2000", boxed);
        seeds.add("jpeg2000", boxed.slice(boxed.text().find("\xFF\x4F\xFF\x51"), boxed.size()));
        seeds.add("jpeg2000", *encodeJPEG2000(test::makePhoto(9, 9, ColorModel::gray, 8, Alpha::straight), {}));
    }
    addTiffs(seeds);
}

void addFaxes(Seeds& seeds) {
    seeds.add("ccitt", Bytes("\xFF\0\x18\0"s + bits(rowsOfGroup4)));
    seeds.add("ccitt", Bytes("\0\0\x18\2"s + bits(repeated(rowOfGroup3, 4))));
    seeds.add("ccitt", Bytes("\4\0\x18\x8E"s + bits(mixedRows)));
}

// JBIG2: segments without a file's header, as they stand in a PDF

std::string bigEndian(std::size_t value) {
    return {static_cast<char>(value >> 24 & 0xFF), static_cast<char>(value >> 16 & 0xFF),
            static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}

std::string segment(std::size_t number, int type, const std::string& data, const std::string& refersTo = {}) {
    const auto count = static_cast<char>(refersTo.size() << 5);
    return bigEndian(number) + static_cast<char>(type) + count + refersTo + '\1' + bigEndian(data.size()) + data;
}

std::string region(const std::string& flags) {
    return bigEndian(24) + bigEndian(8) + bigEndian(0) + bigEndian(0) + '\0' + flags;
}

const std::string page = segment(0, 48, bigEndian(24) + bigEndian(8) + bigEndian(0) + bigEndian(0) + "\0\0\0"s);
const std::string anyCode = "\x84\xC7\x3B\xFC\xE1\xA1\x43\x04\x02\x20\xFF\xAC"s; // any bytes are arithmetic code
const std::string nearPixels = "\x03\xFF\xFD\xFF\x02\xFE\xFE\xFE"s;

std::string symbols() {
    return segment(1, 0, "\0\0"s + nearPixels + bigEndian(1) + bigEndian(1) + anyCode);
}

void addJbig2(Seeds& seeds) {
    const std::string size("\x17\x07", 2);
    const std::string fax = segment(1, 38, region("\1") + bits(rowsOfGroup4));
    const std::string coded = segment(1, 38, region("\0"s + nearPixels + anyCode));
    const std::string text = segment(2, 6, region("\0\0"s + bigEndian(1) + anyCode), "\1");
    const std::string halftones = segment(1, 16, "\0\4\4\3"s + anyCode);
    seeds.add("jbig2", Bytes(size + page + fax));
    seeds.add("jbig2", Bytes(size + page + coded));
    seeds.add("jbig2", Bytes(size + page + symbols() + text));
    seeds.add("jbig2", Bytes(size + std::string(joined({page + text, symbols()}).text())));
    seeds.add("jbig2", Bytes(size + page + halftones));
}

// Images inside files

std::string hex(const std::string& bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += digits[static_cast<std::uint8_t>(c) >> 4];
        text += digits[c & 15];
    }
    return text + ">";
}

void addEmbedded(Seeds& seeds) {
    const auto add = [&](int depth, const std::string& space, const std::string& more, const std::string& data,
                         const std::string& dictionary = {}, const std::string& second = {}) {
        seeds.add("embedded", joined({test::imageDictionary(24, 8, depth, space, more), data, dictionary, second}));
    };
    add(8, "/DeviceRGB", "/Decode [1 0 1 0 1 0]", rowsOfSamples(72));
    add(1, "/DeviceGray", "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns 24 >>", bits(rowsOfGroup4));
    add(1, "/DeviceGray", "/Filter /JBIG2Decode /DecodeParms << /JBIG2Globals 4 0 R >>",
        page + segment(2, 38, region("\0"s + nearPixels + anyCode)), "", symbols());
    add(8, "[/Indexed /DeviceCMYK 3 <000102030405060708090A0B0C0D0E0F>]", "/Filter /RunLengthDecode",
        bits("10000001 00000001 10000001 00000010 10000000"));
    add(4, "[/Indexed [/Lab << /WhitePoint [0.95 1 1.09] /Range [-99 99 -99 99] >>] 15 4 0 R]", "", rowsOfSamples(12),
        "", rowsOfSamples(6));
    add(16, "[/ICCBased 4 0 R]",
        "/Filter [/ASCIIHexDecode /FlateDecode] /DecodeParms [null << /Predictor 15 /Colors 3 "
        "/Columns 24 /BitsPerComponent 16 >>]",
        hex(deflated(rowsOfSamples(145))), "/N 3 /Alternate /DeviceRGB",
        std::string(test::makeProfile(ColorModel::rgb, 200).text()));
    add(2, "/DeviceGray", "/Filter [/ASCII85Decode /LZWDecode]", "J..)6T`?p&<!J9%_[umg\"B7/Z7KNXbN'S+,*Q/&\"OLT'F~>");
    add(8, "/DeviceCMYK", "/Filter /DCTDecode /Decode [1 0 1 0 1 0 1 0]",
        std::string(encodeJPEG(test::makePhoto(24, 8, ColorModel::cmyk), {})->text()));
    add(8, "/DeviceRGB", "/Filter /JPXDecode", std::string(encodeJPEG2000(test::makePhoto(24, 8), {})->text()));
    add(8, "/DeviceRGB", "/Filter /FlateDecode /DecodeParms << /Predictor 2 /Colors 3 /Columns 24 >>",
        deflated(rowsOfSamples(72)));
    add(1, "[/CalRGB << >>]", "/ImageMask true", rowsOfSamples(3));
}

} // namespace

Bytes smallJPEG() {
    return *encodeJPEG(test::makePhoto(24, 16), {});
}

void addPictures(Seeds& seeds) {
    addCodecs(seeds);
    addFaxes(seeds);
    addJbig2(seeds);
    addEmbedded(seeds);
}

} // namespace orvex::fuzz
