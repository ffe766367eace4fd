// Form fields that bring no appearance, in renderings.
#include "Platform/PDF/Renderer.h"
#include "Support/Command.h"
#include "Support/ImageFixture.h"
#include "Support/OpenDocument.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace orvex {
namespace {

using test::opened;
using test::pdfFromPages;

constexpr int width = 200;
constexpr int height = 60;
constexpr int scale = 2; // pixels per point

/// A page of 200 x 60 points with one field over most of it; `form` goes into the form, `objects` start at 8.
Bytes fieldFile(const std::string& field, const std::string& form = {}, const std::vector<std::string>& objects = {}) {
    std::vector<std::string> all{"<< /Type /Annot /Subtype /Widget /T (field) /Rect [10 10 190 50] /F 4 " + field +
                                 " >>"};
    all.insert(all.end(), objects.begin(), objects.end());
    return pdfFromPages({{"", "[0 0 200 60]", "/Annots [7 0 R]"}}, {},
                        "/AcroForm << /Fields [7 0 R] /DA (/Helv 20 Tf 0 g) " + form +
                            " /DR << /Font << /Helv 3 0 R /Cour << /Type /Font /Subtype /Type1 /BaseFont /Courier >> "
                            "/ZaDb << /Type /Font /Subtype /Type1 /BaseFont /ZapfDingbats >> >> >> >>",
                        all);
}

Bitmap ours(const Bytes& file) {
    auto picture = render(*opened(file)->page(0), {width * scale, height * scale});
    if (!picture) {
        ADD_FAILURE() << "not rendered";
        return Bitmap::make(1, 1, 8, {ColorModel::rgb, {}, 0});
    }
    return std::move(*picture);
}

/// What another program makes of the file, as a PPM file on its standard output.
Bitmap theirs(const std::string& command, const Bytes& file) {
    const test::TempFolder folder;
    test::writeFile(folder.path() / "in.pdf", file);
    return test::fromNetpbm(
        Bytes::copyOf(test::run(command + " " + test::quoted((folder.path() / "in.pdf").string())).output));
}
Bitmap popplers(const Bytes& file) {
    return theirs("pdftoppm -r 144", file);
}
Bitmap mupdfs(const Bytes& file) {
    return theirs("mutool draw -q -r 144 -F ppm -o -", file);
}

using Shade = std::array<int, 3>;
Shade shadeAt(const Bitmap& bitmap, double x, double y) {
    const auto* pixel = bitmap.row(static_cast<std::int64_t>((height - y) * scale)) +
                        static_cast<std::int64_t>(x * scale) * bitmap.channels();
    return {pixel[0], pixel[1], pixel[2]};
}

/// The smallest rectangle around what is dark, in points from the upper left corner.
Rect inkOf(const Bitmap& bitmap) {
    double left = width;
    double right = 0;
    double top = height;
    double bottom = 0;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        for (std::int64_t x = 0; x < bitmap.width; ++x) {
            if (bitmap.row(y)[x * bitmap.channels()] < 128) {
                left = std::min(left, static_cast<double>(x) / scale);
                right = std::max(right, static_cast<double>(x + 1) / scale);
                top = std::min(top, static_cast<double>(y) / scale);
                bottom = std::max(bottom, static_cast<double>(y + 1) / scale);
            }
        }
    }
    return right > left ? Rect{left, top, right - left, bottom - top} : Rect{};
}

struct Compared {
    const char* name;
    const char* field;
    double tolerance; ///< points
};

class ComparedFields : public testing::TestWithParam<Compared> {};

TEST_P(ComparedFields, ShowTheirValuesWherePopplerDoes) {
    const auto file = fieldFile(GetParam().field);
    const auto mine = inkOf(ours(file));
    const auto other = inkOf(popplers(file));
    ASSERT_GT(other.width, 0);
    EXPECT_NEAR(mine.x, other.x, GetParam().tolerance);
    EXPECT_NEAR(mine.maxX(), other.maxX(), GetParam().tolerance);
    EXPECT_NEAR(mine.y, other.y, GetParam().tolerance);
    EXPECT_NEAR(mine.maxY(), other.maxY(), GetParam().tolerance);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ComparedFields,
    testing::Values(
        Compared{"Text", "/FT /Tx /V (Ada)", 2}, Compared{"Centred", "/FT /Tx /Q 1 /V (Ada)", 2},
        Compared{"Right", "/FT /Tx /Q 2 /V (Ada)", 2}, Compared{"OwnSize", "/FT /Tx /V (Ada) /DA (/Cour 9 Tf 0 g)", 2},
        Compared{"Lines", "/FT /Tx /Ff 4096 /V (One two three four\\rfive) /DA (/Helv 9 Tf 0 g)", 4},
        Compared{"WrappedLines",
                 "/FT /Tx /Ff 4096 /V (One two three four five six seven eight nine ten) /DA (/Helv 9 Tf 0 g)", 4},
        Compared{"LinesToTheRight", "/FT /Tx /Ff 4096 /Q 2 /V (One\\rtwo three) /DA (/Helv 9 Tf 0 g)", 4},
        Compared{"Comb", "/FT /Tx /Ff 16777216 /MaxLen 6 /V (AB34)", 2},
        Compared{"Password", "/FT /Tx /Ff 8192 /V (secret)", 3},
        Compared{"Choice", "/FT /Ch /Ff 131072 /V (b) /Opt [[(a) (Alpha)] [(b) (Beta)]]", 2},
        Compared{"Tick", "/FT /Btn /V /Yes /AS /Yes /MK << /CA (4) >>", 4},
        Compared{"Disc", "/FT /Btn /Ff 32768 /V /Yes /AS /Yes /MK << /CA (l) >>", 4},
        Compared{"Caption", "/FT /Btn /Ff 65536 /MK << /CA (Push) >>", 2}),
    [](const auto& tested) { return tested.param.name; });

/// How far apart two pictures of the page are, as a part of what they could be.
double differenceOf(const Bitmap& one, const Bitmap& other) {
    double sum = 0;
    for (std::int64_t y = 0; y < height * scale; ++y) {
        for (std::int64_t x = 0; x < std::int64_t{width} * scale * 3; ++x) {
            const auto at = x / 3 * one.channels() + x % 3;
            sum += std::abs(one.row(y)[at] - other.row(y)[x / 3 * other.channels() + x % 3]);
        }
    }
    return sum / (255.0 * width * scale * height * scale * 3);
}

TEST(FieldAppearances, PlainAndDashedFramesLookAsInPoppler) {
    constexpr double tolerance = 0.002;
    for (const char* field : {"/FT /Tx /MK << /BC [1 0 0] /BG [0 1 0] >> /BS << /W 4 /S /S >>",
                              "/FT /Tx /MK << /BC [1 0 0] >> /BS << /W 4 /S /D /D [9 5] >>",
                              "/FT /Tx /MK << /BC [0 0 1] >> /Border [0 0 3 [6 2]]"}) {
        const auto file = fieldFile(field);
        const auto other = popplers(file);
        EXPECT_GT(differenceOf(other, popplers(fieldFile("/FT /Tx"))), 10 * tolerance) << field;
        EXPECT_LT(differenceOf(ours(file), other), tolerance) << field;
    }
}

TEST(FieldAppearances, ACombHasALineBetweenItsCells) {
    const auto comb = ours(fieldFile("/FT /Tx /Ff 16777216 /MaxLen 6 /MK << /BC [0] >> /BS << /W 2 >>"));
    for (int x = 40; x < 190; x += 30) {
        EXPECT_EQ(shadeAt(comb, x, 30), (Shade{0, 0, 0})) << x;
        EXPECT_EQ(shadeAt(comb, x - 15, 30), (Shade{255, 255, 255})) << x;
    }
}

TEST(FieldAppearances, RaisedAndSunkFieldsAreLitFromTheUpperLeft) {
    const std::string look = "/FT /Tx /MK << /BC [0] /BG [0.8] >> ";
    const auto raised = ours(fieldFile(look + "/BS << /W 4 /S /B >>"));
    const auto sunk = ours(fieldFile(look + "/BS << /W 4 /S /I >>"));
    for (const auto* picture : {&raised, &sunk}) {
        EXPECT_EQ(shadeAt(*picture, 12, 30), (Shade{0, 0, 0}));
        EXPECT_EQ(shadeAt(*picture, 100, 30), (Shade{204, 204, 204}));
    }
    for (const auto& [x, y] : {std::pair(16, 30), std::pair(100, 44)}) {
        EXPECT_EQ(shadeAt(raised, x, y), (Shade{255, 255, 255}));
        EXPECT_EQ(shadeAt(sunk, x, y), (Shade{128, 128, 128}));
    }
    for (const auto& [x, y] : {std::pair(184, 30), std::pair(100, 16)}) {
        EXPECT_EQ(shadeAt(raised, x, y), (Shade{128, 128, 128}));
        EXPECT_EQ(shadeAt(sunk, x, y), (Shade{191, 191, 191}));
    }
}

TEST(FieldAppearances, ARoundButtonIsARingAroundItsMiddle) {
    const auto round =
        ours(fieldFile("/FT /Btn /Ff 32768 /AS /Off /MK << /BC [1 0 0] /BG [1 1 0] /CA (l) >> /BS << /W 4 >>"));
    EXPECT_EQ(shadeAt(round, 100, 30), (Shade{255, 255, 0}));
    for (const auto& [x, y] : {std::pair(82, 30), std::pair(118, 30), std::pair(100, 12), std::pair(100, 48)}) {
        EXPECT_EQ(shadeAt(round, x, y), (Shade{255, 0, 0}));
    }
    EXPECT_EQ(shadeAt(round, 83, 47), (Shade{255, 255, 255})); // a corner of the square around it
}

/// Poppler shows none of the first and fills the box with the second, over its frame.
TEST(FieldAppearances, CharactersThatTheFormsFontLacksAndTextOfAnySizeShowAsInMuPDF) {
    for (const char* field : {"/FT /Tx /V <FEFF041F04400438043204350442>", "/FT /Tx /V (Ada) /DA (/Helv 0 Tf 0 g)"}) {
        const auto file = fieldFile(field);
        const auto mine = inkOf(ours(file));
        const auto other = inkOf(mupdfs(file));
        ASSERT_GT(other.width, 0) << field;
        EXPECT_NEAR(mine.x, other.x, 2) << field;
        EXPECT_NEAR(mine.width, other.width, 8) << field; // of 63
        EXPECT_NEAR(mine.midY(), other.midY(), 3) << field;
    }
}

TEST(FieldAppearances, FieldsThatAreOffOrSayNothingShowNothing) {
    for (const char* field : {"/FT /Tx", "/FT /Tx /V ()", "/FT /Btn /V /Off /AS /Off", "/FT /Btn /V /Yes /AS /Off",
                              "/FT /Btn /Ff 65536", "/FT /Sig /V << >>", "/V (of no kind)", "/FT /Tx /V 12"}) {
        EXPECT_EQ(inkOf(ours(fieldFile(field))).width, 0) << field;
    }
    for (const char* unseen : {"/F 1", "/F 2", "/F 32"}) { // invisible, hidden, not for viewing; the last /F counts
        EXPECT_EQ(inkOf(ours(fieldFile(std::string("/FT /Tx /V (Ada) ") + unseen))).width, 0) << unseen;
    }
}

/// Other readers look at /AS alone: the pictures are compared with those of buttons that state it.
TEST(FieldAppearances, AButtonThatStatesNoStateIsInThatOfItsValue) {
    const auto shown = [](const std::string& state, const std::string& above = {}) {
        const auto look = [](const std::string& operators) {
            return "<< /Type /XObject /Subtype /Form /BBox [0 0 180 40] /Length " + std::to_string(operators.size()) +
                   " >>\nstream\n" + operators + "\nendstream";
        };
        return inkOf(ours(fieldFile("/AP << /N << /A 8 0 R /Off 9 0 R >> >> /Parent 10 0 R " + state, {},
                                    {look("20 10 30 20 re f"), look("100 10 5 5 re f"),
                                     "<< /FT /Btn /Ff 32768 /Kids [7 0 R] " + above + " >>"})));
    };
    const auto on = shown("/AS /A");
    const auto off = shown("/AS /Off");
    ASSERT_NE(on.x, off.x);
    EXPECT_EQ(shown("/V /A"), on);
    EXPECT_EQ(shown("", "/V /A"), on);
    EXPECT_EQ(shown("/AS /A", "/V /B"), on);
    EXPECT_EQ(shown("/AS (A)", "/V /A"), on);
    EXPECT_EQ(shown("", "/V /B"), off);
    EXPECT_EQ(shown("", "/V (A)"), off);
    EXPECT_EQ(shown(""), off);
    EXPECT_EQ(shown("/AS /Off", "/V /A"), off);
}

TEST(FieldAppearances, FramesAndBackgroundsTakeTheirColoursAndWidths) {
    const auto picture = ours(fieldFile("/FT /Tx /MK << /BC [1 0 0] /BG [0 1 0] >> /BS << /W 4 >>"));
    EXPECT_EQ(shadeAt(picture, 12, 30), (Shade{255, 0, 0}));
    EXPECT_EQ(shadeAt(picture, 188, 30), (Shade{255, 0, 0}));
    EXPECT_EQ(shadeAt(picture, 100, 12), (Shade{255, 0, 0}));
    EXPECT_EQ(shadeAt(picture, 100, 30), (Shade{0, 255, 0}));
    EXPECT_EQ(shadeAt(picture, 5, 30), (Shade{255, 255, 255}));
    const auto underlined = ours(fieldFile("/FT /Tx /MK << /BC [0 0 1] >> /BS << /W 4 /S /U >>"));
    EXPECT_EQ(shadeAt(underlined, 100, 12), (Shade{0, 0, 255}));
    EXPECT_EQ(shadeAt(underlined, 12, 30), (Shade{255, 255, 255}));
    const auto round = ours(fieldFile("/FT /Btn /Ff 32768 /MK << /BG [1 1 0] >>"));
    EXPECT_EQ(shadeAt(round, 100, 30), (Shade{255, 255, 0}));
    EXPECT_EQ(shadeAt(round, 15, 45), (Shade{255, 255, 255}));
}

TEST(FieldAppearances, AListShowsItsOptionsFromTheFirstToBeSeenAndMarksTheChosen) {
    const std::string list = "/FT /Ch /DA (/Helv 10 Tf 0 g) /Opt [(one) (two) (three) (four)] ";
    const Shade bar{153, 193, 218};
    EXPECT_EQ(shadeAt(ours(fieldFile(list + "/V (one)")), 150, 44), bar);
    EXPECT_EQ(shadeAt(ours(fieldFile(list + "/V (three)")), 150, 44), (Shade{255, 255, 255}));
    EXPECT_EQ(shadeAt(ours(fieldFile(list + "/V [(three)] /TI 2")), 150, 44), bar);
    EXPECT_EQ(inkOf(ours(fieldFile(list + "/TI 99"))).width, 0);
}

TEST(FieldAppearances, ATurnedFieldsTextRunsUpwards) {
    const auto upright = inkOf(ours(fieldFile("/FT /Tx /V (Adam)")));
    const auto turned = inkOf(ours(fieldFile("/FT /Tx /V (Ada) /MK << /R 90 >>")));
    EXPECT_GT(upright.width, 2 * upright.height);
    EXPECT_GT(turned.height, 1.5 * turned.width);
}

/// All are shown as 200 x 60 points. The look is a wide box with a square in its lower left corner.
TEST(FieldAppearances, OnTurnedPagesStandWherePopplerPutsThem) {
    constexpr double tolerance = 0.003;
    struct Turned {
        const char* box;
        const char* rect;
        const char* flags;
        const char* matrix;
        int turn;
    };
    for (const auto& [box, rect, flags, matrix, turn] :
         {Turned{"[0 0 60 200]", "[20.5 60 40.75 110]", "/F 4", "", 90},
          Turned{"[0 0 60 200]", "[20 60 50 80]", "/F 20", "", 90},
          Turned{"[5 5 65 205]", "[20 60 50 80]", "/F 20", "/Matrix [0 .5 -.5 0 7 8]", 90},
          Turned{"[0 0 200 60]", "[60 20 100 40]", "/F 20", "", 180},
          Turned{"[0 0 60 200]", "[20 60 50 80]", "/F 20", "/Matrix [2 0 0 2 0 0]", 270}}) {
        const std::string field =
            std::string("<< /Type /Annot /Subtype /Widget /FT /Tx /T (field) /AP << /N 8 0 R >> ") + "/Rect " + rect +
            " " + flags + " >>";
        const auto look = test::streamBody("0.8 g 0 0 80 40 re f 0 g 0 0 20 20 re f", // its /Subtype left out
                                           std::string("/BBox [0 0 80 40] ") + matrix);
        const auto file = pdfFromPages({{"", box, "/Annots [7 0 R] /Rotate " + std::to_string(turn)}}, {},
                                       "/AcroForm << /Fields [7 0 R] >>", {field, look});
        const auto other = popplers(file);
        EXPECT_GT(inkOf(other).width, 0) << rect << flags << turn;
        EXPECT_LT(differenceOf(ours(file), other), tolerance) << rect << flags << turn;
    }
}

TEST(FieldAppearances, WhatAFieldLacksItsParentsSay) {
    const auto plain = inkOf(ours(fieldFile("/FT /Tx /Q 2 /V (Ada) /DA (/Helv 12 Tf 0 g)")));
    const auto inherited = inkOf(ours(fieldFile(
        "/Parent 8 0 R", {},
        {"<< /Parent 9 0 R /Q 2 /V (Ada) /Kids [7 0 R] >>", "<< /FT /Tx /DA (/Helv 12 Tf 0 g) /Kids [8 0 R] >>"})));
    EXPECT_GT(plain.width, 0);
    EXPECT_EQ(inherited, plain);
}

TEST(FieldAppearances, WhoAsksForNewOnesGetsThemInPicturesAndKeepsTheFileAsItWas) {
    const std::string look = test::streamBody("/Tx BMC EMC", "/Type /XObject /Subtype /Form /BBox [0 0 180 40]");
    const std::string field = "/FT /Tx /V (Ada) /AP << /N 8 0 R >>";
    EXPECT_EQ(inkOf(ours(fieldFile(field, {}, {look}))).width, 0);
    EXPECT_GT(inkOf(ours(fieldFile(field, "/NeedAppearances true", {look}))).width, 0);
    const auto document = opened(fieldFile("/FT /Tx /V (Ada)"));
    (void)render(*document->page(0), {width, height});
    const test::SavedDocument saved(*document);
    EXPECT_THAT(saved.show("pages/1/Annots/1"),
                testing::AllOf(testing::HasSubstr("Ada"), testing::Not(testing::HasSubstr("AP"))));
}

TEST(FieldAppearances, NonsenseInADefaultAppearanceLeavesTheUsualLook) {
    for (const char* nonsense :
         {"(/Nope 1e99 Tf ] >> q Q BT)", "()", "(Tf)", "(20 Tf g rg k)", "(/Helv -20 Tf 0 0 g)", "(/Helv nan Tf nan g)",
          "(/Helv 99999999999999999999999999 Tf 0 g)", "<00FF2F>", "42", "[/Helv 12 /Tf]", "(/ZaDb 0 Tf 0 g)"}) {
        const auto ink = inkOf(ours(fieldFile(std::string("/FT /Tx /V (Ada) /DA ") + nonsense)));
        EXPECT_GT(ink.width, 0) << nonsense;
        EXPECT_LE(ink.width, 181) << nonsense; // clipped to its box
    }
}

TEST(FieldAppearances, DamagedFieldsDoNotKeepAPageFromShowing) {
    const std::string value(100'000, 'x');
    for (const std::string field :
         {"/FT /Tx /V 7 0 R /Parent 7 0 R", "/Parent 8 0 R", "/FT /Tx /Ff 16777216 /MaxLen 9999999999 /V (a)",
          "/FT /Tx /Ff 16777216 /MaxLen -3 /V (a)", "/FT /Ch /Opt 7 0 R /V [7 0 R]", "/FT /Tx /V (a) /MK [1] /BS 3",
          "/FT /Tx /V (a) /MK << /BC [(x)] /R 45 >> /Border [0 0 -7 [0 0]]", "/FT /Btn /AS /Yes /MK << /CA (long) >>",
          "/FT /Tx /V (a) /Rect [0 0 0 0]", "/FT /Tx /V (a) /Rect [190 50 10 10]",
          "/FT /Tx /Ff 4096 /V (a) /Rect [1 1 2 2]"}) {
        (void)ours(fieldFile(field, {}, {"<< /FT /Tx /V (a) /Parent 7 0 R /Kids [7 0 R] >>"}));
    }
    EXPECT_GT(inkOf(ours(fieldFile("/FT /Tx /Ff 4096 /V (" + value + ")"))).width, 0);
    EXPECT_GT(inkOf(ours(fieldFile("/FT /Tx /DA (/Helv 0 Tf) /V (" + value + ")"))).width, 0);
}

TEST(FieldAppearances, OfTenThousandFieldsAllShow) {
    std::string fields;
    std::vector<std::string> objects;
    for (int i = 0; i < 10'000; ++i) {
        fields += std::to_string(7 + i) + " 0 R ";
        objects.push_back("<< /Type /Annot /Subtype /Widget /FT /Tx /T (f" + std::to_string(i) +
                          ") /V (Ada) /F 4 /MK << /BC [0] >> /Rect [" + std::to_string(i % 180) + " 10 190 50] >>");
    }
    const auto file = pdfFromPages({{"", "[0 0 200 60]", "/Annots [" + fields + "]"}}, {},
                                   "/AcroForm << /Fields [" + fields + "] >>", objects);
    const auto ink = inkOf(ours(file));
    EXPECT_LE(ink.x, 1);
    EXPECT_NEAR(ink.maxX(), 190, 1);
}

} // namespace
} // namespace orvex
