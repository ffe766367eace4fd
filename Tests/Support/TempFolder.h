// A folder of the test's own that goes with it.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <stdlib.h> // mkdtemp is POSIX

namespace orvex::test {

class TempFolder {
public:
    TempFolder() : path_((std::filesystem::temp_directory_path() / "orvex-test-XXXXXX").string()) {
        std::string name = path_.string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder can be made");
        }
        path_ = name;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace orvex::test
