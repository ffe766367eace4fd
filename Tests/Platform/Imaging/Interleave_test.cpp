#include "Platform/Imaging/Interleave_p.h"

#include <array>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

using namespace orvex;

TEST(Interleave, planesHoldEveryThirdSampleAndComeBackTogether) {
    for (std::size_t count = 0; count < 70; ++count) {
        std::vector<std::uint8_t> pixels(3 * count);
        std::iota(pixels.begin(), pixels.end(), std::uint8_t{7});
        std::array<std::vector<std::uint8_t>, 3> planes;
        planes.fill(std::vector<std::uint8_t>(count));
        deinterleave(pixels.data(), count, planes[0].data(), planes[1].data(), planes[2].data());
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            ASSERT_EQ(planes[i % 3][i / 3], pixels[i]) << count << ": " << i;
        }
        std::vector<std::uint8_t> back(pixels.size());
        interleave(planes[0].data(), planes[1].data(), planes[2].data(), count, back.data());
        EXPECT_EQ(back, pixels) << count;
    }
}
