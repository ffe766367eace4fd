#include "Platform/PDF/Reading/StreamBytes_p.h"

#include "Platform/PDF/Reading/ContentBytes_p.h"

#include <qpdf/Buffer.hh>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace orvex {

namespace {

/// In one piece, which is several times as fast as the library's filters. False for what is not deflated, damaged, or
/// longer than wanted.
bool takeInflated(QPDFObjectHandle stream, std::size_t most, ContentBuffer& bytes) {
    if (packingOf(stream.getDict()) != Packing::flate) {
        return false;
    }
    const auto raw = stream.getRawStreamData();
    return inflateWhole({reinterpret_cast<const char*>(raw->getBuffer()), raw->getSize()}, most, bytes);
}

} // namespace

void LimitedSink::write(const unsigned char* data, std::size_t length) {
    const std::size_t taken = std::min(length, limit_ - bytes.size());
    bytes.append(reinterpret_cast<const char*>(data), taken);
    if (taken < length) {
        throw std::length_error("a stream is longer than wanted");
    }
}

Packing packingOf(QPDFObjectHandle dictionary) {
    auto filter = dictionary.getKey("/Filter");
    if (filter.isArray() && filter.getArrayNItems() == 1) {
        filter = filter.getArrayItem(0);
    }
    if (filter.isNull() || (filter.isArray() && filter.getArrayNItems() == 0)) {
        return Packing::none;
    }
    const bool flate = filter.isName() && (filter.getName() == "/FlateDecode" || filter.getName() == "/Fl");
    return flate && dictionary.getKey("/DecodeParms").isNull() ? Packing::flate : Packing::other;
}

std::string decodedBytes(QPDFObjectHandle stream, std::size_t most) {
    if (!stream.isStream()) {
        return {};
    }
    LimitedSink sink(most);
    try {
        if (ContentBuffer whole; takeInflated(stream, most, whole)) {
            return std::string(whole.text());
        }
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
