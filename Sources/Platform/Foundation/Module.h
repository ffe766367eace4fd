// Parts of the library whose own libraries take longer to load than most files take to be read: modules, which stand in
// a folder beside the library and are loaded when something in them is first used.
#pragma once

#include <string>

namespace orvex {

/// The table of functions that a module hands out under the name `table`. Throws std::runtime_error, which says that
/// `purpose` ("what renders pages") cannot be loaded and why. What was loaded stays. Threads: any.
[[nodiscard]] const void* loadModule(const std::string& file, const char* table, const std::string& purpose);

} // namespace orvex
