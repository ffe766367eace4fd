// Where the installed fonts are.
#pragma once

#include "Platform/Text/Shaping.h"

#include <optional>
#include <string>

namespace orvex {

/// The file of an upright face of exactly this family, regular or bold; empty when none is installed. Threads: any.
std::string installedFontFile(const std::string& family, bool bold);

/// A scalable face that has the character, as near as can be to a sans serif; none when no installed face has it.
/// Bitmap and colour faces are passed over: a page cannot carry them as text. Threads: any.
std::optional<FontFile> fontFileWith(char32_t character, bool bold);

} // namespace orvex
