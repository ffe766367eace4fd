#include "PageRange.h"

#include "Failure.h"

#include <charconv>
#include <numeric>
#include <string_view>

namespace orvex::tool {

namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& reason) {
    throw Failure(ExitCode::usage, "pages " + text + ": " + reason);
}

std::int64_t parsePage(std::string_view word, const std::string& text, std::int64_t count) {
    std::int64_t page = 0;
    if (word == "end") {
        page = count;
    } else if (const auto parsed = std::from_chars(word.data(), word.data() + word.size(), page);
               parsed.ec != std::errc{} || parsed.ptr != word.data() + word.size()) {
        refuse(text, "not a list of pages like 1-3,7,9-end");
    }
    if (page < 1 || page > count) {
        refuse(text, "the document has " + std::to_string(count) + (count == 1 ? " page" : " pages"));
    }
    return page - 1;
}

void appendRange(std::vector<std::int64_t>& pages, std::string_view part, const std::string& text, std::int64_t count) {
    const auto dash = part.find('-');
    const auto first = parsePage(part.substr(0, dash), text, count);
    const auto last = dash == std::string_view::npos ? first : parsePage(part.substr(dash + 1), text, count);
    for (auto page = first; first <= last ? page <= last : page >= last; page += first <= last ? 1 : -1) {
        pages.push_back(page);
    }
}

} // namespace

std::vector<std::int64_t> parsePages(const std::string& text, std::int64_t count) {
    std::vector<std::int64_t> pages;
    if (text.empty()) {
        pages.resize(static_cast<std::size_t>(count));
        std::iota(pages.begin(), pages.end(), 0);
        return pages;
    }
    for (std::string_view rest = text;;) {
        const auto comma = rest.find(',');
        appendRange(pages, rest.substr(0, comma), text, count);
        if (comma == std::string_view::npos) {
            return pages;
        }
        rest.remove_prefix(comma + 1);
    }
}

} // namespace orvex::tool
