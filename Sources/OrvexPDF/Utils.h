// A report that compares, for one image, what the encoders make of it: an aid for tuning presets.
#pragma once

#include "Platform/Imaging/Image.h"

#include <functional>
#include <string>
#include <vector>

namespace orvex {

/// The report's lines, each built when it is called: the encoders run only for lines that somebody wants. Nothing for
/// a null image. `quality` is a fraction, for the JPEG encoders.
[[nodiscard]] std::vector<std::function<std::string()>> imageReport(const ImagePtr& image, double quality);

/// Logs the report at info level, a message per line.
void dumpImageInfo(const ImagePtr& image, double quality);

} // namespace orvex
