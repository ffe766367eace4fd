// zimg. RGB goes through a graph of three planes; grey, CMYK and what has alpha go through one of a single plane,
// channel by channel. Samples are resampled as they are stored, not in linear light: strokes keep the weight that every
// viewer gives them.
#include "Platform/Imaging/ImagingModule_p.h"
#include "Platform/Imaging/Interleave_p.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <new>

#include <zimg.h>

namespace orvex {
namespace {

/// zimg's API version 2.4, the oldest with what is used here.
constexpr unsigned apiVersion = ZIMG_MAKE_API_VERSION(2, 4);
constexpr std::size_t alignment = 64;

using Graph = std::unique_ptr<zimg_filter_graph, decltype(&zimg_filter_graph_free)>;
using Buffer = std::unique_ptr<std::uint8_t, decltype(&std::free)>;

Buffer makeBuffer(std::size_t bytes) {
    const std::size_t rounded = (std::max<std::size_t>(bytes, 1) + alignment - 1) / alignment * alignment;
    Buffer buffer(static_cast<std::uint8_t*>(std::aligned_alloc(alignment, rounded)), &std::free);
    if (!buffer) {
        throw std::bad_alloc();
    }
    return buffer;
}

[[noreturn]] void throwFailure() {
    char text[256] = "";
    zimg_get_last_error(text, sizeof text);
    throw ImageError("the image cannot be resampled (" + std::string(text) + ")");
}

/// What tells one graph from another.
struct Shape {
    std::int64_t fromWidth = 0, fromHeight = 0;
    std::int64_t toWidth = 0, toHeight = 0;
    int fromBits = 8, toBits = 8;
    unsigned planes = 1; ///< 1 or 3
    friend bool operator==(const Shape&, const Shape&) = default;
};

zimg_image_format formatOf(std::int64_t width, std::int64_t height, int bits, unsigned planes) {
    zimg_image_format format;
    zimg_image_format_default(&format, apiVersion);
    format.width = static_cast<unsigned>(width);
    format.height = static_cast<unsigned>(height);
    format.pixel_type = bits == 16 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
    format.color_family = planes == 3 ? ZIMG_COLOR_RGB : ZIMG_COLOR_GREY;
    format.matrix_coefficients = planes == 3 ? ZIMG_MATRIX_RGB : ZIMG_MATRIX_UNSPECIFIED;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

Graph makeGraph(const Shape& shape) {
    const zimg_image_format source = formatOf(shape.fromWidth, shape.fromHeight, shape.fromBits, shape.planes);
    const zimg_image_format target = formatOf(shape.toWidth, shape.toHeight, shape.toBits, shape.planes);
    zimg_graph_builder_params parameters;
    zimg_graph_builder_params_default(&parameters, apiVersion);
    parameters.resample_filter = ZIMG_RESIZE_LANCZOS;
    parameters.filter_param_a = 2; // of three lobes the ringing costs more bytes in a JPEG than it shows
    parameters.cpu_type = ZIMG_CPU_AUTO_64B;
    Graph graph(zimg_filter_graph_build(&source, &target, &parameters), &zimg_filter_graph_free);
    if (!graph) {
        throwFailure();
    }
    return graph;
}

/// The pages of a batch are mostly of one size: the last graphs of the thread, for lightness and for colour, serve the
/// next one. Making one takes as long as using it.
const zimg_filter_graph* graphFor(const Shape& shape) {
    struct Known {
        Shape shape;
        Graph graph{nullptr, &zimg_filter_graph_free};
    };
    static thread_local std::array<Known, 2> known; // the last used first
    if (!known[0].graph || known[0].shape != shape) {
        std::swap(known[0], known[1]);
    }
    if (!known[0].graph || known[0].shape != shape) {
        known[0] = {shape, makeGraph(shape)};
    }
    return known[0].graph.get();
}

/// One side of the graph: rings of rows, one per plane, filled from or emptied into interleaved samples.
class Rings {
public:
    /// `lines` as zimg asks for them; ZIMG_BUFFER_MAX means all.
    Rings(std::int64_t width, std::int64_t height, unsigned lines, int bits, unsigned planes)
        : stride_((static_cast<std::size_t>(width) * static_cast<std::size_t>(bits / 8) + alignment - 1) / alignment *
                  alignment),
          mask_(zimg_select_buffer_mask(lines)),
          size_(stride_ * (mask_ == ZIMG_BUFFER_MAX ? static_cast<std::size_t>(height) : mask_ + 1u)),
          bytes_(makeBuffer(size_ * planes)), planes_(planes) {}

    template <class Sample> [[nodiscard]] Sample* line(unsigned plane, unsigned y) const {
        return reinterpret_cast<Sample*>(bytes_.get() + plane * size_ + stride_ * (y & mask_));
    }
    template <class Buffers> void describe(Buffers& buffers) const {
        for (unsigned plane = 0; plane < planes_; ++plane) {
            buffers.plane[plane].data = bytes_.get() + plane * size_;
            buffers.plane[plane].stride = static_cast<std::ptrdiff_t>(stride_);
            buffers.plane[plane].mask = mask_;
        }
    }

private:
    std::size_t stride_;
    unsigned mask_;
    std::size_t size_;
    Buffer bytes_;
    unsigned planes_;
};

/// The channels that one run of the graph works on.
struct Run {
    const Bitmap& from;
    Bitmap& to;
    const Rings& in;
    const Rings& out;
    unsigned planes;
    std::size_t index;      ///< the first channel
    std::size_t copies = 1; ///< how many channels from `index` on get the samples of a single plane
};

template <class Sample> void gather(const Run& run, unsigned y, unsigned left, unsigned right) {
    const auto step = static_cast<std::size_t>(run.from.channels());
    const Sample* from = reinterpret_cast<const Sample*>(run.from.row(y)) + run.index;
    for (unsigned plane = 0; plane < run.planes; ++plane) {
        Sample* to = run.in.line<Sample>(plane, y);
        if (step == 1) {
            std::copy(from + left, from + right, to + left);
            return;
        }
        for (std::size_t x = left; x < right; ++x) {
            to[x] = from[x * step + plane];
        }
    }
}

template <class Sample> void scatter(const Run& run, unsigned y, unsigned left, unsigned right) {
    const auto step = static_cast<std::size_t>(run.to.channels());
    Sample* to = reinterpret_cast<Sample*>(run.to.row(y)) + run.index;
    for (unsigned plane = 0; plane < run.planes; ++plane) {
        const Sample* from = run.out.line<Sample>(plane, y);
        if (step == 1) {
            std::copy(from + left, from + right, to + left);
            return;
        }
        for (std::size_t x = left; x < right; ++x) {
            for (std::size_t copy = 0; copy < run.copies; ++copy) {
                to[x * step + plane + copy] = from[x];
            }
        }
    }
}

int readRow(void* user, unsigned y, unsigned left, unsigned right) {
    const auto& run = *static_cast<const Run*>(user);
    if (run.from.bitsPerComponent == 1) {
        unpackBits(run.from.row(y), run.in.line<std::uint8_t>(0, y), run.from.width);
    } else if (run.from.bitsPerComponent == 16) {
        gather<std::uint16_t>(run, y, left, right);
    } else if (run.planes == 3) {
        deinterleave(run.from.row(y) + 3 * std::size_t{left}, right - left, run.in.line<std::uint8_t>(0, y) + left,
                     run.in.line<std::uint8_t>(1, y) + left, run.in.line<std::uint8_t>(2, y) + left);
    } else {
        gather<std::uint8_t>(run, y, left, right);
    }
    return 0;
}

int writeRow(void* user, unsigned y, unsigned left, unsigned right) {
    const auto& run = *static_cast<const Run*>(user);
    if (run.to.bitsPerComponent == 16) {
        scatter<std::uint16_t>(run, y, left, right);
    } else if (run.planes == 3 || run.copies == 3) {
        const unsigned second = run.planes == 3 ? 1 : 0;
        interleave(run.out.line<std::uint8_t>(0, y) + left, run.out.line<std::uint8_t>(second, y) + left,
                   run.out.line<std::uint8_t>(2 * second, y) + left, right - left,
                   run.to.row(y) + 3 * std::size_t{left});
    } else {
        scatter<std::uint8_t>(run, y, left, right);
    }
    return 0;
}

} // namespace

void resampleInto(const Bitmap& from, Bitmap& to) {
    const auto channels = static_cast<std::size_t>(to.channels());
    // Scans in colour are often grey all over: a third of the work.
    const bool neutral = channels == 3 && hasEqualComponents(from);
    const unsigned planes = channels == 3 && !neutral ? 3 : 1;
    const zimg_filter_graph* graph =
        graphFor({from.width, from.height, to.width, to.height, from.bitsPerComponent, to.bitsPerComponent, planes});
    std::size_t scratchSize = 0;
    unsigned linesIn = 0;
    unsigned linesOut = 0;
    if (zimg_filter_graph_get_tmp_size(graph, &scratchSize) != ZIMG_ERROR_SUCCESS ||
        zimg_filter_graph_get_input_buffering(graph, &linesIn) != ZIMG_ERROR_SUCCESS ||
        zimg_filter_graph_get_output_buffering(graph, &linesOut) != ZIMG_ERROR_SUCCESS) {
        throwFailure();
    }
    const Buffer scratch = makeBuffer(scratchSize);
    const Rings in(from.width, from.height, linesIn, to.bitsPerComponent, planes);
    const Rings out(to.width, to.height, linesOut, to.bitsPerComponent, planes);
    zimg_image_buffer_const source{};
    zimg_image_buffer target{};
    source.version = target.version = apiVersion;
    in.describe(source);
    out.describe(target);
    for (std::size_t index = 0; index < channels; index += neutral ? 3 : planes) {
        Run run{from, to, in, out, planes, index, neutral ? std::size_t{3} : 1};
        if (zimg_filter_graph_process(graph, &source, &target, scratch.get(), readRow, &run, writeRow, &run) !=
            ZIMG_ERROR_SUCCESS) {
            throwFailure();
        }
    }
}

} // namespace orvex
