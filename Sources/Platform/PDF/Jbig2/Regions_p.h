// Regions whose pixels are coded one by one: from nothing, or from another picture that is nearly the same (ITU-T T.88,
// 6.2 and 6.3).
#pragma once

#include "Platform/PDF/Jbig2/Arithmetic_p.h"
#include "Platform/PDF/Jbig2/Bitmap_p.h"

#include <array>

namespace orvex::jbig2 {

/// A pixel that a context looks at, from the one that is coded.
struct AdaptivePixel {
    std::int16_t x = 0;
    std::int16_t y = 0;
};

struct GenericCoding {
    unsigned pattern = 0; ///< of the context: 0 to 3
    bool repeatsRows = false;
    std::array<AdaptivePixel, 4> adaptive{};
    const Bitmap* skipped = nullptr; ///< pixels that are not coded and stay white
};
/// How many of the adaptive pixels a pattern has.
[[nodiscard]] std::size_t adaptiveCount(unsigned pattern);
[[nodiscard]] Contexts genericContexts(unsigned pattern);
[[nodiscard]] GenericCoding readGenericCoding(Reader& reader, unsigned pattern);

[[nodiscard]] Bitmap decodeGeneric(std::int64_t width, std::int64_t height, const GenericCoding& coding,
                                   ArithmeticDecoder& decoder, Contexts& contexts, Budget& budget);
/// Facsimile rows; the reader stands behind them afterwards.
[[nodiscard]] Bitmap decodeFacsimile(std::int64_t width, std::int64_t height, Reader& reader, Budget& budget);

struct RefinementCoding {
    unsigned pattern = 0; ///< 0 or 1
    bool repeats = false;
    std::array<AdaptivePixel, 2> adaptive{};
};
[[nodiscard]] Contexts refinementContexts(unsigned pattern);
[[nodiscard]] RefinementCoding readRefinementCoding(Reader& reader, unsigned pattern);

/// The picture that is refined has its corner at (dx, dy) of the new one.
struct Refined {
    const Bitmap& picture;
    std::int64_t dx = 0;
    std::int64_t dy = 0;
};
[[nodiscard]] Bitmap decodeRefinement(std::int64_t width, std::int64_t height, const Refined& refined,
                                      const RefinementCoding& coding, ArithmeticDecoder& decoder, Contexts& contexts,
                                      Budget& budget);

} // namespace orvex::jbig2
