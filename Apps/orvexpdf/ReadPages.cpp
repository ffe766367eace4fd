#include "ReadPages.h"

#include "Interrupt.h"
#include "Platform/Foundation/Workers.h"
#include "Progress.h"

namespace orvex::tool {

void put(ByteSink& sink, std::string_view text) {
    sink.write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

void writePages(std::size_t count, ByteSink& sink, const std::function<std::string(std::size_t)>& describe) {
    Progress progress("Reading pages", count);
    const auto consume = [&](const std::string& text) {
        throwIfInterrupted();
        put(sink, text);
        progress.advance();
    };
    forEachInOrder(count, describe, consume);
}

} // namespace orvex::tool
