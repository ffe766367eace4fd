#include "Platform/PDF/Objects/PDFColorSpace.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvex {
namespace {

using Family = PDFColorSpace::Family;

PDFColorSpacePtr rgb() {
    return PDFColorSpace::device(ColorModel::rgb);
}

TEST(PDFColorSpace, AnIndexedSpaceCopiesItsTable) {
    const auto space = PDFColorSpace::indexed(rgb(), 2, Bytes::copyOf("abcdefg")); // two colours and a third of one
    ASSERT_TRUE(space);
    EXPECT_EQ(space->components(), 1);
    EXPECT_EQ(space->pixels().model, ColorModel::rgb);
    ASSERT_EQ(space->colors().size(), 3U);
    EXPECT_EQ(space->colors()[1], (std::array<std::uint8_t, 4>{'d', 'e', 'f', 0}));
    EXPECT_EQ(space->colors()[2], (std::array<std::uint8_t, 4>{'g', 0, 0, 0}));
    EXPECT_EQ(PDFColorSpace::indexed(rgb(), 0, Bytes::copyOf("abcdef"))->colors().size(), 1U);
}

TEST(PDFColorSpace, AnIndexedSpaceNeedsABaseAndAnIndexOfAByte) {
    const Bytes table = Bytes::copyOf("abc");
    EXPECT_FALSE(PDFColorSpace::indexed(nullptr, 0, table));
    EXPECT_FALSE(PDFColorSpace::indexed(rgb(), -1, table));
    EXPECT_FALSE(PDFColorSpace::indexed(rgb(), 256, table));
    EXPECT_TRUE(PDFColorSpace::indexed(rgb(), 255, table));
    EXPECT_FALSE(PDFColorSpace::indexed(PDFColorSpace::indexed(rgb(), 0, table), 0, table));
}

TEST(PDFColorSpace, AProfileThatIsRefusedGivesTheAlternate) {
    const Bytes junk = Bytes::copyOf("no profile");
    EXPECT_EQ(PDFColorSpace::icc(4, junk, nullptr)->pixels().model, ColorModel::cmyk);
    EXPECT_EQ(PDFColorSpace::icc(1, junk, nullptr)->pixels().model, ColorModel::gray);
    EXPECT_FALSE(PDFColorSpace::icc(2, junk, nullptr));
    const auto lab = PDFColorSpace::lab({1, 1, 1}, {}, {});
    EXPECT_EQ(PDFColorSpace::icc(3, junk, lab), lab);
    EXPECT_FALSE(PDFColorSpace::icc(4, junk, lab));
}

TEST(PDFColorSpace, LabNeedsWholePoints) {
    using Numbers = std::vector<double>;
    EXPECT_TRUE(PDFColorSpace::lab({0.95, 1, 1.09}, Numbers{0, 0, 0}, Numbers{-128, 127, -128, 127}));
    EXPECT_FALSE(PDFColorSpace::lab({0.95, 1}, {}, {}));
    EXPECT_FALSE(PDFColorSpace::lab({0.95, 0, 1}, {}, {}));
    EXPECT_FALSE(PDFColorSpace::lab({0.95, 1, 1.09}, Numbers{0}, {}));
    EXPECT_FALSE(PDFColorSpace::lab({0.95, 1, 1.09}, {}, Numbers{-1, 1, -1}));
    EXPECT_FALSE(PDFColorSpace::lab({0.95, std::nan(""), 1.09}, {}, {}));
}

TEST(PDFColorSpace, SamplesSpanTheRangeOfTheirComponent) {
    const auto lab = PDFColorSpace::lab({1, 1, 1}, {}, std::vector<double>{-50, 60, -70, 80});
    EXPECT_EQ(lab->range(0, 8).high, 100);
    EXPECT_EQ(lab->range(1, 8).low, -50);
    EXPECT_EQ(lab->range(2, 8).high, 80);
    EXPECT_EQ(PDFColorSpace::lab({1, 1, 1}, {}, {})->range(2, 8).low, -100);
    EXPECT_EQ(PDFColorSpace::indexed(rgb(), 3, Bytes())->range(0, 4).high, 15);
    EXPECT_EQ(rgb()->range(2, 4).high, 1);
}

/// Values of the colour's own definition: CIE L*a*b* of sRGB's corners under D50 (Bradford), two decimals.
TEST(LabToSRGB, GivesTheColorsThatLabDescribes) {
    struct Case {
        std::array<double, 3> lab;
        std::array<double, 3> rgb;
    };
    const Case cases[] = {{{100, 0, 0}, {255, 255, 255}},        {{0, 0, 0}, {0, 0, 0}},
                          {{53.59, 0, 0}, {128, 128, 128}},      {{54.29, 80.81, 69.89}, {255, 0, 0}},
                          {{87.82, -79.29, 80.99}, {0, 255, 0}}, {{29.57, 68.30, -112.03}, {0, 0, 255}}};
    for (const Case& c : cases) {
        const auto rgb = labToSRGB(c.lab[0], c.lab[1], c.lab[2]);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(rgb[i] * 255, c.rgb[i], 1.0) << c.lab[0];
        }
    }
    for (const double part : labToSRGB(100, 500, -500)) {
        EXPECT_GE(part, 0);
        EXPECT_LE(part, 1);
    }
}

} // namespace
} // namespace orvex
