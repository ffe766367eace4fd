#include "OrvexPDF/Utils.h"

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images.h"
#include "Platform/Foundation/Strings.h"
#include "Support/ImageFixture.h"
#include "Support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string start = "Utils dumpImageInfo(image:quality:) info: ";

ImagePtr imageOf(Bitmap bitmap, Size points) {
    return Image::fromBitmap(std::make_shared<const Bitmap>(std::move(bitmap)), points);
}

std::vector<std::string> dumped(const ImagePtr& image, double quality, LogLevel level = LogLevel::info) {
    const LogRecorder log(moduleLogger(), level);
    dumpImageInfo(image, quality);
    return log.texts();
}

std::string sizeOf(const std::optional<Bytes>& data) {
    return formatByteCount(static_cast<std::int64_t>(data.value().size()));
}

} // namespace

TEST(ImageReport, anAbsentImageProducesNoLine) {
    EXPECT_THAT(dumped(nullptr, 0.5), IsEmpty());
}

TEST(ImageReport, anImageWithoutRepresentationsShowsZeroSizes) {
    EXPECT_THAT(dumped(std::make_shared<Image>(Size{10, 20.5}), 0.5),
                ElementsAre(start + "\n\nImage visual size=(10.0, 20.5)",
                            start + "  NSBitmap  PNG=Zero KB, JPG/0.5=Zero KB",
                            start + "  CoreImage PNG=Zero KB, JPG/0.5=Zero KB", start + "  CGImage   JPG/0.5=Zero KB",
                            start + "\n\n"));
}

TEST(ImageReport, everyRouteAndEveryRepresentationHasItsLine) {
    const ImagePtr image = imageOf(makePhoto(300, 300), {72, 72});
    image->addRepresentation(imageOf(makePhoto(50, 20), {25, 20})->representations().front());
    EXPECT_THAT(dumped(image, 0.75),
                ElementsAre(start + "\n\nImage visual size=(72.0, 72.0)",
                            start + "  NSBitmap  PNG=" + sizeOf(orvexDataForPNG(*image)) +
                                ", JPG/0.75=" + sizeOf(orvexDataForJPG(*image, 0.75)),
                            start + "  CoreImage PNG=" + sizeOf(orvexDataForPNGCoreImage(*image)) +
                                ", JPG/0.75=" + sizeOf(orvexDataForJPGCoreImage(*image, 0.75)),
                            start + "  CGImage   JPG/0.75=" + sizeOf(orvexDataForJPGCGImage(*image, 0.75)),
                            start + "  Representation visual size=(72.0, 72.0), pixels=(300, 300); dpi=300.0",
                            start + "  Representation visual size=(25.0, 20.0), pixels=(50, 20); dpi=144.0",
                            start + "\n\n"));
}

TEST(ImageReport, aLogAboveInfoRunsNoEncoder) {
    const LogRecorder log(moduleLogger(), LogLevel::notice);
    dumpImageInfo(imageOf(makePhoto(30, 30), {72, 72}), 2); // an encoder would warn of this quality
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ImageReport, theCheckedEncoderWarnsAmongTheLines) {
    EXPECT_EQ(dumped(imageOf(makePhoto(30, 30), {72, 72}), 2).size(), 7U);
}
