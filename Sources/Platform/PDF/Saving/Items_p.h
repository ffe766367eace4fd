// Looking at objects of a document being saved.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <vector>

namespace orvex {

/// Of an array; none of anything else.
[[nodiscard]] inline std::vector<QPDFObjectHandle> items(QPDFObjectHandle array) {
    return array.isArray() ? array.getArrayAsVector() : std::vector<QPDFObjectHandle>();
}

/// Whether something refers to an object that was removed.
[[nodiscard]] inline bool isGone(const QPDFObjectHandle& object) {
    return object.isIndirect() && QPDFObjectHandle(object).isNull();
}

} // namespace orvex
