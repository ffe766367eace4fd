#include "Platform/PDF/Jbig2/Segments_p.h"

#include <algorithm>

namespace orvex::jbig2 {

namespace {

/// How long the codes of symbols are, in runs, behind the code for the runs' own lengths (T.88, 7.4.3.1.7).
HuffmanTablePtr readIdTable(Reader& reader, std::size_t count) {
    constexpr int runCodes = 35;
    std::vector<HuffmanLine> runs;
    for (int i = 0; i < runCodes; ++i) {
        runs.push_back({reader.bits(4), 0, i});
    }
    const HuffmanTable runTable(std::move(runs));
    std::vector<HuffmanLine> lines;
    while (lines.size() < count) {
        const auto code = static_cast<unsigned>(runTable.number(reader));
        unsigned length = code;
        std::size_t times = 1;
        if (code >= 32) {
            length = code == 32 && !lines.empty() ? lines.back().codeBits : 0;
            times = code == 32 ? 3 + reader.bits(2) : code == 33 ? 3 + reader.bits(3) : 11 + reader.bits(7);
        }
        for (times = std::min(times, count - lines.size()); times > 0; --times) {
            lines.push_back({length, 0, static_cast<std::int32_t>(lines.size())});
        }
    }
    reader.align();
    return std::make_shared<const HuffmanTable>(std::move(lines));
}

TextTables readTables(unsigned flags, References& references) {
    TextTables tables;
    tables.firstS = references.table(flags & 3U, {6, 7});
    tables.nextS = references.table(flags >> 2 & 3U, {8, 9, 10});
    tables.stripT = references.table(flags >> 4 & 3U, {11, 12, 13});
    tables.refinedWidth = references.table(flags >> 6 & 3U, {14, 15});
    tables.refinedHeight = references.table(flags >> 8 & 3U, {14, 15});
    tables.refinedX = references.table(flags >> 10 & 3U, {14, 15});
    tables.refinedY = references.table(flags >> 12 & 3U, {14, 15});
    tables.refinedSize = references.table(flags >> 14 & 1U, {1});
    return tables;
}

} // namespace

Bitmap readTextRegion(Reader& reader, Size size, References& references, Budget& budget) {
    const unsigned flags = reader.u16();
    const bool isTabulated = (flags & 1U) != 0;
    TextLayout layout;
    layout.width = size.width;
    layout.height = size.height;
    layout.refines = (flags & 2U) != 0;
    layout.stripBits = flags >> 2 & 3U;
    layout.corner = static_cast<Corner>(flags >> 4 & 3U);
    layout.isTransposed = (flags & 0x40U) != 0;
    layout.combination = static_cast<Operator>(flags >> 7 & 3U);
    layout.isBlack = (flags & 0x200U) != 0;
    const int spacing = static_cast<int>(flags >> 10 & 31U);
    layout.spacing = spacing < 16 ? spacing : spacing - 32;
    TextTables tables = isTabulated ? readTables(reader.u16(), references) : TextTables();
    const unsigned refinementPattern = flags >> 15;
    layout.refinement.pattern = refinementPattern;
    if (layout.refines) {
        layout.refinement = readRefinementCoding(reader, refinementPattern);
    }
    layout.instances = reader.u32();
    const Symbols symbols = references.symbols(budget);
    Contexts refinement = refinementContexts(refinementPattern);
    if (isTabulated) {
        tables.ids = readIdTable(reader, symbols.size());
        return decodeText(layout, symbols, reader, tables, refinement, budget);
    }
    ArithmeticDecoder decoder(reader.rest());
    TextContexts contexts(bitsFor(symbols.size()));
    return decodeText(layout, symbols, decoder, contexts, refinement, budget);
}

} // namespace orvex::jbig2
