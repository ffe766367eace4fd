// The decoded bytes of a stream object, whatever it claims to be.
#pragma once

#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFObjectHandle.hh>

#include <cstddef>
#include <string>

namespace orvex {

/// Keeps what arrives until it is too much, then throws std::length_error: that stops the filters.
class LimitedSink final : public Pipeline {
public:
    explicit LimitedSink(std::size_t limit) : Pipeline("sink", nullptr), limit_(limit) {}
    void write(const unsigned char* data, std::size_t length) override;
    void finish() override {}
    std::string bytes;

private:
    std::size_t limit_;
};

enum class Packing { none, flate, other };
/// What a stream's /Filter and /DecodeParms amount to.
[[nodiscard]] Packing packingOf(QPDFObjectHandle dictionary);

/// At most `most` bytes; a stream that is damaged half way gives what came before, something that is no stream or whose
/// filters are unknown gives nothing. Hold the source's mutex.
[[nodiscard]] std::string decodedBytes(QPDFObjectHandle stream, std::size_t most);

} // namespace orvex
