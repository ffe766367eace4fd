#include "Platform/Imaging/Image.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/Imaging/Codecs.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace orvex {
namespace {

/// The order of the operations is part of the contract: 630 pixels at 350 dpi are 129.59999999999999 points.
Size pointSize(const ImageInfo& info) {
    return {static_cast<double>(info.width) * (72 / info.dpiX), static_cast<double>(info.height) * (72 / info.dpiY)};
}

ImageInfo describeBitmap(const Bitmap& bitmap) {
    ImageInfo info;
    info.width = bitmap.width;
    info.height = bitmap.height;
    info.bitsPerComponent = bitmap.bitsPerComponent;
    info.colorSpace = bitmap.colorSpace;
    info.alpha = bitmap.alpha;
    return info;
}

Bitmap unmirrored(Bitmap&& bitmap, const ImageInfo& info) {
    if (!info.mirroredHorizontally() && !info.mirroredVertically()) {
        return std::move(bitmap);
    }
    return mirrored(bitmap, info.mirroredHorizontally(), info.mirroredVertically());
}

std::string describeSize(Size size) {
    return "Size={" + describe(size.width) + ", " + describe(size.height) + "}";
}

std::shared_ptr<Image> imageOf(std::vector<ImageRepPtr> reps) {
    auto image = std::make_shared<Image>(reps.front()->size());
    for (ImageRepPtr& rep : reps) {
        image->addRepresentation(std::move(rep));
    }
    return image;
}

} // namespace

ImageRep::ImageRep(BitmapPtr bitmap)
    : info_(describeBitmap(*bitmap)), size_(pointSize(info_)), bitmap_(std::move(bitmap)) {}

ImageRep::ImageRep(Bytes encoded, ImageInfo info)
    : encoded_(std::move(encoded)), info_(std::move(info)), size_(pointSize(info_)) {}

BitmapPtr ImageRep::bitmap() const {
    const std::lock_guard lock(mutex_);
    if (!bitmap_) {
        bitmap_ = std::make_shared<const Bitmap>(unmirrored(decodeImage(encoded_, info_), info_));
    }
    return bitmap_;
}

BitmapPtr ImageRep::passingBitmap() const {
    {
        const std::lock_guard lock(mutex_);
        if (bitmap_) {
            return bitmap_;
        }
    }
    // Decoding outside the lock: the result is not kept, so several threads may each make their own.
    return std::make_shared<const Bitmap>(unmirrored(decodeImage(encoded_, info_), info_));
}

std::shared_ptr<Image> Image::fromData(const Bytes& data) {
    std::vector<ImageRepPtr> reps;
    for (ImageInfo& info : readImageInfo(data)) {
        reps.push_back(std::make_shared<ImageRep>(data, std::move(info)));
    }
    return imageOf(std::move(reps));
}

std::shared_ptr<Image> Image::fromBitmap(BitmapPtr bitmap, Size points) {
    auto rep = std::make_shared<ImageRep>(std::move(bitmap));
    if (points != Size{}) {
        rep->setSize(points);
    }
    return imageOf({std::move(rep)});
}

std::vector<std::shared_ptr<Image>> Image::pagesFromData(const Bytes& data) {
    std::vector<std::shared_ptr<Image>> pages;
    for (ImageInfo& info : readImageInfo(data)) {
        pages.push_back(imageOf({std::make_shared<ImageRep>(data, std::move(info))}));
    }
    return pages;
}

void Image::addRepresentation(ImageRepPtr rep) {
    reps_.push_back(std::move(rep));
}

ImageRepPtr Image::bestRepresentation() const {
    const auto pixels = [](const ImageRepPtr& rep) { return rep->pixelsWide() * rep->pixelsHigh(); };
    const auto best = std::max_element(
        reps_.begin(), reps_.end(), [&](const ImageRepPtr& a, const ImageRepPtr& b) { return pixels(a) < pixels(b); });
    return best == reps_.end() ? nullptr : *best;
}

double Image::dpi() const {
    if (reps_.empty()) {
        return 72.0;
    }
    return static_cast<double>(reps_.front()->pixelsWide()) * 72.0 / reps_.front()->size().width;
}

int Image::orientationDegrees() const {
    // Mirrored orientations count with their mirroring undone (see ImageInfo).
    static constexpr int degrees[] = {0, 0, 0, 180, 0, 270, 90, 90, 270};
    return reps_.empty() ? 0 : degrees[reps_.front()->info().orientation];
}

std::string Image::description() const {
    char address[2 + 2 * sizeof(void*) + 1];
    std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
    std::string text = "<NSImage " + std::string(address) + " " + describeSize(size_) + " Reps=(";
    for (const ImageRepPtr& rep : reps_) {
        text += (rep == reps_.front() ? "" : ", ") + describeSize(rep->size()) +
                " Pixels=" + std::to_string(rep->pixelsWide()) + "x" + std::to_string(rep->pixelsHigh());
    }
    return text + ")>";
}

} // namespace orvex
