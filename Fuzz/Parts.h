// An input that is several things at once: a line of five per cent signs stands between them.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvex::fuzz {

inline constexpr std::string_view betweenParts = "\n%%%%%\n";

/// The parts in order, `most` at the most; what is behind the last line belongs to the last one. Missing ones are
/// empty.
inline std::vector<std::string> parts(const Bytes& input, std::size_t most) {
    std::vector<std::string> all;
    std::string_view rest = input.text();
    while (all.size() + 1 < most) {
        const std::size_t end = rest.find(betweenParts);
        all.emplace_back(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + betweenParts.size());
    }
    all.emplace_back(rest);
    return all;
}

/// The same, put together.
inline Bytes joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const auto& part : parts) {
        all += (all.empty() ? "" : std::string(betweenParts)) + part;
    }
    return Bytes(std::move(all));
}

} // namespace orvex::fuzz
