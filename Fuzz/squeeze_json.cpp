// Squeeze modes: what can be read can be written and reads back as the same mode.
#include "Target.h"

#include "OrvexPDF/SqueezeMode.h"

namespace orvex::fuzz {

void run(const Bytes& input) {
    const auto mode = OrvexPDFSqueezeMode::from(input);
    if (!mode) {
        return;
    }
    const auto again = OrvexPDFSqueezeMode::from(mode->toData());
    if (!again || again->id != mode->id || again->dpi != mode->dpi || again->quality != mode->quality) {
        __builtin_trap();
    }
}

} // namespace orvex::fuzz
