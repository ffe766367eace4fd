// A fast 128-bit digest that tells contents apart; not for secrets.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace orvex {

[[nodiscard]] std::pair<std::uint64_t, std::uint64_t> digest(std::span<const std::uint8_t> data);

class RunningDigest {
public:
    RunningDigest();
    ~RunningDigest();
    RunningDigest(const RunningDigest&) = delete;
    RunningDigest& operator=(const RunningDigest&) = delete;
    void add(std::span<const std::uint8_t> data);
    /// Of everything added so far: 32 hexadecimal digits.
    [[nodiscard]] std::string hex() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace orvex
