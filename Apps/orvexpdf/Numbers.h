// Numbers on the command line.
#pragma once

#include <CLI/App.hpp>

namespace orvex::tool {

/// Accepts numbers from `low` to `high`; others are refused in words that people would use.
[[nodiscard]] CLI::Validator numberFrom(int low, int high);

} // namespace orvex::tool
