// Revises what leads to pages in a file whose pages were taken out or put into another order: outline, names, links,
// actions.
#pragma once

#include <qpdf/QPDF.hh>

#include <functional>
#include <vector>

namespace orvex {

/// `numbered`: the file's pages by the numbers that they had; `kept`: those that are left, once each.
void revisePlaces(QPDF& target, const std::vector<QPDFObjectHandle>& numbered,
                  const std::vector<QPDFObjectHandle>& kept);

/// Has the destinations of names, outline, links and actions changed by `found`, each once. `pages` are all there are.
void changePlaces(QPDF& target, const std::vector<QPDFObjectHandle>& numbered,
                  const std::vector<QPDFObjectHandle>& pages,
                  const std::function<void(QPDFObjectHandle destination)>& found);

} // namespace orvex
