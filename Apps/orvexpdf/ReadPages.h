// Pages read side by side and written in their order.
#pragma once

#include "OrvexPDF/Document.h"
#include "Platform/Foundation/Bytes.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex::tool {

void put(ByteSink& sink, std::string_view text);

/// Calls describe(page) for pages side by side, and writes what it answers in the order of the pages; `pages` are
/// indices.
void writePages(const OrvexPDFDocument& document, const std::vector<std::int64_t>& pages, ByteSink& sink,
                const std::function<std::string(const OrvexPDFPage&, bool first)>& describe);

} // namespace orvex::tool
