// A file on its way to where it goes.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Digest_p.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// Hands on what is written in large pieces and knows a digest of it, or only counts it.
class FileOutput {
public:
    /// Counts.
    FileOutput() = default;
    explicit FileOutput(ByteSink& sink) : sink_(&sink) { buffer_.reserve(capacity); }

    /// Throws what the sink throws, as do the others.
    void write(std::string_view bytes);
    /// The id of a file of these contents, as a file spells it: a digest of all that was written, in angle brackets.
    [[nodiscard]] std::string id();
    /// Hands on what was kept back.
    void flush();
    [[nodiscard]] std::size_t position() const { return position_; }

private:
    static constexpr std::size_t capacity = std::size_t{128} * 1024;
    void emit(std::string_view bytes);

    ByteSink* sink_ = nullptr;
    std::size_t position_ = 0;
    std::vector<char> buffer_;
    RunningDigest digest_;
};

} // namespace orvex
