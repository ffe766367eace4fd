#include "Support/Places.h"

namespace orvex::test {

std::filesystem::path projectFolder() {
    return ORVEX_PROJECT_DIR;
}

std::filesystem::path programFolder() {
    return std::filesystem::path(ORVEX_BINARY_DIR) / "bin";
}

std::filesystem::path sharedFolder() {
    return projectFolder() / "../shared";
}

std::filesystem::path nodeModules() {
    return projectFolder() / "build/readers/node_modules";
}

} // namespace orvex::test
