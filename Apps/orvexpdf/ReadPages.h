// Pages read side by side and written in their order.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace orvex::tool {

void put(ByteSink& sink, std::string_view text);

/// Calls describe(0) to describe(count - 1) side by side, and writes what it answers in this order.
void writePages(std::size_t count, ByteSink& sink, const std::function<std::string(std::size_t)>& describe);

} // namespace orvex::tool
