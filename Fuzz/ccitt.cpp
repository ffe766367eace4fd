// CCITT fax data with any parameters.
#include "Target.h"

#include "Platform/PDF/Objects/StreamFilters_p.h"

namespace orvex::fuzz {

/// Four bytes of parameters, then the data.
void run(const Bytes& input) {
    if (input.size() < 4) {
        return;
    }
    constexpr std::size_t limit = 1 << 20;
    const std::uint8_t* head = input.data();
    FaxParameters parameters;
    parameters.k = static_cast<std::int8_t>(head[0]);
    parameters.columns = head[1] << 8 | head[2];
    parameters.byteAligned = (head[3] & 1) != 0;
    parameters.endOfLine = (head[3] & 2) != 0;
    parameters.blackIs1 = (head[3] & 4) != 0;
    parameters.rows = (head[3] & 8) != 0 ? head[3] >> 4 : 0;
    if (decodeFax(input.span().subspan(4), parameters, limit).size() > limit) {
        __builtin_trap();
    }
}

} // namespace orvex::fuzz
