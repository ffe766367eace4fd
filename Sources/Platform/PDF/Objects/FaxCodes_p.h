// The run-length codes of ITU-T T.4, ready for looking up.
#pragma once

#include <array>
#include <cstdint>

namespace orvex::fax {

struct Run {
    std::uint16_t length = 0; ///< pixels; 64 and above are followed by another code of the same colour
    std::uint8_t bits = 0;    ///< of the code; 0 for bits that are no code
};

inline constexpr unsigned longestCode = 13;
/// By the next `longestCode` bits.
using RunTable = std::array<Run, 1u << longestCode>;

[[nodiscard]] const RunTable& whiteRuns();
[[nodiscard]] const RunTable& blackRuns();

} // namespace orvex::fax
