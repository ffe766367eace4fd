// What is drawn, as operators, and as other people's tools read it.
#include "Platform/PDF/PDFDocument.h"
#include "Platform/PDF/RecordingContext.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>

namespace orvex {
namespace {

using testing::HasSubstr;

using Drawing = std::function<void(GraphicsContext&)>;

class DrawnPage : public PDFPage {
public:
    explicit DrawnPage(Drawing drawing) : drawing_(std::move(drawing)) {}
    void draw(PDFDisplayBox box, GraphicsContext& context) override {
        PDFPage::draw(box, context);
        drawing_(context);
    }

private:
    Drawing drawing_;
};

test::SavedDocument saved(const Drawing& drawing) {
    PDFDocument document;
    document.insertPage(std::make_shared<DrawnPage>(drawing), 0);
    return test::SavedDocument(document);
}

void drawUnseen(GraphicsContext& context, const AffineTransform& place, std::string_view text) {
    const ScopedState state(context);
    context.concatenate(place);
    context.drawText(text, Font::require("Helvetica"), 10, {0, 0, 0, 10}, TextMode::invisible);
}

void drawSeen(GraphicsContext& context, double x, std::string_view text) {
    context.drawText(text, Font::require("Helvetica"), 10, {x, 700, 0, 10}, TextMode::visible);
}

TEST(ContentStream, UnseenLinesFollowEachOtherInOneTextObject) {
    const auto document = saved([](GraphicsContext& context) {
        drawUnseen(context, {0.5, 0, 0, 1, 100, 700}, "a");
        drawUnseen(context, {0.5, 0, 0, 1, 130.25, 700}, "a");
        drawUnseen(context, {1.23456789, 0, 0, 1, 100, 680}, "a");
    });
    const std::string shown("(\0\1\0\2) Tj\n", 10);
    EXPECT_THAT(document.tool("sh -c 'qpdf --stream-data=uncompress \"$0\" -'"),
                HasSubstr("BT\n/OrvexText 10 Tf\n3 Tr\n50 Tz 100 702.2998 Td\n" + shown + "30.25 0 Td\n" + shown +
                          "123.4568 Tz -30.25 -20 Td\n" + shown + "ET\n"));
}

TEST(ContentStream, PlacesDoNotDriftFromLineToLine) {
    constexpr int count = 3000;
    const auto document = saved([](GraphicsContext& context) {
        for (int i = 0; i < count; ++i) {
            drawUnseen(context, {1, 0, 0, 1, 50 + i / 7.0, 700 - i / 6.0}, i + 1 < count ? "x" : "last");
        }
    });
    EXPECT_THAT(document.boxes(), HasSubstr(R"(<word xMin="478.428600" yMin="581.8335)"));
}

TEST(ContentStream, TextThatShowsIsNotStretchedLikeTheUnseenTextBeforeIt) {
    const auto alone = saved([](GraphicsContext& context) { drawSeen(context, 50, "shown"); });
    const auto behind = saved([](GraphicsContext& context) {
        drawUnseen(context, {3, 0, 0, 1, 50, 600}, "unseen");
        drawSeen(context, 50, "shown");
        drawUnseen(context, {3, 0, 0, 1, 50, 500}, "again");
    });
    const auto boxOf = [](const test::SavedDocument& document, const std::string& word) {
        const auto boxes = document.boxes();
        const auto end = boxes.find(">" + word + "<");
        EXPECT_NE(end, std::string::npos) << boxes;
        const auto start = boxes.rfind("<word", end);
        return boxes.substr(start, end - start);
    };
    EXPECT_EQ(boxOf(behind, "shown"), boxOf(alone, "shown"));
    EXPECT_EQ(behind.picture(1), alone.picture(1));
    EXPECT_THAT(boxOf(behind, "unseen"), HasSubstr(R"(xMax="148.4)"));
    EXPECT_THAT(boxOf(behind, "again"), HasSubstr(R"(xMax="123.38)"));
}

TEST(ContentStream, TurnedLinesStandBetweenUprightOnes) {
    const auto document = saved([](GraphicsContext& context) {
        drawUnseen(context, {2, 0, 0, 1, 50, 700}, "first");
        drawUnseen(context, {0, 2, -1, 0, 300, 300}, "turned");
        drawUnseen(context, {1, 0, 0, 1, 50, 600}, "last");
    });
    const auto boxes = document.boxes();
    EXPECT_THAT(boxes, HasSubstr(R"(<word xMin="50.000000" yMin="82.)"));
    EXPECT_THAT(boxes, HasSubstr(">turned<"));
    EXPECT_THAT(boxes, HasSubstr(R"(<word xMin="50.000000" yMin="182.)"));
}

TEST(ContentStream, RestoringMoreThanWasSavedIsAnError) {
    const auto write = [](const Drawing& drawing) {
        PDFDocument document;
        document.insertPage(std::make_shared<DrawnPage>(drawing), 0);
        ByteCollector out;
        document.write(out);
    };
    const Drawing tooOften = [](GraphicsContext& context) {
        context.saveState();
        context.restoreState();
        context.restoreState();
    };
    const Drawing insideAScope = [](GraphicsContext& context) {
        const ScopedState state(context);
        context.restoreState();
    };
    for (const auto& drawing : {tooOften, insideAScope}) {
        EXPECT_THROW(write(drawing), PDFWriteError);
        RecordingContext recording;
        EXPECT_THROW(drawing(recording), PDFWriteError);
    }
}

/// A target that runs out of memory when it restores.
class FullContext final : public GraphicsContext {
public:
    void saveState() override {}
    void restoreState() override { throw std::bad_alloc(); }
    void concatenate(const AffineTransform& /*transform*/) override {}
    void setFillColor(const Color& /*color*/) override {}
    void setStrokeColor(const Color& /*color*/) override {}
    void fillRect(const Rect& /*rect*/) override { throw std::length_error("drawing"); }
    void fillAndStrokeRoundedRect(const Rect& /*rect*/, double /*radiusX*/, double /*radiusY*/) override {}
    void drawPageContent(const PDFPage& /*page*/, PDFDisplayBox /*box*/) override {}
    void drawText(std::string_view /*utf8*/, const std::shared_ptr<const Font>& /*font*/, double /*size*/,
                  const Rect& /*rect*/, TextMode /*mode*/) override {}
};

TEST(ScopedState, LetsOutWhatRestoringThrowsUnlessDrawingDidBefore) {
    FullContext context;
    EXPECT_THROW(ScopedState{context}, std::bad_alloc);
    const auto draw = [&] {
        const ScopedState outer(context);
        const ScopedState inner(context);
        context.fillRect({});
    };
    EXPECT_THROW(draw(), std::length_error);
}

} // namespace
} // namespace orvex
