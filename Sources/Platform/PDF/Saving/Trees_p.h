// Name trees and number trees: read whole, written anew. Broken nodes are passed over; cycles end.
#pragma once

#include <qpdf/QPDF.hh>

#include <string>
#include <utility>
#include <vector>

namespace orvex {

/// Keys are the strings' bytes. In the order in which the tree holds them.
using NameEntries = std::vector<std::pair<std::string, QPDFObjectHandle>>;
using NumberEntries = std::vector<std::pair<long long, QPDFObjectHandle>>;

[[nodiscard]] NameEntries readNameTree(const QPDFObjectHandle& root);
[[nodiscard]] NumberEntries readNumberTree(const QPDFObjectHandle& root);

/// A new tree as an indirect object. Of equal keys the first is kept.
[[nodiscard]] QPDFObjectHandle makeNameTree(QPDF& target, NameEntries entries);
[[nodiscard]] QPDFObjectHandle makeNumberTree(QPDF& target, NumberEntries entries);

} // namespace orvex
