#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/Reading/StreamBytes_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <cmath>

namespace orvex {

namespace {

constexpr std::size_t longestMap = std::size_t{16} << 20U;

} // namespace

QPDFObjectHandle fontEntry(QPDFObjectHandle dictionary, const char* key) {
    if (dictionary.isStream()) {
        return dictionary.getDict().getKey(key);
    }
    return dictionary.isDictionary() ? dictionary.getKey(key) : QPDFObjectHandle::newNull();
}

std::optional<float> fontNumber(QPDFObjectHandle object) {
    double value = 0;
    if (!readNumber(object, value) || !std::isfinite(value) || std::abs(value) > 1e7) {
        return std::nullopt;
    }
    return static_cast<float>(value);
}

std::optional<std::uint32_t> fontCode(QPDFObjectHandle object) {
    const auto value = fontNumber(object);
    return value && *value >= 0 && *value <= 0xFFFF ? std::optional(static_cast<std::uint32_t>(*value)) : std::nullopt;
}

std::string fontName(QPDFObjectHandle object) {
    return object.isName() ? object.getName() : std::string();
}

std::shared_ptr<const CMap> embeddedCMap(QPDFObjectHandle object, const CMap::Named& named,
                                         std::shared_ptr<const CMap> base) {
    return object.isStream() ? CMap::parse(decodedBytes(object, longestMap), named, std::move(base)) : nullptr;
}

} // namespace orvex
