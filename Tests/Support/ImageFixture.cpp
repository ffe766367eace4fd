#include "Support/ImageFixture.h"

#include "Platform/Imaging/Codecs.h"
#include "Support/Command.h"
#include "Support/Places.h"
#include "Support/TempFolder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace orvex::test {

void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.good()) << path;
}

namespace {

void putSample(Bitmap& bitmap, std::int64_t x, std::int64_t y, int channel, double level) {
    const auto index = static_cast<std::size_t>(x * bitmap.channels() + channel);
    const double clamped = std::clamp(level, 0.0, 1.0);
    if (bitmap.bitsPerComponent == 16) {
        const auto sample = static_cast<std::uint16_t>(std::lround(clamped * 65535));
        std::memcpy(bitmap.row(y) + index * 2, &sample, 2);
    } else {
        bitmap.row(y)[index] = static_cast<std::uint8_t>(std::lround(clamped * 255));
    }
}

} // namespace

Bitmap makePhoto(std::int64_t width, std::int64_t height, ColorModel model, int bits, Alpha alpha) {
    Bitmap bitmap = Bitmap::make(width, height, bits, {model, {}, 0}, alpha);
    std::uint32_t noise = 1;
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            const double u = static_cast<double>(x) / static_cast<double>(width);
            const double v = static_cast<double>(y) / static_cast<double>(height);
            noise = noise * 1664525u + 1013904223u;
            const double grain = (noise >> 24) / 255.0 * 0.04;
            const double levels[] = {u * 0.9 + grain, v * 0.8 + 0.1 * std::sin(9 * u) + grain,
                                     0.5 + 0.4 * std::sin(7 * (u + v)) + grain, 0.3 * u * v + grain, 1 - u};
            for (int channel = 0; channel < bitmap.channels(); ++channel) {
                const bool last = alpha != Alpha::none && channel == bitmap.channels() - 1;
                putSample(bitmap, x, y, channel, levels[last ? 4 : channel]);
            }
        }
    }
    return bitmap;
}

Bitmap makeLineArt(std::int64_t width, std::int64_t height) {
    Bitmap bitmap = Bitmap::make(width, height, 1, {ColorModel::gray, {}, 0});
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            const bool ink = (x + 2 * y) % 37 < 4 || (x * y) % 101 < 3 || x < y / 8;
            const int bit = ink ? 0 : 1;
            bitmap.row(y)[x >> 3] = static_cast<std::uint8_t>(bitmap.row(y)[x >> 3] | bit << (7 - (x & 7)));
        }
    }
    return bitmap;
}

Bitmap makeFlat(std::int64_t width, std::int64_t height, int count) {
    Bitmap bitmap = Bitmap::make(width, height, 8, {ColorModel::rgb, {}, 0});
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            const auto color = static_cast<unsigned>((x / 3 + 7 * (y / 5)) % count);
            std::uint8_t* pixel = bitmap.row(y) + 3 * x;
            pixel[0] = static_cast<std::uint8_t>(color * 5 + 1);
            pixel[1] = static_cast<std::uint8_t>(255 - color);
            pixel[2] = static_cast<std::uint8_t>(color * 31);
        }
    }
    return bitmap;
}

Bytes toNetpbm(const Bitmap& bitmap) {
    std::string text;
    const std::string size = std::to_string(bitmap.width) + " " + std::to_string(bitmap.height) + "\n";
    const std::string most = bitmap.bitsPerComponent == 16 ? "65535\n" : "255\n";
    if (bitmap.bitsPerComponent == 1) {
        text = "P4\n" + size;
    } else if (bitmap.channels() == 1) {
        text = "P5\n" + size + most;
    } else if (bitmap.channels() == 3) {
        text = "P6\n" + size + most;
    } else {
        const std::string kind = bitmap.channels() == 2                        ? "GRAYSCALE_ALPHA"
                                 : bitmap.colorSpace.model == ColorModel::cmyk ? "CMYK"
                                                                               : "RGB_ALPHA";
        text = "P7\nWIDTH " + std::to_string(bitmap.width) + "\nHEIGHT " + std::to_string(bitmap.height) + "\nDEPTH " +
               std::to_string(bitmap.channels()) + "\nMAXVAL " + most + "TUPLTYPE " + kind + "\nENDHDR\n";
    }
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        std::string row(reinterpret_cast<const char*>(bitmap.row(y)), bitmap.bytesPerRow);
        for (std::size_t i = 0; bitmap.bitsPerComponent == 16 && i + 1 < row.size(); i += 2) {
            std::swap(row[i], row[i + 1]); // big-endian in the file
        }
        for (std::size_t i = 0; bitmap.bitsPerComponent == 1 && i < row.size(); ++i) {
            row[i] = static_cast<char>(~row[i]); // 1 is black in the file
        }
        text += row;
    }
    return Bytes(std::move(text));
}

namespace {

struct NetpbmHeader {
    std::string kind;
    std::int64_t width = 0;
    std::int64_t height = 0;
    int depth = 1;
    int most = 1;
};

NetpbmHeader readHeader(std::istream& in) {
    NetpbmHeader header;
    in >> header.kind;
    if (header.kind == "P7") {
        for (std::string key; in >> key && key != "ENDHDR";) {
            if (key == "TUPLTYPE") {
                std::getline(in, key);
            } else {
                std::int64_t value = 0;
                in >> value;
                (key == "WIDTH" ? header.width : header.height) =
                    key == "WIDTH" || key == "HEIGHT" ? value : (key == "WIDTH" ? header.width : header.height);
                header.depth = key == "DEPTH" ? static_cast<int>(value) : header.depth;
                header.most = key == "MAXVAL" ? static_cast<int>(value) : header.most;
            }
        }
    } else {
        in >> header.width >> header.height;
        header.depth = header.kind == "P6" ? 3 : 1;
        if (header.kind != "P4") {
            in >> header.most;
        }
    }
    in.get();
    return header;
}

} // namespace

Bitmap fromNetpbm(const Bytes& data) {
    std::istringstream in{std::string(data.text())};
    const NetpbmHeader header = readHeader(in);
    const int bits = header.kind == "P4" ? 1 : header.most > 255 ? 16 : 8;
    const ColorModel model = header.depth <= 2 ? ColorModel::gray : ColorModel::rgb;
    Bitmap bitmap = Bitmap::make(header.width, header.height, bits, {model, {}, 0},
                                 header.depth % 2 == 0 ? Alpha::straight : Alpha::none);
    in.read(reinterpret_cast<char*>(bitmap.samples.data()), static_cast<std::streamsize>(bitmap.samples.size()));
    EXPECT_TRUE(in.good()) << "short netpbm data";
    for (std::size_t i = 0; bits == 1 && i < bitmap.samples.size(); ++i) {
        bitmap.samples[i] = static_cast<std::uint8_t>(~bitmap.samples[i]);
    }
    for (std::size_t i = 0; bits == 8 && header.most < 255 && i < bitmap.samples.size(); ++i) {
        bitmap.samples[i] = static_cast<std::uint8_t>(bitmap.samples[i] * 255 / header.most);
    }
    for (std::size_t i = 0; bits == 16 && i + 1 < bitmap.samples.size(); i += 2) {
        std::swap(bitmap.samples[i], bitmap.samples[i + 1]);
    }
    return bitmap;
}

Bytes convert(const Bytes& input, const std::string& command) {
    const TempFolder folder;
    writeFile(folder.path() / "in", input);
    const CommandResult result = run("cd " + quoted(folder.path().string()) + " && " + command);
    EXPECT_EQ(result.exitCode, 0) << command << "\n" << result.errors;
    return std::filesystem::exists(folder.path() / "out") ? readFile(folder.path() / "out") : Bytes{};
}

Bytes realProfile(const std::string& name) {
    return readFile("/usr/share/color/icc/ghostscript/" + name); // Debian's package libgs-common
}

Bytes makeProfile(ColorModel model, std::size_t size) {
    std::string text(size, 'p');
    text.replace(16, 4, model == ColorModel::gray ? "GRAY" : model == ColorModel::rgb ? "RGB " : "CMYK");
    text.replace(36, 4, "acsp");
    return Bytes(std::move(text));
}

Bytes withJPEGSegment(const Bytes& jpeg, std::uint8_t marker, std::string_view payload) {
    const std::size_t length = payload.size() + 2;
    std::string text(jpeg.text().substr(0, 2));
    text += {'\xFF', static_cast<char>(marker), static_cast<char>(length >> 8), static_cast<char>(length & 255)};
    text.append(payload);
    text.append(jpeg.text().substr(2));
    return Bytes(std::move(text));
}

std::string exifBlock(int orientation, std::uint32_t resolution, int unit, bool littleEndian) {
    std::string text(littleEndian ? "Exif\0\0II" : "Exif\0\0MM", 8);
    const auto put = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(value >> 8 * (littleEndian ? i : bytes - 1 - i));
        }
    };
    const auto entry = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t value) {
        put(tag, 2), put(type, 2), put(1, 4);
        type == 3 ? (put(value, 2), put(0, 2)) : put(value, 4);
    };
    put(42, 2), put(8, 4), put(4, 2);
    entry(0x112, 3, static_cast<std::uint32_t>(orientation));
    entry(0x11A, 5, 62), entry(0x11B, 5, 70);
    entry(0x128, 3, static_cast<std::uint32_t>(unit));
    put(0, 4), put(resolution, 4), put(1, 4), put(resolution * 2, 4), put(1, 4);
    return text;
}

std::filesystem::path scan(const std::string& name) {
    const auto path = sharedFolder() / "corpus/scans" / name;
    return std::filesystem::exists(path) ? path : std::filesystem::path{};
}

} // namespace orvex::test
