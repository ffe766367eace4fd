// Files as memory: their pages come from the system's cache when they are touched, and nothing is copied.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <optional>
#include <string>

namespace orvex::tool {

/// The file's bytes; nothing where mapping does not pay or does not work (small files, pipes, devices, file systems
/// without it): read it then.
[[nodiscard]] std::optional<Bytes> mapFile(const std::string& path);

/// A file that others cut short while it is mapped would kill the process at the next touch. From now on its missing
/// part reads as zeros instead, and cutFile() tells.
void surviveCutFiles();
/// The path of the first file that turned out to be cut short, if any did.
[[nodiscard]] std::optional<std::string> cutFile();

} // namespace orvex::tool
