#include "Support/Places.h"

#include <algorithm>
#include <cstdlib>
#include <string>

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

std::vector<std::filesystem::path> sharedPDFs(std::size_t every, std::uintmax_t leastBytes) {
    const auto corpus = sharedFolder() / "corpus";
    if (!std::filesystem::is_directory(corpus)) {
        return {};
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
        if (entry.path().extension() == ".pdf" && entry.file_size() >= leastBytes) {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    const char* const wanted = std::getenv("CHECK_EVERY");
    const std::size_t step = wanted != nullptr ? std::stoul(wanted) : every;
    std::vector<std::filesystem::path> chosen;
    for (std::size_t i = 0; i < files.size(); i += step) {
        chosen.push_back(files[i]);
    }
    return chosen;
}

std::filesystem::path nodeModules() {
    return projectFolder() / "build/readers/node_modules";
}

} // namespace orvex::test
