// Found content: what can be read can be written and reads back the same.
#include "Target.h"

#include "OrvexPDF/FoundContent.h"

namespace orvex::fuzz {

void run(const Bytes& input) {
    (void)OrvexFoundPage::from(input);
    const auto document = OrvexFoundDocument::from(input);
    if (!document) {
        return;
    }
    const auto again = OrvexFoundDocument::from(Bytes(document->toJSONString(true)));
    if (!again || *again != *document) {
        __builtin_trap();
    }
}

} // namespace orvex::fuzz
