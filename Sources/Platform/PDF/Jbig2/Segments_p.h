// What segments hold and refer to (ITU-T T.88, 7).
#pragma once

#include "Platform/PDF/Jbig2/Text_p.h"

#include <map>
#include <variant>

namespace orvex::jbig2 {

struct PatternDictionary {
    Symbols patterns; ///< all of one size, at least one
};

/// A result that other segments may refer to.
using Resource = std::variant<std::monostate, SymbolDictionary, PatternDictionary, HuffmanTablePtr, BitmapPtr>;

/// The results that one segment refers to, in its order.
class References {
public:
    explicit References(std::vector<const Resource*> resources) : resources_(std::move(resources)) {}

    /// Of all dictionaries. Few bytes can refer to many, and often: the list is paid for by its size.
    [[nodiscard]] Symbols symbols(Budget& budget) const;
    [[nodiscard]] const SymbolDictionary* lastDictionary() const { return last<SymbolDictionary>(); }
    [[nodiscard]] const PatternDictionary* patterns() const { return last<PatternDictionary>(); }
    [[nodiscard]] BitmapPtr picture() const;
    /// The tables that come with the data, one after the other. Throws Damage when there is no more.
    HuffmanTablePtr nextTable();
    /// A table by what a segment's flags choose: one of the standard ones, or the next that comes with the data.
    HuffmanTablePtr table(unsigned choice, std::initializer_list<unsigned> standard);

private:
    template <typename Kind> [[nodiscard]] const Kind* last() const;

    std::vector<const Resource*> resources_;
    std::size_t tablesTaken_ = 0;
};

[[nodiscard]] SymbolDictionary readSymbolDictionary(Reader& reader, References& references, Budget& budget);
[[nodiscard]] PatternDictionary readPatternDictionary(Reader& reader, Budget& budget);

/// Regions, of the size that stands ahead of them.
struct Size {
    std::int64_t width = 0;
    std::int64_t height = 0;
};
[[nodiscard]] Bitmap readGenericRegion(Reader& reader, Size size, Budget& budget);
/// The refined picture's corner is the region's.
[[nodiscard]] Bitmap readRefinementRegion(Reader& reader, Size size, const Bitmap& refined, Budget& budget);
[[nodiscard]] Bitmap readTextRegion(Reader& reader, Size size, References& references, Budget& budget);
[[nodiscard]] Bitmap readHalftoneRegion(Reader& reader, Size size, const References& references, Budget& budget);

} // namespace orvex::jbig2
