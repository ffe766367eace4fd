// Takes pages out of a file so that nothing in it keeps them, or what stood on them, alive.
#pragma once

#include <qpdf/QPDF.hh>

#include <vector>

namespace orvex {

/// Pages and their annotations become null wherever something refers to them. `remaining` share annotations with them
/// at times; those stay.
void removePages(QPDF& target, const std::vector<QPDFObjectHandle>& removed,
                 const std::vector<QPDFObjectHandle>& remaining);

/// Takes the null objects out of the form, the article threads and the document's lists of names.
void forgetRemovedFields(QPDF& target);
void forgetRemovedBeads(QPDF& target);

} // namespace orvex
