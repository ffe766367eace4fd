#include "Support/Similarity.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace orvex::test {
namespace {

std::uint32_t sampleAt(const Bitmap& bitmap, std::int64_t x, std::int64_t y, int channel) {
    const auto index = static_cast<std::size_t>(x * bitmap.channels() + channel);
    if (bitmap.bitsPerComponent == 1) {
        return (bitmap.row(y)[x >> 3] >> (7 - (x & 7)) & 1) * 255u;
    }
    if (bitmap.bitsPerComponent == 8) {
        return bitmap.row(y)[index];
    }
    std::uint16_t sample = 0;
    std::memcpy(&sample, bitmap.row(y) + index * 2, 2);
    return sample;
}

double luminanceAt(const Bitmap& bitmap, std::int64_t x, std::int64_t y) {
    const double most = bitmap.bitsPerComponent == 16 ? 65535 : 255;
    if (bitmap.colorSpace.model == ColorModel::gray) {
        return sampleAt(bitmap, x, y, 0) * 255 / most;
    }
    return (0.299 * sampleAt(bitmap, x, y, 0) + 0.587 * sampleAt(bitmap, x, y, 1) + 0.114 * sampleAt(bitmap, x, y, 2)) *
           255 / most;
}

double windowSimilarity(const Bitmap& a, const Bitmap& b, std::int64_t left, std::int64_t top) {
    double sumA = 0, sumB = 0, squareA = 0, squareB = 0, product = 0;
    for (std::int64_t y = top; y < top + 8; ++y) {
        for (std::int64_t x = left; x < left + 8; ++x) {
            const double p = luminanceAt(a, x, y);
            const double q = luminanceAt(b, x, y);
            sumA += p, sumB += q, squareA += p * p, squareB += q * q, product += p * q;
        }
    }
    constexpr double n = 64, c1 = 6.5025, c2 = 58.5225; // (0.01 L)^2 and (0.03 L)^2, L = 255
    const double meanA = sumA / n, meanB = sumB / n;
    const double varianceA = squareA / n - meanA * meanA, varianceB = squareB / n - meanB * meanB;
    const double covariance = product / n - meanA * meanB;
    return (2 * meanA * meanB + c1) * (2 * covariance + c2) /
           ((meanA * meanA + meanB * meanB + c1) * (varianceA + varianceB + c2));
}

} // namespace

int largestDifference(const Bitmap& a, const Bitmap& b) {
    if (a.width != b.width || a.height != b.height || a.channels() != b.channels() ||
        (a.bitsPerComponent == 16) != (b.bitsPerComponent == 16)) {
        return 65535;
    }
    int largest = 0;
    for (std::int64_t y = 0; y < a.height; ++y) {
        for (std::int64_t x = 0; x < a.width; ++x) {
            for (int channel = 0; channel < a.channels(); ++channel) {
                const auto p = static_cast<int>(sampleAt(a, x, y, channel));
                const auto q = static_cast<int>(sampleAt(b, x, y, channel));
                largest = std::max(largest, std::abs(p - q));
            }
        }
    }
    return largest;
}

double similarity(const Bitmap& a, const Bitmap& b) {
    if (a.width != b.width || a.height != b.height || a.width < 8 || a.height < 8) {
        return 0;
    }
    double sum = 0;
    std::int64_t count = 0;
    for (std::int64_t y = 0; y + 8 <= a.height; y += 4) {
        for (std::int64_t x = 0; x + 8 <= a.width; x += 4, ++count) {
            sum += windowSimilarity(a, b, x, y);
        }
    }
    return sum / static_cast<double>(count);
}

} // namespace orvex::test
