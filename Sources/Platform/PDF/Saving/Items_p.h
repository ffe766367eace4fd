// Small matters of objects of a document being saved.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <algorithm>
#include <vector>

namespace orvex {

/// Of an array; none of anything else.
[[nodiscard]] inline std::vector<QPDFObjectHandle> items(QPDFObjectHandle array) {
    return array.isArray() ? array.getArrayAsVector() : std::vector<QPDFObjectHandle>();
}

/// Of an array, its first `most`; none of anything else.
[[nodiscard]] inline std::vector<QPDFObjectHandle> firstItems(QPDFObjectHandle array, int most) {
    std::vector<QPDFObjectHandle> found;
    const int count = array.isArray() ? std::min(array.getArrayNItems(), most) : 0;
    for (int i = 0; i < count; ++i) {
        found.push_back(array.getArrayItem(i));
    }
    return found;
}

/// In points, as it is written.
[[nodiscard]] inline QPDFObjectHandle coordinate(double points) {
    return QPDFObjectHandle::newReal(points, 4);
}

/// Whether something refers to an object that was removed.
[[nodiscard]] inline bool isGone(const QPDFObjectHandle& object) {
    return object.isIndirect() && QPDFObjectHandle(object).isNull();
}

} // namespace orvex
