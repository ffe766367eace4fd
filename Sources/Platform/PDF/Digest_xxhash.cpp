#include "Platform/PDF/Digest_p.h"

#include <xxhash.h>

#include <array>
#include <cstdio>
#include <new>

namespace orvex {

struct RunningDigest::State {
    XXH3_state_t* xxh = XXH3_createState();
    ~State() { XXH3_freeState(xxh); }
};

std::pair<std::uint64_t, std::uint64_t> digest(std::span<const std::uint8_t> data) {
    const XXH128_hash_t hash = XXH3_128bits(data.data(), data.size());
    return {hash.high64, hash.low64};
}

RunningDigest::RunningDigest() : state_(std::make_unique<State>()) {
    if (state_->xxh == nullptr) {
        throw std::bad_alloc();
    }
    XXH3_128bits_reset(state_->xxh);
}

RunningDigest::~RunningDigest() = default;

void RunningDigest::add(std::span<const std::uint8_t> data) {
    XXH3_128bits_update(state_->xxh, data.data(), data.size());
}

std::string RunningDigest::hex() const {
    const XXH128_hash_t hash = XXH3_128bits_digest(state_->xxh);
    std::array<char, 33> text{};
    std::snprintf(text.data(), text.size(), "%016llx%016llx", static_cast<unsigned long long>(hash.high64),
                  static_cast<unsigned long long>(hash.low64));
    return text.data();
}

} // namespace orvex
