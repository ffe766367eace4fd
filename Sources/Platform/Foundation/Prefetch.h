// Fetching from memory what will be wanted soon: several things at once, where using them would fetch one after the
// other.
#pragma once

#include <cstddef>

namespace orvex {

/// For all of a value that was made by std::make_shared: its counts stand in front of it. Null does nothing.
template <class Value> void prefetchLines(const Value* value) {
    constexpr std::ptrdiff_t line = 64;
    constexpr std::ptrdiff_t counts = 16;
    const auto* const bytes = reinterpret_cast<const char*>(value); // NOLINT: an address, not read
    for (auto at = -counts; at < static_cast<std::ptrdiff_t>(sizeof(Value)); at += line) {
        __builtin_prefetch(bytes + at);
    }
}

} // namespace orvex
