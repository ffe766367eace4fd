// Found content: what can be read can be written and reads back the same, and read page by page it is the same, too.
#include "Target.h"

#include "OrvexPDF/FoundContent.h"

#include <optional>
#include <utility>
#include <vector>

namespace orvex::fuzz {

namespace {

/// The pages as they are read one by one; empty when there are none, or one of them cannot be read.
std::optional<std::vector<OrvexFoundPage>> pagesOneByOne(const Bytes& input) {
    const auto found = OrvexFoundPages::from(input);
    if (!found) {
        return std::nullopt;
    }
    std::vector<OrvexFoundPage> pages;
    for (std::size_t i = 0; i < found->count(); ++i) {
        auto page = found->page(i);
        if (!page) {
            return std::nullopt;
        }
        pages.push_back(std::move(*page));
    }
    return pages;
}

} // namespace

void run(const Bytes& input) {
    (void)OrvexFoundPage::from(input);
    const auto document = OrvexFoundDocument::from(input);
    if (pagesOneByOne(input) != (document ? document->pages : std::nullopt)) {
        __builtin_trap();
    }
    if (!document) {
        return;
    }
    const auto again = OrvexFoundDocument::from(Bytes(document->toJSONString(true)));
    if (!again || *again != *document) {
        __builtin_trap();
    }
}

} // namespace orvex::fuzz
