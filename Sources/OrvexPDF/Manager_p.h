// What the manager's files share.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstdint>
#include <span>

namespace orvex {

/// Measures what is written without holding it.
class ByteCounter final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> bytes) override { count_ += static_cast<std::int64_t>(bytes.size()); }
    [[nodiscard]] std::int64_t count() const { return count_; }

private:
    std::int64_t count_ = 0;
};

} // namespace orvex
