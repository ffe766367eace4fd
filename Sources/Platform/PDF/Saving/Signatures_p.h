// A file that is written anew is not the one that was signed.
#pragma once

#include <qpdf/QPDF.hh>

namespace orvex {

/// Empties signature fields and removes what vouches for signatures. What a signature looked like on its page stays, as
/// on a printed copy; the field can be signed again.
void dropSignatures(QPDF& target);

} // namespace orvex
