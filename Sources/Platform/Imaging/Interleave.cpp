#include "Platform/Imaging/Interleave_p.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orvex {
namespace {

#if defined(__x86_64__)

bool hasShuffles() {
    static const bool has = __builtin_cpu_supports("ssse3") != 0;
    return has;
}

/// Sixteen pixels at a time: each plane is gathered from the three registers that they fill, or spread over them. A
/// negative index gives zero.
__attribute__((target("ssse3"))) std::size_t deinterleaveBlocks(const std::uint8_t* pixels, std::size_t count,
                                                                std::uint8_t* first, std::uint8_t* second,
                                                                std::uint8_t* third) {
    const __m128i pick[3][3] = {{_mm_setr_epi8(0, 3, 6, 9, 12, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1),
                                 _mm_setr_epi8(-1, -1, -1, -1, -1, -1, 2, 5, 8, 11, 14, -1, -1, -1, -1, -1),
                                 _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1, 4, 7, 10, 13)},
                                {_mm_setr_epi8(1, 4, 7, 10, 13, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1),
                                 _mm_setr_epi8(-1, -1, -1, -1, -1, 0, 3, 6, 9, 12, 15, -1, -1, -1, -1, -1),
                                 _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 2, 5, 8, 11, 14)},
                                {_mm_setr_epi8(2, 5, 8, 11, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1),
                                 _mm_setr_epi8(-1, -1, -1, -1, -1, 1, 4, 7, 10, 13, -1, -1, -1, -1, -1, -1),
                                 _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 3, 6, 9, 12, 15)}};
    std::uint8_t* const planes[3] = {first, second, third};
    std::size_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const auto* source = reinterpret_cast<const __m128i*>(pixels + 3 * done);
        const __m128i a = _mm_loadu_si128(source);
        const __m128i b = _mm_loadu_si128(source + 1);
        const __m128i c = _mm_loadu_si128(source + 2);
        for (int plane = 0; plane < 3; ++plane) {
            const __m128i samples =
                _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, pick[plane][0]), _mm_shuffle_epi8(b, pick[plane][1])),
                             _mm_shuffle_epi8(c, pick[plane][2]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(planes[plane] + done), samples);
        }
    }
    return done;
}

__attribute__((target("ssse3"))) std::size_t interleaveBlocks(const std::uint8_t* first, const std::uint8_t* second,
                                                              const std::uint8_t* third, std::size_t count,
                                                              std::uint8_t* pixels) {
    const __m128i place[3][3] = {{_mm_setr_epi8(0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1, 5),
                                  _mm_setr_epi8(-1, 0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1),
                                  _mm_setr_epi8(-1, -1, 0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1)},
                                 {_mm_setr_epi8(-1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10, -1),
                                  _mm_setr_epi8(5, -1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10),
                                  _mm_setr_epi8(-1, 5, -1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1)},
                                 {_mm_setr_epi8(-1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1, -1),
                                  _mm_setr_epi8(-1, -1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1),
                                  _mm_setr_epi8(10, -1, -1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15)}};
    std::size_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + done));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(second + done));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(third + done));
        auto* target = reinterpret_cast<__m128i*>(pixels + 3 * done);
        for (int part = 0; part < 3; ++part) {
            const __m128i samples =
                _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, place[part][0]), _mm_shuffle_epi8(b, place[part][1])),
                             _mm_shuffle_epi8(c, place[part][2]));
            _mm_storeu_si128(target + part, samples);
        }
    }
    return done;
}

#else

bool hasShuffles() {
    return false;
}
std::size_t deinterleaveBlocks(const std::uint8_t*, std::size_t, std::uint8_t*, std::uint8_t*, std::uint8_t*) {
    return 0;
}
std::size_t interleaveBlocks(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*, std::size_t,
                             std::uint8_t*) {
    return 0;
}

#endif

} // namespace

void deinterleave(const std::uint8_t* pixels, std::size_t count, std::uint8_t* first, std::uint8_t* second,
                  std::uint8_t* third) {
    for (std::size_t i = hasShuffles() ? deinterleaveBlocks(pixels, count, first, second, third) : 0; i < count; ++i) {
        first[i] = pixels[3 * i];
        second[i] = pixels[3 * i + 1];
        third[i] = pixels[3 * i + 2];
    }
}

void interleave(const std::uint8_t* first, const std::uint8_t* second, const std::uint8_t* third, std::size_t count,
                std::uint8_t* pixels) {
    for (std::size_t i = hasShuffles() ? interleaveBlocks(first, second, third, count, pixels) : 0; i < count; ++i) {
        pixels[3 * i] = first[i];
        pixels[3 * i + 1] = second[i];
        pixels[3 * i + 2] = third[i];
    }
}

} // namespace orvex
