// Reading what the user names: files, or standard input for "-".
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <string>
#include <vector>

namespace orvex::tool {

/// The whole input. Throws Failure (inputUnreadable) that names it, and Interrupted while a stream is waited for.
[[nodiscard]] Bytes readInput(const std::string& path);
/// Whether the input is standard input, a pipe or a device, which cannot be read twice.
[[nodiscard]] bool isStream(const std::string& path);
/// Standard input can be read only once: throws Failure (usage) when it is named more often.
void checkStandardInput(const std::vector<std::string>& inputs);
/// The input as messages call it.
[[nodiscard]] std::string displayName(const std::string& path);

} // namespace orvex::tool
