// How alike two pictures are.
#pragma once

#include "Platform/Imaging/Bitmap.h"

namespace orvex::test {

/// Largest difference of two samples; 65535 when the layouts differ.
int largestDifference(const Bitmap& a, const Bitmap& b);
/// Mean structural similarity of the luminance, 8 x 8 windows; 1 is equal.
double similarity(const Bitmap& a, const Bitmap& b);

} // namespace orvex::test
