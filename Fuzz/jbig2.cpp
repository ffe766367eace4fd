// JBIG2 data with and without global segments.
#include "Target.h"

#include "Parts.h"

#include "Platform/PDF/Objects/StreamFilters_p.h"

namespace orvex::fuzz {

/// A byte each of width and height, then the data; then global segments.
void run(const Bytes& input) {
    if (input.size() < 2) {
        return;
    }
    const auto pieces = parts(input.slice(2, input.size()), 2);
    const std::int64_t width = 1 + input.data()[0];
    const std::int64_t height = 1 + input.data()[1];
    const auto rows = decodeJbig2({Bytes::copyOf(pieces[0]), Bytes::copyOf(pieces[1]), width, height});
    if (rows && rows->size() != static_cast<std::size_t>((width + 7) / 8 * height)) {
        __builtin_trap();
    }
}

} // namespace orvex::fuzz
