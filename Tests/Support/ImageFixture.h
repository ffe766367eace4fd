// Synthesised images, and other people's codecs to write and read them: the oracles of the imaging tests.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Imaging/Bitmap.h"
#include "Platform/Imaging/Image.h"
#include "Support/Similarity.h"

#include <filesystem>
#include <functional>
#include <string>

namespace orvex::test {

void writeFile(const std::filesystem::path& path, const Bytes& bytes);

/// Smooth colour with some texture: what a photograph is to a codec. Every pixel differs from its mirror image.
Bitmap makePhoto(std::int64_t width, std::int64_t height, ColorModel model = ColorModel::rgb, int bits = 8,
                 Alpha alpha = Alpha::none);
/// Black strokes on white, 1 bit.
Bitmap makeLineArt(std::int64_t width, std::int64_t height);
/// `count` colours in blocks.
Bitmap makeFlat(std::int64_t width, std::int64_t height, int count);

/// PBM, PGM, PPM or PAM, by what the bitmap holds.
Bytes toNetpbm(const Bitmap& bitmap);
Bitmap fromNetpbm(const Bytes& data);

/// Runs a shell command with `input` as the file "in" and reads the file "out" that it writes, both in a folder of the
/// command's own. Fails the test when the command does.
Bytes convert(const Bytes& input, const std::string& command);

/// One of Ghostscript's ICC profiles, by file name. Throws FileError where they are not installed.
Bytes realProfile(const std::string& name);
/// Bytes with the header of an ICC profile for this model and nothing sensible behind it.
Bytes makeProfile(ColorModel model, std::size_t size);
/// The file with a segment put in behind its start marker.
Bytes withJPEGSegment(const Bytes& jpeg, std::uint8_t marker, std::string_view payload);
/// An EXIF segment's payload (marker 0xE1) with orientation, horizontal resolution (the vertical one is twice that) and
/// unit (2 inches, 3 centimetres), in either byte order.
std::string exifBlock(int orientation, std::uint32_t resolution, int unit, bool littleEndian);

/// A file of the shared collection of scans, or empty where there is none.
std::filesystem::path scan(const std::string& name);

} // namespace orvex::test
