// Pixels of three samples apart into planes and back together.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvex {

/// `count` pixels; the planes are as long.
void deinterleave(const std::uint8_t* pixels, std::size_t count, std::uint8_t* first, std::uint8_t* second,
                  std::uint8_t* third);
void interleave(const std::uint8_t* first, const std::uint8_t* second, const std::uint8_t* third, std::size_t count,
                std::uint8_t* pixels);

} // namespace orvex
