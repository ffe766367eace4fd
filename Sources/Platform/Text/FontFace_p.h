// What the layouts need to know of a font file.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>

namespace orvex {

/// Advances in ems, rounded to thousandths, of every character that the face holds.
using FaceAdvances = std::unordered_map<char32_t, double>;

/// None when the file cannot be read as a font with a Unicode character map. Threads: any.
std::optional<FaceAdvances> readFaceAdvances(const std::string& path);

} // namespace orvex
