// Scanning many bytes at a time.
#include "Platform/Foundation/JSON_p.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace orvex {

namespace {

/// Which of 64 bytes are what, the first as the lowest bit.
struct Marks {
    std::uint64_t quotes = 0;
    std::uint64_t backslashes = 0;
    std::uint64_t openings = 0;
    std::uint64_t closings = 0;
};
constexpr std::size_t blockSize = 64;
constexpr char caseBit = 0x20; // in ASCII braces are brackets with this bit set

#ifdef __SSE2__
Marks marksOf(const char* block) {
    Marks marks;
    for (unsigned at = 0; at < blockSize; at += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + at));
        const __m128i braces = _mm_or_si128(bytes, _mm_set1_epi8(caseBit));
        const auto bits = [at](__m128i where, char c) {
            const int equal = _mm_movemask_epi8(_mm_cmpeq_epi8(where, _mm_set1_epi8(c)));
            return static_cast<std::uint64_t>(static_cast<unsigned>(equal)) << at;
        };
        marks.quotes |= bits(bytes, '"');
        marks.backslashes |= bits(bytes, '\\');
        marks.openings |= bits(braces, '{');
        marks.closings |= bits(braces, '}');
    }
    return marks;
}
#else
Marks marksOf(const char* block) {
    Marks marks;
    for (std::size_t at = 0; at < blockSize; ++at) {
        const std::uint64_t bit = std::uint64_t{1} << at;
        const char brace = static_cast<char>(block[at] | caseBit);
        marks.quotes |= block[at] == '"' ? bit : 0;
        marks.backslashes |= block[at] == '\\' ? bit : 0;
        marks.openings |= brace == '{' ? bit : 0;
        marks.closings |= brace == '}' ? bit : 0;
    }
    return marks;
}
#endif

/// Follows brackets from block to block.
class BracketScanner {
public:
    /// The bit behind which all brackets are closed; 64 when that is not in this block.
    unsigned scan(const char* block) {
        const Marks marks = marksOf(block);
        const std::uint64_t outside = ~insideTexts(unescapedQuotes(marks));
        const int closed = std::popcount(marks.closings & outside);
        if (depth_ > closed) { // they cannot all be closed here
            depth_ += std::popcount(marks.openings & outside) - closed;
            return blockSize;
        }
        for (auto rest = (marks.openings | marks.closings) & outside; rest != 0; rest &= rest - 1) {
            const auto bit = static_cast<unsigned>(std::countr_zero(rest));
            depth_ += (marks.openings >> bit & 1U) != 0 ? 1 : -1;
            if (depth_ <= 0) {
                return bit;
            }
        }
        return blockSize;
    }

private:
    std::uint64_t unescapedQuotes(const Marks& marks) {
        std::uint64_t quotes = marks.quotes;
        std::uint64_t backslashes = marks.backslashes;
        if (std::exchange(escapes_, false)) {
            quotes &= ~std::uint64_t{1};
            backslashes &= ~std::uint64_t{1};
        }
        while (backslashes != 0) {
            const std::uint64_t lowest = backslashes & (0 - backslashes);
            quotes &= ~(lowest << 1U);
            backslashes &= ~(lowest | lowest << 1U);
            escapes_ = lowest >> (blockSize - 1) != 0;
        }
        return quotes;
    }

    /// From each opening quote up to the closing one: at each bit, whether the quotes so far are odd in number.
    std::uint64_t insideTexts(std::uint64_t quotes) {
        for (unsigned shift = 1; shift < blockSize; shift *= 2) {
            quotes ^= quotes << shift;
        }
        const std::uint64_t inside = inText_ ? ~quotes : quotes;
        inText_ = inside >> (blockSize - 1) != 0;
        return inside;
    }

    int depth_ = 0;
    bool escapes_ = false; ///< the block ended with a backslash that escapes
    bool inText_ = false;
};

/// The highest bit of each byte that is below `limit`, which is at most 0x80, or above ASCII. Bytes above the lowest
/// one found may be marked too.
std::uint64_t belowOrBeyondASCII(std::uint64_t bytes, std::uint8_t limit) {
    return ((bytes - eightOf(limit)) | bytes) & eightOf(0x80);
}

} // namespace

std::size_t skipJSONBrackets(std::string_view text, std::size_t offset) {
    BracketScanner scanner;
    for (; offset < text.size(); offset += blockSize) {
        std::array<char, blockSize> last{};
        const bool whole = text.size() - offset >= blockSize;
        if (!whole) {
            text.copy(last.data(), blockSize, offset);
        }
        if (const unsigned bit = scanner.scan(whole ? text.data() + offset : last.data()); bit < blockSize) {
            return offset + bit + 1;
        }
    }
    return text.size();
}

std::size_t skipPlainJSON(std::string_view text, std::size_t offset) {
    if constexpr (std::endian::native == std::endian::little) {
        for (std::uint64_t bytes = 0; text.size() - offset >= sizeof bytes; offset += sizeof bytes) {
            std::memcpy(&bytes, text.data() + offset, sizeof bytes);
            const std::uint64_t special = belowOrBeyondASCII(bytes, ' ') | belowOrBeyondASCII(bytes ^ eightOf('"'), 1) |
                                          belowOrBeyondASCII(bytes ^ eightOf('\\'), 1);
            if (special != 0) {
                return offset + static_cast<std::size_t>(std::countr_zero(special)) / 8;
            }
        }
    }
    const auto isPlain = [](unsigned char c) { return c >= ' ' && c < 0x80 && c != '"' && c != '\\'; };
    while (offset < text.size() && isPlain(static_cast<unsigned char>(text[offset]))) {
        ++offset;
    }
    return offset;
}

} // namespace orvex
