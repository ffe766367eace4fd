// Where the installed fonts are.
#pragma once

#include <string>

namespace orvex {

/// The file of an upright face of exactly this family, regular or bold; empty when none is installed. Threads: any.
std::string installedFontFile(const std::string& family, bool bold);

} // namespace orvex
