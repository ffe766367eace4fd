#include "ReadPages.h"

#include "Interrupt.h"
#include "Platform/Foundation/Workers.h"
#include "Progress.h"

namespace orvex::tool {

void put(ByteSink& sink, std::string_view text) {
    sink.write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

void writePages(const OrvexPDFDocument& document, const std::vector<std::int64_t>& pages, ByteSink& sink,
                const std::function<std::string(const OrvexPDFPage&, bool first)>& describe) {
    Progress progress("Reading pages", pages.size());
    const auto produce = [&](std::size_t i) { return describe(*document.orvexPage(pages[i]), i == 0); };
    const auto consume = [&](const std::string& text) {
        throwIfInterrupted();
        put(sink, text);
        progress.advance();
    };
    forEachInOrder(pages.size(), produce, consume);
}

} // namespace orvex::tool
