// Reading what the user names: files, or standard input for "-".
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <string>

namespace orvex::tool {

/// The whole input. Throws Failure (inputUnreadable) that names it.
[[nodiscard]] Bytes readInput(const std::string& path);
/// The input as messages call it.
[[nodiscard]] std::string displayName(const std::string& path);

} // namespace orvex::tool
