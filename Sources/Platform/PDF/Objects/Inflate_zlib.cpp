// zlib, since it hands out what it has when data stop early or turn bad.
#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>
#include <array>
#include <limits>

#include <zlib.h>

namespace orvex {

namespace {

class Inflater {
public:
    explicit Inflater(int windowBits) { ready_ = ::inflateInit2(&stream_, windowBits) == Z_OK; }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() {
        if (ready_) {
            ::inflateEnd(&stream_);
        }
    }

    ByteBuffer run(ByteSpan data, std::size_t limit) {
        ByteBuffer result;
        int state = ready_ ? Z_OK : Z_STREAM_ERROR;
        while (state == Z_OK && result.size() < limit) {
            feed(data);
            stream_.next_out = block_.data();
            stream_.avail_out = static_cast<uInt>(block_.size());
            state = ::inflate(&stream_, Z_NO_FLUSH);
            const std::size_t made = block_.size() - stream_.avail_out;
            result.insert(result.end(), block_.data(), block_.data() + std::min(made, limit - result.size()));
        }
        return result;
    }

private:
    /// zlib counts in 32 bits.
    void feed(ByteSpan& data) {
        if (stream_.avail_in == 0 && !data.empty()) {
            const std::size_t part = std::min<std::size_t>(data.size(), std::numeric_limits<uInt>::max());
            stream_.next_in = const_cast<Bytef*>(data.data()); // only read
            stream_.avail_in = static_cast<uInt>(part);
            data = data.subspan(part);
        }
    }

    z_stream stream_{};
    bool ready_ = false;
    std::array<std::uint8_t, 65536> block_{};
};

} // namespace

ByteBuffer inflate(ByteSpan data, std::size_t limit) {
    constexpr int zlibHeader = 15;
    constexpr int noHeader = -15;
    constexpr std::size_t headerSize = 2;
    ByteBuffer result = Inflater(zlibHeader).run(data, limit);
    if (result.empty() && data.size() > headerSize) {
        result = Inflater(noHeader).run(data.subspan(headerSize), limit);
    }
    return result;
}

} // namespace orvex
