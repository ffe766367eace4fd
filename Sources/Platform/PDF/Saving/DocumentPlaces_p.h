// Revises what leads to pages in a file whose pages were taken out or put into another order: outline, names, links,
// actions.
#pragma once

#include <qpdf/QPDF.hh>

#include <vector>

namespace orvex {

/// `numbered`: the file's pages by the numbers that they had; `kept`: those that are left, once each.
void revisePlaces(QPDF& target, const std::vector<QPDFObjectHandle>& numbered,
                  const std::vector<QPDFObjectHandle>& kept);

} // namespace orvex
