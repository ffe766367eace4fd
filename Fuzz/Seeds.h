// The seeds: small valid inputs of every kind that we can make, in a folder per target.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Support/ImageFixture.h"

#include <filesystem>
#include <string>

namespace orvex::fuzz {

class Seeds {
public:
    explicit Seeds(std::filesystem::path folder) : folder_(std::move(folder)) {}
    void add(const std::string& target, const Bytes& bytes) {
        std::filesystem::create_directories(folder_ / target);
        test::writeFile(folder_ / target / ("seed-" + std::to_string(++count_)), bytes);
    }

private:
    std::filesystem::path folder_;
    int count_ = 0;
};

/// For the codecs, for fax and JBIG2 data, and for images inside files.
void addPictures(Seeds& seeds);
/// A JPEG of a few pixels.
Bytes smallJPEG();

} // namespace orvex::fuzz
