// ICC profiles, as far as files that carry them need to know.
#pragma once

#include "Platform/Imaging/Bitmap.h"

namespace orvex {

/// Whether the bytes are an ICC profile for samples of this model; others are dropped wherever they turn up.
/// Threads: any.
[[nodiscard]] bool isProfileFor(const Bytes& profile, ColorModel model);
/// Whether samples of this model can be converted through the profile: it reads, and it is made for them. Threads: any.
[[nodiscard]] bool isUsableProfile(const Bytes& profile, ColorModel model);

} // namespace orvex
