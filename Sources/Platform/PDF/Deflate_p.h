// Whole-buffer compression for /FlateDecode streams.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <span>

namespace orvex {

[[nodiscard]] Bytes deflate(std::span<const std::uint8_t> data);

} // namespace orvex
