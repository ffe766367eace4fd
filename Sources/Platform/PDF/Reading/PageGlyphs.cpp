#include "Platform/PDF/Reading/PageGlyphs_p.h"

namespace orvex {

namespace {

// Pages with more glyphs are rare: the room that one took is given back.
constexpr std::size_t keptGlyphs = 100'000;

} // namespace

void PageGlyphs::clear() {
    glyphs.clear();
    if (glyphs.capacity() > keptGlyphs) {
        glyphs.shrink_to_fit();
    }
    styles.clear();
    texts.clear();
    fonts.clear();
    foundTexts.clear();
}

} // namespace orvex
