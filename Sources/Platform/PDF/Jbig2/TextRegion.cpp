#include "Platform/PDF/Jbig2/Text_p.h"

#include <algorithm>

namespace orvex::jbig2 {

namespace {

struct SizeChange {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t x = 0;
    std::int32_t y = 0;
};

Bitmap refined(const Bitmap& symbol, const SizeChange& change, const RefinementCoding& coding,
               ArithmeticDecoder& decoder, Contexts& contexts, Budget& budget) {
    const std::int64_t dx = (change.width >> 1) + std::int64_t{change.x};
    const std::int64_t dy = (change.height >> 1) + std::int64_t{change.y};
    return decodeRefinement(symbol.width() + change.width, symbol.height() + change.height, {symbol, dx, dy}, coding,
                            decoder, contexts, budget);
}

class ArithmeticText {
public:
    ArithmeticText(ArithmeticDecoder& decoder, TextContexts& contexts, Contexts& refinement)
        : decoder_(decoder), contexts_(contexts), refinement_(refinement) {}

    std::int32_t stripT() { return present(contexts_.stripT.decode(decoder_)); }
    std::int32_t firstS() { return present(contexts_.firstS.decode(decoder_)); }
    std::optional<std::int32_t> nextS() { return contexts_.nextS.decode(decoder_); }
    std::int32_t t(unsigned /*bits*/) { return present(contexts_.t.decode(decoder_)); }
    std::uint32_t id() { return contexts_.ids.decode(decoder_); }
    bool isRefined() { return present(contexts_.refines.decode(decoder_)) != 0; }

    Bitmap refine(const Bitmap& symbol, const RefinementCoding& coding, Budget& budget) {
        SizeChange change;
        change.width = present(contexts_.refinedWidth.decode(decoder_));
        change.height = present(contexts_.refinedHeight.decode(decoder_));
        change.x = present(contexts_.refinedX.decode(decoder_));
        change.y = present(contexts_.refinedY.decode(decoder_));
        return refined(symbol, change, coding, decoder_, refinement_, budget);
    }

private:
    ArithmeticDecoder& decoder_;
    TextContexts& contexts_;
    Contexts& refinement_;
};

class TabulatedText {
public:
    TabulatedText(Reader& reader, const TextTables& tables, Contexts& refinement)
        : reader_(reader), tables_(tables), refinement_(refinement) {}

    std::int32_t stripT() { return tables_.stripT->number(reader_); }
    std::int32_t firstS() { return tables_.firstS->number(reader_); }
    std::optional<std::int32_t> nextS() { return tables_.nextS->decode(reader_); }
    std::int32_t t(unsigned bits) { return static_cast<std::int32_t>(reader_.bits(bits)); }
    std::uint32_t id() { return static_cast<std::uint32_t>(tables_.ids->number(reader_)); }
    bool isRefined() { return reader_.bit() == 1; }

    Bitmap refine(const Bitmap& symbol, const RefinementCoding& coding, Budget& budget) {
        SizeChange change;
        change.width = tables_.refinedWidth->number(reader_);
        change.height = tables_.refinedHeight->number(reader_);
        change.x = tables_.refinedX->number(reader_);
        change.y = tables_.refinedY->number(reader_);
        const std::int32_t size = tables_.refinedSize->number(reader_);
        if (size < 0) {
            throw Damage("a size below zero");
        }
        ArithmeticDecoder decoder(reader_.bytes(static_cast<std::size_t>(size)));
        return refined(symbol, change, coding, decoder, refinement_, budget);
    }

private:
    Reader& reader_;
    const TextTables& tables_;
    Contexts& refinement_;
};

/// Places symbols along S, line by line along T; S is x and T is y unless the region is transposed.
template <typename Values> class TextDecoder {
public:
    TextDecoder(const TextLayout& layout, const Symbols& symbols, Values values, Budget& budget)
        : layout_(layout), symbols_(symbols), values_(values), budget_(budget),
          region_(layout.width, layout.height, budget, layout.isBlack) {}

    Bitmap run() {
        std::int64_t t = -(std::int64_t{values_.stripT()} << layout_.stripBits);
        std::int64_t first = 0;
        for (std::uint64_t done = 0; done < layout_.instances;) {
            budget_.spend(unitsOfAStep);
            t += std::int64_t{values_.stripT()} << layout_.stripBits;
            first += values_.firstS();
            done += strip(t, first, layout_.instances - done);
        }
        return std::move(region_);
    }

private:
    static constexpr std::uint64_t unitsOfAStep = 16;

    /// Returns how many symbols it placed.
    std::uint64_t strip(std::int64_t t, std::int64_t s, std::uint64_t most) {
        for (std::uint64_t count = 1;; ++count) {
            place(t, s);
            const auto next = values_.nextS();
            if (!next || count == most) {
                return count;
            }
            s += *next + layout_.spacing;
        }
    }

    /// Moves `s` on by the symbol.
    void place(std::int64_t t, std::int64_t& s) {
        budget_.spend(unitsOfAStep);
        t += layout_.stripBits == 0 ? 0 : values_.t(layout_.stripBits);
        const Bitmap* symbol = &symbolOf(symbols_, values_.id());
        Bitmap changed;
        if (layout_.refines && values_.isRefined()) {
            changed = values_.refine(*symbol, layout_.refinement, budget_);
            symbol = &changed;
        }
        budget_.spend(symbol->rowBytes() * static_cast<std::uint64_t>(symbol->height()));
        const bool isRight = layout_.corner == Corner::topRight || layout_.corner == Corner::bottomRight;
        const bool isBottom = layout_.corner == Corner::bottomLeft || layout_.corner == Corner::bottomRight;
        const std::int64_t across = (layout_.isTransposed ? symbol->height() : symbol->width()) - 1;
        const bool movesFirst = layout_.isTransposed ? isBottom : isRight;
        s += movesFirst ? across : 0;
        const std::int64_t x = (layout_.isTransposed ? t : s) - (isRight ? symbol->width() - 1 : 0);
        const std::int64_t y = (layout_.isTransposed ? s : t) - (isBottom ? symbol->height() - 1 : 0);
        region_.draw(*symbol, x, y, layout_.combination);
        s += movesFirst ? 0 : across;
    }

    const TextLayout& layout_;
    const Symbols& symbols_;
    Values values_;
    Budget& budget_;
    Bitmap region_;
};

} // namespace

const Bitmap& symbolOf(const Symbols& symbols, std::uint32_t id) {
    if (id >= symbols.size()) {
        throw Damage("a symbol that there is not");
    }
    return *symbols[id];
}

Bitmap decodeText(const TextLayout& layout, const Symbols& symbols, ArithmeticDecoder& decoder, TextContexts& contexts,
                  Contexts& refinement, Budget& budget) {
    return TextDecoder(layout, symbols, ArithmeticText(decoder, contexts, refinement), budget).run();
}

Bitmap decodeText(const TextLayout& layout, const Symbols& symbols, Reader& reader, const TextTables& tables,
                  Contexts& refinement, Budget& budget) {
    return TextDecoder(layout, symbols, TabulatedText(reader, tables, refinement), budget).run();
}

} // namespace orvex::jbig2
