// Where there is no fuzzing engine: every seed as it is, then a fixed number of damaged ones, the same in each run.
// Usage: TARGET SEED-FOLDER RUNS
#include "Platform/Foundation/Bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Engine = std::mt19937;

std::size_t below(Engine& engine, std::size_t limit) {
    return limit == 0 ? 0 : engine() % limit; // std's distributions differ between libraries
}

/// Bits flipped, bytes set, pieces dropped, repeated or brought in from another seed.
std::string damaged(std::string text, const std::string& other, Engine& engine) {
    for (std::size_t changes = 1 + below(engine, 6); changes > 0 && !text.empty(); --changes) {
        const std::size_t at = below(engine, text.size());
        const std::size_t length = 1 + below(engine, std::min<std::size_t>(64, text.size() - at));
        switch (below(engine, 6)) {
        case 0:
            text[at] = static_cast<char>(text[at] ^ (1 << below(engine, 8)));
            break;
        case 1:
            text[at] = static_cast<char>(engine());
            break;
        case 2:
            text.erase(at, length);
            break;
        case 3:
            text.insert(at, text.substr(at, length));
            break;
        case 4:
            text.replace(at, length, other.substr(below(engine, other.size()), length));
            break;
        default:
            text.replace(at, 1, std::to_string(engine() >> below(engine, 32)));
        }
    }
    return text;
}

void feed(const std::string& text) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s SEED-FOLDER RUNS\n", argv[0]);
        return 2;
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    std::vector<std::string> seeds;
    for (const auto& file : files) {
        seeds.emplace_back(orvex::readFile(file).text());
        feed(seeds.back());
    }
    const long runs = std::strtol(argv[2], nullptr, 10);
    Engine engine(1);
    for (long i = 0; i < runs && !seeds.empty(); ++i) {
        feed(damaged(seeds[below(engine, seeds.size())], seeds[below(engine, seeds.size())], engine));
    }
    std::printf("%zu seeds and %ld damaged ones\n", seeds.size(), seeds.empty() ? 0 : runs);
    return seeds.empty() ? 1 : 0;
}
