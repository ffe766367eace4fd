#pragma once

#include <filesystem>

namespace orvex::test {

// Folders that tests find things in. Only Places.cpp is told the paths, so that everything else compiles alike in every
// checkout.

/** The root of the checkout. */
std::filesystem::path projectFolder();

/** The programs of this build. */
std::filesystem::path programFolder();

/** What several projects share, real files among them; beside the checkout and not always there. */
std::filesystem::path sharedFolder();

/** The packages of Node.js that readers are made of. */
std::filesystem::path nodeModules();

} // namespace orvex::test
