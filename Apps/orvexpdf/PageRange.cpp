#include "PageRange.h"

#include "Failure.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <string_view>

namespace orvex::tool {

namespace {

/// As it was named, counted from 1; `end` stands for the last page.
struct Span {
    std::int64_t first = 0;
    std::int64_t last = 0;
};

constexpr std::int64_t end = -1; // digits alone never mean it

[[noreturn]] void refuse(const std::string& text, const std::string& reason) {
    throw Failure(ExitCode::usage, "pages " + text + ": " + reason);
}

std::int64_t parseNumber(std::string_view word, const std::string& text) {
    if (word == "end") {
        return end;
    }
    std::int64_t page = 0;
    const auto parsed = std::from_chars(word.data(), word.data() + word.size(), page);
    if (parsed.ec != std::errc{} || parsed.ptr != word.data() + word.size()) {
        refuse(text, "not a list of pages like 1-3,7,9-end");
    }
    return page;
}

std::vector<Span> parseSpans(const std::string& text) {
    std::vector<Span> spans;
    for (std::string_view rest = text;;) {
        const auto comma = rest.find(',');
        const auto part = rest.substr(0, comma);
        const auto dash = part.find('-');
        const auto first = parseNumber(part.substr(0, dash), text);
        spans.push_back({first, dash == std::string_view::npos ? first : parseNumber(part.substr(dash + 1), text)});
        if (comma == std::string_view::npos) {
            return spans;
        }
        rest.remove_prefix(comma + 1);
    }
}

std::int64_t indexOf(std::int64_t named, const std::string& text, std::int64_t count) {
    const auto page = named == end ? count : named;
    if (page < 1 || page > count) {
        refuse(text, "the document has " + std::to_string(count) + (count == 1 ? " page" : " pages"));
    }
    return page - 1;
}

} // namespace

std::vector<std::int64_t> parsePages(const std::string& text, std::int64_t count) {
    std::vector<std::int64_t> pages;
    if (text.empty()) {
        pages.resize(static_cast<std::size_t>(count));
        std::iota(pages.begin(), pages.end(), 0);
        return pages;
    }
    for (const Span& span : parseSpans(text)) {
        const auto first = indexOf(span.first, text, count);
        const auto last = indexOf(span.last, text, count);
        for (auto page = first; first <= last ? page <= last : page >= last; page += first <= last ? 1 : -1) {
            pages.push_back(page);
        }
    }
    return pages;
}

std::vector<std::int64_t> parseDistinctPages(const std::string& text, std::int64_t count) {
    auto pages = parsePages(text, count);
    auto sorted = pages;
    std::ranges::sort(sorted);
    if (std::ranges::adjacent_find(sorted) != sorted.end()) {
        refuse(text, "a page is named twice");
    }
    return pages;
}

std::int64_t parsePage(const std::string& text, std::int64_t count, const std::string& instead) {
    const auto pages = parsePages(text, count);
    if (text.empty() || pages.size() != 1) {
        throw Failure(ExitCode::usage, "--page takes one page" + (instead.empty() ? "" : "; " + instead));
    }
    return pages.front();
}

void checkPageList(const std::string& text) {
    if (!text.empty()) {
        static_cast<void>(parseSpans(text));
    }
}

} // namespace orvex::tool
