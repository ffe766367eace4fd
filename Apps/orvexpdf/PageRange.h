// Pages as people name them: counted from 1, "3", "2-5", "1-3,7,9-end"; "5-2" and "end-1" count down.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvex::tool {

/// Indices from 0 in the order named; an empty text means all. Throws Failure (usage) for what is no range or names a
/// page that a document of `count` pages does not have.
[[nodiscard]] std::vector<std::int64_t> parsePages(const std::string& text, std::int64_t count);

/// The same, and throws Failure (usage) for a list that names a page twice.
[[nodiscard]] std::vector<std::int64_t> parseDistinctPages(const std::string& text, std::int64_t count);

/// The index of the one page that `text` names. Throws Failure (usage) as parsePages() does, and for several pages;
/// `instead` says what takes them, if anything does.
[[nodiscard]] std::int64_t parsePage(const std::string& text, std::int64_t count, const std::string& instead = {});

/// For lists that are meant for several documents. Throws Failure (usage) for what is no list of pages in any of them.
void checkPageList(const std::string& text);

} // namespace orvex::tool
