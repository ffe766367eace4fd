// Numbers of files, whatever locale the process has: qpdf reads reals with the C library, which may want commas.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

namespace orvex {

/// False, with `number` as it was, for anything but an integer or a real.
[[nodiscard]] bool readNumber(QPDFObjectHandle value, double& number);

} // namespace orvex
