#include "Platform/Imaging/Tiff_p.h"

#include <algorithm>
#include <cstring>

namespace orvex::tiff {

Bytes Profiles::kept(std::span<const std::uint8_t> profile) {
    const auto known =
        std::ranges::find_if(known_, [&](const Bytes& one) { return std::ranges::equal(one.span(), profile); });
    if (known != known_.end()) {
        return *known;
    }
    if (profile.size() > room_) {
        throw ImageError("damaged TIFF data (colour profiles that overlap)");
    }
    room_ -= profile.size();
    return known_.emplace_back(Bytes::copyOf(profile));
}

std::size_t RowConverter::planes() const {
    return layout_.separate && !layout_.indexed
               ? std::min(layout_.samples, static_cast<std::size_t>(bitmap_.channels()))
               : 1;
}

void RowConverter::put(const std::uint8_t* source, std::int64_t x, std::int64_t y, std::int64_t count,
                       std::size_t plane) {
    std::uint8_t* row = bitmap_.row(y);
    if (bitmap_.bitsPerComponent == 1) {
        putBits(source, row + x / 8, count);
    } else if (layout_.indexed) {
        putIndexed(source, row + 3 * x, count);
    } else if (layout_.bits == 16) {
        putSamples<std::uint16_t>(source, row, x, count, plane);
    } else {
        putSamples<std::uint8_t>(source, row, x, count, plane);
    }
}

void RowConverter::putBits(const std::uint8_t* source, std::uint8_t* target, std::int64_t count) const {
    std::transform(source, source + (count + 7) / 8, target,
                   [this](std::uint8_t bits) { return static_cast<std::uint8_t>(layout_.whiteIsZero ? ~bits : bits); });
}

std::uint32_t RowConverter::smallSample(const std::uint8_t* source, std::size_t index) const {
    const std::size_t bit = index * static_cast<std::size_t>(layout_.bits);
    const int shift = 8 - layout_.bits - static_cast<int>(bit & 7);
    return static_cast<std::uint32_t>(source[bit >> 3] >> shift) & ((1u << layout_.bits) - 1);
}

void RowConverter::putIndexed(const std::uint8_t* source, std::uint8_t* target, std::int64_t count) const {
    const std::size_t step = layout_.separate ? 1 : layout_.samples;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        target = std::copy_n(layout_.palette[smallSample(source, i * step)].begin(), 3, target);
    }
}

template <class Sample>
void RowConverter::putSamples(const std::uint8_t* source, std::uint8_t* row, std::int64_t x, std::int64_t count,
                              std::size_t plane) const {
    const auto channels = static_cast<std::size_t>(bitmap_.channels());
    const std::size_t first = layout_.separate ? plane : 0;
    const std::size_t last = layout_.separate ? plane + 1 : channels;
    const std::size_t step = layout_.separate ? 1 : layout_.samples;
    for (std::size_t channel = first; channel < last; ++channel) {
        const bool flip = layout_.whiteIsZero && channel == 0;
        std::uint8_t* target = row + (static_cast<std::size_t>(x) * channels + channel) * sizeof(Sample);
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i, target += channels * sizeof(Sample)) {
            Sample sample = read<Sample>(source, i * step + (channel - first));
            sample = static_cast<Sample>(flip ? ~sample : sample);
            std::memcpy(target, &sample, sizeof sample);
        }
    }
}

template <class Sample> Sample RowConverter::read(const std::uint8_t* source, std::size_t index) const {
    if (layout_.bits < 8) {
        return static_cast<Sample>(smallSample(source, index) * 255 / ((1u << layout_.bits) - 1));
    }
    Sample sample;
    std::memcpy(&sample, source + index * sizeof sample, sizeof sample);
    return sample;
}

} // namespace orvex::tiff
