// Tags: the structure tree follows the pages. What is left of a file whose pages went, and what copied pages bring
// along.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

#include <optional>
#include <set>

namespace orvex {

/// Numbers under which the parent tree knows pages and their annotations.
[[nodiscard]] std::set<long long> tagKeysOf(const std::vector<QPDFObjectHandle>& pages);
/// Numbers under which the parent tree knows the content of pages.
[[nodiscard]] std::set<long long> contentTagKeysOf(QPDF& target, const std::set<QPDFObjGen>& pages);
/// The first number that a parent tree has free; none for a document that is not tagged, or has no numbers left.
[[nodiscard]] std::optional<long long> firstFreeTagKey(QPDF& target);

/// Removes the elements all of whose content went with pages; `goneKeys` are the numbers of what went. Removed pages
/// and their annotations must be null already; of `pictures` only annotations are left.
void pruneStructure(QPDF& target, const std::set<QPDFObjGen>& pictures, const std::set<long long>& goneKeys);

/// Adds the elements that copied pages show, with those above them.
void graftStructure(Composition& document);

} // namespace orvex
