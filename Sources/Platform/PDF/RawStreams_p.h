// Streams of a loaded file that are written as they are.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <qpdf/QPDF.hh>

namespace orvex {

/// Lets the streams of `pdf` be taken in one piece out of the file that it was parsed from; piece by piece they are
/// copied several times on their way. Streams that the writer is to compress, or to decrypt, or whose stated length is
/// wrong, stay as they were. `file` has to outlive `pdf`.
void readStreamsInPlace(QPDF& pdf, const Bytes& file, bool compressesStreams);

} // namespace orvex
