#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace orvex::test {

// Folders that tests find things in. Only Places.cpp is told the paths, so that everything else compiles alike in every
// checkout.

/** The root of the checkout. */
std::filesystem::path projectFolder();

/** The programs of this build. */
std::filesystem::path programFolder();

/** What several projects share, real files among them; beside the checkout and not always there. */
std::filesystem::path sharedFolder();

/** Every so many of the PDFs that are there and have that many bytes, in order; all of them with CHECK_EVERY=1. */
std::vector<std::filesystem::path> sharedPDFs(std::size_t every, std::uintmax_t leastBytes = 0);

/** The packages of Node.js that readers are made of. */
std::filesystem::path nodeModules();

} // namespace orvex::test
