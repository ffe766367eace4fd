// Text: pictures of symbols, collected in dictionaries and placed one by one (ITU-T T.88, 6.4 and 6.5).
#pragma once

#include "Platform/PDF/Jbig2/Huffman_p.h"
#include "Platform/PDF/Jbig2/Regions_p.h"

#include <memory>
#include <optional>
#include <vector>

namespace orvex::jbig2 {

using Symbols = std::vector<BitmapPtr>;
/// Throws Damage when there is none of that number.
[[nodiscard]] const Bitmap& symbolOf(const Symbols& symbols, std::uint32_t id);

/// By their numbers in the data.
enum class Corner : std::uint8_t { bottomLeft, topLeft, bottomRight, topRight };

struct TextLayout {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::uint64_t instances = 0;
    unsigned stripBits = 0; ///< of a strip's height
    Corner corner = Corner::topLeft;
    bool isTransposed = false;
    Operator combination = Operator::or_;
    bool isBlack = false; ///< to begin with
    int spacing = 0;
    bool refines = false;
    RefinementCoding refinement;
};

/// What arithmetically coded text learns; a symbol dictionary keeps it from one aggregate to the next.
struct TextContexts {
    explicit TextContexts(unsigned idBits) : ids(idBits) {}
    IntegerContexts stripT, firstS, nextS, t, refines;
    IntegerContexts refinedWidth, refinedHeight, refinedX, refinedY;
    IdContexts ids;
};
[[nodiscard]] Bitmap decodeText(const TextLayout& layout, const Symbols& symbols, ArithmeticDecoder& decoder,
                                TextContexts& contexts, Contexts& refinement, Budget& budget);

/// The codes of text that is coded by tables.
struct TextTables {
    HuffmanTablePtr firstS, nextS, stripT;
    HuffmanTablePtr refinedWidth, refinedHeight, refinedX, refinedY, refinedSize;
    HuffmanTablePtr ids;
};
[[nodiscard]] Bitmap decodeText(const TextLayout& layout, const Symbols& symbols, Reader& reader,
                                const TextTables& tables, Contexts& refinement, Budget& budget);

/// What later segments may use of a symbol dictionary.
struct SymbolDictionary {
    Symbols symbols;
    Contexts generic;    ///< empty unless they are handed on
    Contexts refinement; ///< likewise
};

} // namespace orvex::jbig2
