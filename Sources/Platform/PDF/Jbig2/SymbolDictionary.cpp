#include "Platform/PDF/Jbig2/Segments_p.h"

#include <algorithm>

namespace orvex::jbig2 {

namespace {

constexpr std::uint64_t unitsOfASymbol = 64;

struct DictionaryHeader {
    bool isTabulated = false;
    bool isAggregate = false;
    bool takesContexts = false;
    bool keepsContexts = false;
    GenericCoding generic;
    RefinementCoding refinement;
    HuffmanTablePtr heights, widths, sizes, instances;
    std::uint64_t exported = 0;
    std::uint64_t made = 0;
};

DictionaryHeader readHeader(Reader& reader, References& references) {
    const unsigned flags = reader.u16();
    DictionaryHeader header;
    header.isTabulated = (flags & 1U) != 0;
    header.isAggregate = (flags & 2U) != 0;
    header.takesContexts = (flags & 0x100U) != 0;
    header.keepsContexts = (flags & 0x200U) != 0;
    if (header.isTabulated) {
        header.heights = references.table(flags >> 2 & 3U, {4, 5});
        header.widths = references.table(flags >> 4 & 3U, {2, 3});
        header.sizes = references.table(flags >> 6 & 1U, {1});
        header.instances = references.table(flags >> 7 & 1U, {1});
        header.generic.pattern = flags >> 10 & 3U;
    } else {
        header.generic = readGenericCoding(reader, flags >> 10 & 3U);
    }
    const unsigned refinementPattern = flags >> 12 & 1U;
    header.refinement.pattern = refinementPattern;
    if (header.isAggregate) {
        header.refinement = readRefinementCoding(reader, refinementPattern);
    }
    header.exported = reader.u32();
    header.made = reader.u32();
    return header;
}

/// Codes of one length for all symbols, for aggregates that are coded by tables.
HuffmanTablePtr evenCodes(std::uint64_t count, unsigned bits) {
    std::vector<HuffmanLine> lines;
    for (std::uint64_t i = 0; i < count; ++i) {
        lines.push_back({bits, 0, static_cast<std::int32_t>(i)});
    }
    return std::make_shared<const HuffmanTable>(std::move(lines));
}

class DictionaryDecoder {
public:
    DictionaryDecoder(const DictionaryHeader& header, Reader& reader, const References& references, Budget& budget)
        : header_(header), reader_(reader), budget_(budget), symbols_(references.symbols(budget)),
          given_(symbols_.size()), idBits_(std::max(bitsFor(given_ + header.made), header.isTabulated ? 1U : 0U)),
          texts_(idBits_), generic_(genericContexts(header.generic.pattern)),
          refinement_(refinementContexts(header.refinement.pattern)) {
        const auto* before = references.lastDictionary();
        if (header.takesContexts && before != nullptr) {
            generic_ = before->generic.size() == generic_.size() ? before->generic : generic_;
            refinement_ = before->refinement.size() == refinement_.size() ? before->refinement : refinement_;
        }
        if (header.isTabulated && header.isAggregate) {
            const auto& standard = HuffmanTable::standard;
            tables_ = {standard(6),  standard(8),  standard(11),
                       standard(15), standard(15), standard(15),
                       standard(15), standard(1),  evenCodes(given_ + header.made, idBits_)};
        }
        if (!header.isTabulated) {
            decoder_.emplace(reader.rest());
        }
    }

    SymbolDictionary run() {
        std::int64_t height = 0;
        while (symbols_.size() < given_ + header_.made) {
            budget_.spend(unitsOfASymbol);
            height += number(header_.heights, heights_);
            readClass(height);
        }
        SymbolDictionary dictionary{exported(), {}, {}};
        if (header_.keepsContexts) {
            dictionary.generic = std::move(generic_);
            dictionary.refinement = std::move(refinement_);
        }
        return dictionary;
    }

private:
    std::optional<std::int32_t> decode(const HuffmanTablePtr& table, IntegerContexts& contexts) {
        return header_.isTabulated ? table->decode(reader_) : contexts.decode(*decoder_);
    }
    std::int32_t number(const HuffmanTablePtr& table, IntegerContexts& contexts) {
        return present(decode(table, contexts));
    }

    /// The symbols of one height.
    void readClass(std::int64_t height) {
        std::int64_t width = 0;
        std::vector<std::int64_t> widths;
        while (const auto change = decode(header_.widths, widths_)) {
            if (symbols_.size() + widths.size() == given_ + header_.made) {
                throw Damage("more symbols than were told");
            }
            width += *change;
            if (header_.isTabulated && !header_.isAggregate) {
                widths.push_back(width);
            } else {
                symbols_.push_back(std::make_shared<const Bitmap>(
                    header_.isAggregate ? aggregate(width, height)
                                        : decodeGeneric(width, height, header_.generic, *decoder_, generic_, budget_)));
            }
        }
        if (header_.isTabulated && !header_.isAggregate) {
            cut(collective(widths, height), widths);
        }
    }

    Bitmap aggregate(std::int64_t width, std::int64_t height) {
        const std::int32_t instances = number(header_.instances, instances_);
        if (instances == 1) {
            return refinedSymbol(width, height);
        }
        TextLayout layout;
        layout.width = width;
        layout.height = height;
        layout.instances = static_cast<std::uint64_t>(std::max(instances, 0));
        layout.refines = true;
        layout.refinement = header_.refinement;
        return header_.isTabulated ? decodeText(layout, symbols_, reader_, tables_, refinement_, budget_)
                                   : decodeText(layout, symbols_, *decoder_, texts_, refinement_, budget_);
    }

    Bitmap refinedSymbol(std::int64_t width, std::int64_t height) {
        if (!header_.isTabulated) {
            const auto& symbol = symbolOf(symbols_, texts_.ids.decode(*decoder_));
            const std::int32_t x = number(nullptr, texts_.refinedX);
            const std::int32_t y = number(nullptr, texts_.refinedY);
            return decodeRefinement(width, height, {symbol, x, y}, header_.refinement, *decoder_, refinement_, budget_);
        }
        const auto& symbol = symbolOf(symbols_, reader_.bits(idBits_));
        const std::int32_t x = tables_.refinedX->number(reader_);
        const std::int32_t y = tables_.refinedY->number(reader_);
        const std::int32_t size = tables_.refinedSize->number(reader_);
        ArithmeticDecoder decoder(reader_.bytes(static_cast<std::size_t>(std::max(size, 0))));
        return decodeRefinement(width, height, {symbol, x, y}, header_.refinement, decoder, refinement_, budget_);
    }

    /// All symbols of a class side by side.
    Bitmap collective(const std::vector<std::int64_t>& widths, std::int64_t height) {
        std::int64_t width = 0;
        for (const std::int64_t each : widths) {
            width += each;
        }
        const std::int32_t size = header_.sizes->number(reader_);
        if (size > 0) {
            Reader rows(reader_.bytes(static_cast<std::size_t>(size)));
            return decodeFacsimile(width, height, rows, budget_);
        }
        Bitmap bitmap(width, height, budget_);
        for (std::int64_t y = 0; y < height; ++y) {
            std::ranges::copy(reader_.bytes(bitmap.rowBytes()), bitmap.row(y));
        }
        return bitmap;
    }

    void cut(const Bitmap& all, const std::vector<std::int64_t>& widths) {
        std::int64_t x = 0;
        for (const std::int64_t width : widths) {
            symbols_.push_back(std::make_shared<const Bitmap>(all.part(x, 0, width, all.height(), budget_)));
            x += width;
        }
    }

    /// Runs of symbols that stay inside and of such that go out take turns.
    Symbols exported() {
        Symbols out;
        bool goesOut = false;
        for (std::size_t at = 0; at < symbols_.size(); goesOut = !goesOut) {
            budget_.spend(unitsOfASymbol);
            const std::int32_t run = number(HuffmanTable::standard(1), exports_);
            if (run < 0 || static_cast<std::size_t>(run) > symbols_.size() - at) {
                throw Damage("a run of symbols out of range");
            }
            for (const std::size_t end = at + static_cast<std::size_t>(run); at < end; ++at) {
                if (goesOut) {
                    out.push_back(symbols_[at]);
                }
            }
        }
        if (out.size() != header_.exported) {
            throw Damage("not as many symbols as were told");
        }
        return out;
    }

    const DictionaryHeader& header_;
    Reader& reader_;
    Budget& budget_;
    Symbols symbols_; ///< those of the dictionaries referred to, then the new ones
    std::size_t given_;
    unsigned idBits_;
    std::optional<ArithmeticDecoder> decoder_;
    IntegerContexts heights_, widths_, instances_, exports_;
    TextContexts texts_;
    TextTables tables_;
    Contexts generic_;
    Contexts refinement_;
};

} // namespace

SymbolDictionary readSymbolDictionary(Reader& reader, References& references, Budget& budget) {
    const DictionaryHeader header = readHeader(reader, references);
    budget.spend(header.made * unitsOfASymbol);
    return DictionaryDecoder(header, reader, references, budget).run();
}

} // namespace orvex::jbig2
