// The document's XMP metadata says the same as its information dictionary.
#pragma once

#include "Platform/PDF/PDFDocument.h"

#include <qpdf/QPDF.hh>

#include <map>
#include <string>

namespace orvex {

/// Brings the properties that mirror `info` in line where the file has an XMP packet in UTF-8; all else in it stays.
void stampMetadata(QPDF& target, const std::map<PDFInfoKey, std::string>& info);

/// The same on the packet's text. A packet without a place for properties is given back as it is.
[[nodiscard]] std::string stampedPacket(std::string packet, const std::map<PDFInfoKey, std::string>& info);

} // namespace orvex
