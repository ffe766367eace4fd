#include "Platform/PDF/Reading/StreamBytes_p.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace orvex {

void LimitedSink::write(const unsigned char* data, std::size_t length) {
    const std::size_t taken = std::min(length, limit_ - bytes.size());
    bytes.append(reinterpret_cast<const char*>(data), taken);
    if (taken < length) {
        throw std::length_error("a stream is longer than wanted");
    }
}

std::string decodedBytes(QPDFObjectHandle stream, std::size_t most) {
    if (!stream.isStream()) {
        return {};
    }
    LimitedSink sink(most);
    try {
        bool filtered = false; // asked ahead: of a stream that breaks half way it says no afterwards
        stream.pipeStreamData(nullptr, &filtered, 0, qpdf_dl_generalized);
        if (!filtered && stream.getDict().hasKey("/Filter")) {
            return {};
        }
        stream.pipeStreamData(&sink, nullptr, 0, qpdf_dl_generalized, true, false);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        // what was collected before is what there is
    }
    return std::move(sink.bytes);
}

} // namespace orvex
