// The prefix codes of ITU-T T.88, annex B: for each a range of numbers.
#pragma once

#include "Platform/PDF/Jbig2/Reader_p.h"

#include <memory>
#include <optional>
#include <vector>

namespace orvex::jbig2 {

struct HuffmanLine {
    enum class Kind : std::uint8_t { normal, downwards, apart };
    unsigned codeBits = 0; ///< 0 for a line that has no code
    unsigned rangeBits = 0;
    std::int32_t low = 0; ///< or, downwards, the highest
    Kind kind = Kind::normal;
};

class HuffmanTable {
public:
    /// Codes are given out in the order of their lengths, then of the lines. Throws Damage for more codes than there
    /// can be.
    explicit HuffmanTable(std::vector<HuffmanLine> lines);
    /// Reads a table segment. Lines may be two bits: they are paid for by their size.
    static HuffmanTable read(Reader& reader, Budget& budget);
    /// By its number in annex B, from 1 on.
    static const std::shared_ptr<const HuffmanTable>& standard(unsigned number);

    /// Nothing for the value that stands apart from all numbers.
    std::optional<std::int32_t> decode(Reader& reader) const;
    /// Throws Damage for that one.
    std::int32_t number(Reader& reader) const;

private:
    static constexpr unsigned longestCode = 32;
    struct Length {
        std::uint64_t firstCode = 0;
        std::size_t firstLine = 0;
        std::size_t count = 0;
    };
    std::vector<HuffmanLine> lines_; ///< those with codes, in the order of their codes
    std::vector<Length> lengths_;    ///< by bits of the code
};

using HuffmanTablePtr = std::shared_ptr<const HuffmanTable>;

} // namespace orvex::jbig2
