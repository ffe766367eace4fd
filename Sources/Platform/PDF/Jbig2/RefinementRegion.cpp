#include "Platform/PDF/Jbig2/Regions_p.h"

namespace orvex::jbig2 {

namespace {

/// By T.88, figures 12 to 15: with each pattern the pixels of the new picture, then those of the refined one.
class Refinement {
public:
    Refinement(Bitmap& bitmap, const Refined& refined, const RefinementCoding& coding)
        : bitmap_(bitmap), refined_(refined), coding_(coding) {}

    [[nodiscard]] unsigned context(std::int64_t x, std::int64_t y) const {
        const unsigned shared = made(x - 1, y) | made(x + 1, y - 1) << 1 | made(x, y - 1) << 2;
        if (coding_.pattern == 1) {
            return shared | made(x - 1, y - 1) << 3 | old(x + 1, y + 1) << 4 | old(x, y + 1) << 5 | old(x + 1, y) << 6 |
                   old(x, y) << 7 | old(x - 1, y) << 8 | old(x, y - 1) << 9;
        }
        const auto& [first, second] = coding_.adaptive;
        return shared | made(x + first.x, y + first.y) << 3 | old(x + 1, y + 1) << 4 | old(x, y + 1) << 5 |
               old(x - 1, y + 1) << 6 | old(x + 1, y) << 7 | old(x, y) << 8 | old(x - 1, y) << 9 |
               old(x + 1, y - 1) << 10 | old(x, y - 1) << 11 | old(x + second.x, y + second.y) << 12;
    }
    /// The context of whether pixels within areas of one colour are left out.
    [[nodiscard]] unsigned repeatContext() const { return coding_.pattern == 1 ? 0x080U : 0x100U; }

    /// Whether all of the refined picture around the pixel has one colour.
    [[nodiscard]] bool isPlain(std::int64_t x, std::int64_t y) const {
        unsigned sum = 0;
        for (std::int64_t dy = -1; dy <= 1; ++dy) {
            sum += old(x - 1, y + dy) + old(x, y + dy) + old(x + 1, y + dy);
        }
        return sum == 0 || sum == 9;
    }
    [[nodiscard]] unsigned old(std::int64_t x, std::int64_t y) const {
        return refined_.picture.at(x - refined_.dx, y - refined_.dy);
    }

private:
    [[nodiscard]] unsigned made(std::int64_t x, std::int64_t y) const { return bitmap_.at(x, y); }

    const Bitmap& bitmap_;
    const Refined& refined_;
    const RefinementCoding& coding_;
};

} // namespace

Contexts refinementContexts(unsigned pattern) {
    return Contexts(pattern == 1 ? 1 << 10 : 1 << 13);
}

RefinementCoding readRefinementCoding(Reader& reader, unsigned pattern) {
    RefinementCoding coding;
    coding.pattern = pattern;
    if (pattern == 0) {
        for (AdaptivePixel& pixel : coding.adaptive) {
            pixel.x = reader.i8();
            pixel.y = reader.i8();
        }
    }
    return coding;
}

Bitmap decodeRefinement(std::int64_t width, std::int64_t height, const Refined& refined, const RefinementCoding& coding,
                        ArithmeticDecoder& decoder, Contexts& contexts, Budget& budget) {
    Bitmap bitmap(width, height, budget);
    const Refinement refinement(bitmap, refined, coding);
    bool repeats = false;
    for (std::int64_t y = 0; y < height; ++y) {
        repeats ^= coding.repeats && decoder.bit(contexts[refinement.repeatContext()]) == 1;
        for (std::int64_t x = 0; x < width; ++x) {
            const bool isTaken = repeats && refinement.isPlain(x, y);
            const unsigned pixel = isTaken ? refinement.old(x, y) : decoder.bit(contexts[refinement.context(x, y)]);
            if (pixel == 1) {
                bitmap.blacken(x, y);
            }
        }
    }
    return bitmap;
}

} // namespace orvex::jbig2
