#include "Platform/PDF/Writing/RawStreams_p.h"

namespace orvex {

namespace {

constexpr std::size_t worthIt = 16'384; // shorter ones go through in one or two pieces anyway

} // namespace

std::string_view streamData(std::string_view file, std::size_t start, std::size_t size) {
    if (start == 0 || start > file.size() || size > file.size() - start) {
        return {};
    }
    const std::string_view before = file.substr(0, start);
    if (!before.ends_with("stream\n") && !before.ends_with("stream\r\n")) { // junk ahead of the header shifts offsets
        return {};
    }
    std::string_view behind = file.substr(start + size, 11);
    behind.remove_prefix(behind.starts_with("\r\n") ? 2 : behind.starts_with("\n") || behind.starts_with("\r") ? 1 : 0);
    return behind.starts_with("endstream") ? file.substr(start, size) : std::string_view{};
}

std::string_view storedData(QPDFObjectHandle stream, const Bytes& file) {
    long long length = 0;
    const auto offset = static_cast<std::size_t>(stream.getParsedOffset());
    if (!stream.getDict().getKey("/Length").getValueAsInt(length) || length < 0 || !stream.getFilterOnWrite() ||
        stream.getOwningQPDF()->isEncrypted()) {
        return {};
    }
    return streamData(file.text(), offset, static_cast<std::size_t>(length));
}

std::shared_ptr<Buffer> storedInPlace(QPDFObjectHandle stream, const Bytes& file) {
    const auto data = storedData(stream, file);
    if (data.size() < worthIt) {
        return nullptr;
    }
    auto* const bytes = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(data.data()));
    return std::make_shared<Buffer>(bytes, data.size());
}

} // namespace orvex
