#include "Platform/PDF/Jbig2/Segments_p.h"

namespace orvex::jbig2 {

Symbols References::symbols(Budget& budget) const {
    Symbols all;
    for (const Resource* resource : resources_) {
        if (const auto* dictionary = std::get_if<SymbolDictionary>(resource)) {
            budget.spend(dictionary->symbols.size() * sizeof(BitmapPtr));
            all.insert(all.end(), dictionary->symbols.begin(), dictionary->symbols.end());
        }
    }
    return all;
}

template <typename Kind> const Kind* References::last() const {
    const Kind* found = nullptr;
    for (const Resource* resource : resources_) {
        const auto* here = std::get_if<Kind>(resource);
        found = here != nullptr ? here : found;
    }
    return found;
}
template const SymbolDictionary* References::last() const;
template const PatternDictionary* References::last() const;

BitmapPtr References::picture() const {
    const auto* found = last<BitmapPtr>();
    return found != nullptr ? *found : nullptr;
}

HuffmanTablePtr References::nextTable() {
    std::size_t index = 0;
    for (const Resource* resource : resources_) {
        const auto* table = std::get_if<HuffmanTablePtr>(resource);
        if (table != nullptr && index++ == tablesTaken_) {
            ++tablesTaken_;
            return *table;
        }
    }
    throw Damage("a code table is missing");
}

HuffmanTablePtr References::table(unsigned choice, std::initializer_list<unsigned> standard) {
    return choice < standard.size() ? HuffmanTable::standard(standard.begin()[choice]) : nextTable();
}

} // namespace orvex::jbig2
