// One scan after the other through the optimiser, in turns with libjpeg-turbo alone decoding it at half its size and
// encoding that: what nothing that reduces and encodes a scan can do without. Also tells how alike two pictures are.
//
// Usage: bench_squeeze time RUNS JPEG...      a line per file: its name, our milliseconds, libjpeg-turbo's, bytes, mode
//        bench_squeeze reduce JPEG OUT.png          the reduction alone
//        bench_squeeze compare PICTURE PICTURE...   structural similarity of each further picture with the first
#include "OrvexPDF/Images.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/Similarity.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <malloc.h>

namespace {

using namespace orvex;
struct Outcome {
    OrvexImageMetaMode mode = OrvexImageMetaMode::undefined;
    std::int64_t bytes = 0;
};

Outcome ours(const Bytes& data, const OrvexPDFSqueezeModePtr& mode) {
    const OrvexImageMeta meta = optimizeImage(Image::fromData(data), mode, {});
    return {meta.mode, meta.count};
}

std::vector<std::uint8_t> halved(const Bytes& data, JDIMENSION& width, JDIMENSION& height, int& components) {
    jpeg_decompress_struct in{};
    jpeg_error_mgr errors{};
    in.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&in);
    jpeg_mem_src(&in, data.data(), data.size());
    jpeg_read_header(&in, TRUE);
    in.scale_num = 1;
    in.scale_denom = 2;
    jpeg_start_decompress(&in);
    width = in.output_width;
    height = in.output_height;
    components = in.output_components;
    std::vector<std::uint8_t> samples(static_cast<std::size_t>(width) * height * static_cast<std::size_t>(components));
    while (in.output_scanline < height) {
        JSAMPROW row = samples.data() +
                       static_cast<std::size_t>(in.output_scanline) * width * static_cast<std::size_t>(components);
        jpeg_read_scanlines(&in, &row, 1);
    }
    jpeg_finish_decompress(&in);
    jpeg_destroy_decompress(&in);
    return samples;
}

/// With the quality of the preset and the Huffman tables that fit, as ours is encoded.
std::size_t libjpegTurbo(const Bytes& data, int quality) {
    JDIMENSION width = 0;
    JDIMENSION height = 0;
    int components = 0;
    const auto samples = halved(data, width, height, components);
    jpeg_compress_struct out{};
    jpeg_error_mgr errors{};
    out.err = jpeg_std_error(&errors);
    jpeg_create_compress(&out);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&out, &buffer, &size);
    out.image_width = width;
    out.image_height = height;
    out.input_components = components;
    out.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&out);
    jpeg_set_quality(&out, quality, TRUE);
    out.optimize_coding = TRUE;
    jpeg_start_compress(&out, TRUE);
    while (out.next_scanline < height) {
        auto* row = const_cast<JSAMPROW>(samples.data() + static_cast<std::size_t>(out.next_scanline) * width *
                                                              static_cast<std::size_t>(components));
        jpeg_write_scanlines(&out, &row, 1);
    }
    jpeg_finish_compress(&out);
    jpeg_destroy_compress(&out);
    std::free(buffer);
    return size;
}

/// Of the processor, which whatever else the machine does disturbs less; both sides have one thread.
template <class Work> double millisecondsOf(Work work) {
    const std::clock_t start = std::clock();
    work();
    return 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void timeFiles(int runs, const std::vector<std::string>& files) {
    const auto mode = getSqueezeMode("medium");
    for (const std::string& file : files) {
        const Bytes data = readFile(file);
        std::vector<double> our;
        std::vector<double> floor;
        Outcome outcome;
        for (int run = 0; run < runs; ++run) {
            our.push_back(millisecondsOf([&] { outcome = ours(data, mode); }));
            floor.push_back(millisecondsOf([&] { (void)libjpegTurbo(data, static_cast<int>(mode->quality)); }));
        }
        std::printf("%s %.3f %.3f %lld %s\n", file.c_str(), median(our), median(floor),
                    static_cast<long long>(outcome.bytes), std::string(name(outcome.mode)).c_str());
    }
}

Bitmap pixels(const std::string& file) {
    const Bytes data = readFile(file);
    return flattenedOverWhite(decodeImage(data, readImageInfo(data).front()));
}

void reduce(const std::string& file, const std::string& target) {
    const ImagePtr image = Image::fromData(readFile(file));
    const Bytes png = orvexDataForPNG(*orvexImageTransform(image, getSqueezeMode("medium")->dpi)).value();
    std::ofstream(target, std::ios::binary) << png.text();
}

void compare(const std::vector<std::string>& files) {
    const Bitmap first = pixels(files.front());
    for (auto file = files.begin() + 1; file != files.end(); ++file) {
        std::printf("%.5f\n", test::similarity(first, pixels(*file)));
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 3) {
        std::fputs("see the head of squeeze_libjpegturbo.cpp\n", stderr);
        return 2;
    }
    constexpr int kept = 64 << 20; // as in the tool: the heap keeps the blocks of one scan for the next
    ::mallopt(M_MMAP_THRESHOLD, kept / 2);
    ::mallopt(M_TRIM_THRESHOLD, kept);
    try {
        if (arguments[0] == "time") {
            timeFiles(std::stoi(arguments[1]), {arguments.begin() + 2, arguments.end()});
        } else if (arguments[0] == "reduce") {
            reduce(arguments[1], arguments[2]);
        } else {
            compare({arguments.begin() + 1, arguments.end()});
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
