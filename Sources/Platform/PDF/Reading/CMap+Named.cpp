#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Reading/CMap_p.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <mutex>
#include <unordered_map>

namespace orvex {

namespace {

/// Where Debian's poppler-data and fonts-cmap packages, and builds by hand, put Adobe's maps.
constexpr std::array folders = {"/usr/share/poppler/cMap", "/usr/local/share/poppler/cMap", "/usr/share/fonts/cmap"};
constexpr std::array collections = {"Adobe-Japan1", "Adobe-GB1",    "Adobe-CNS1", "Adobe-Korea1", "Adobe-KR",
                                    "Adobe-Japan2", "adobe-japan1", "adobe-gb1",  "adobe-cns1",   "adobe-korea1"};
constexpr int deepest = 8; ///< maps that build upon each other
constexpr std::size_t longestMapName = 64;

bool canBeMapName(std::string_view name) {
    return !name.empty() && name.size() <= longestMapName && std::ranges::all_of(name, [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
    });
}

std::shared_ptr<const CMap> load(std::string_view name, int depth);

std::shared_ptr<const CMap> read(std::string_view name, int depth) {
    for (const std::filesystem::path folder : folders) {
        for (const char* collection : collections) {
            const auto path = folder / collection / name;
            std::error_code ignored;
            if (!std::filesystem::is_regular_file(path, ignored)) {
                continue;
            }
            try {
                return CMap::parse(readFile(path).text(),
                                   [depth](std::string_view base) { return load(base, depth + 1); });
            } catch (const FileError&) {
                continue; // another folder may have it
            }
        }
    }
    return nullptr;
}

std::shared_ptr<const CMap> load(std::string_view name, int depth) {
    static std::mutex mutex;
    static std::unordered_map<std::string, std::shared_ptr<const CMap>> maps;
    if (depth > deepest || !canBeMapName(name)) {
        return nullptr;
    }
    {
        const std::lock_guard lock(mutex);
        if (const auto known = maps.find(std::string(name)); known != maps.end()) {
            return known->second;
        }
    }
    auto map = read(name, depth);
    if (map) {
        const std::lock_guard lock(mutex);
        maps.emplace(name, map);
    }
    return map;
}

} // namespace

std::shared_ptr<const CMap> CMap::named(std::string_view name) {
    if (name == "Identity-H" || name == "Identity-V") {
        return identity(name.back() == 'V');
    }
    return load(name, 0);
}

} // namespace orvex
