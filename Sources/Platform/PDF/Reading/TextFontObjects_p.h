// Entries of font dictionaries, whatever they hold.
#pragma once

#include "Platform/PDF/Reading/CMap_p.h"

#include <qpdf/QPDFObjectHandle.hh>

#include <cstdint>
#include <optional>
#include <string>

namespace orvex {

/// Items of an array that are looked at; more are no font's.
constexpr int mostFontArrayItems = 200'000;

/// Null for what is no dictionary and no stream.
[[nodiscard]] QPDFObjectHandle fontEntry(QPDFObjectHandle dictionary, const char* key);
/// None for what is no number or no sensible one.
[[nodiscard]] std::optional<float> fontNumber(QPDFObjectHandle object);
/// A code or a glyph's number, at most 0xFFFF.
[[nodiscard]] std::optional<std::uint32_t> fontCode(QPDFObjectHandle object);
/// With its slash; empty for what is no name.
[[nodiscard]] std::string fontName(QPDFObjectHandle object);
/// Null for what is no stream.
[[nodiscard]] std::shared_ptr<const CMap> embeddedCMap(QPDFObjectHandle object, const CMap::Named& named,
                                                       std::shared_ptr<const CMap> base = nullptr);

} // namespace orvex
