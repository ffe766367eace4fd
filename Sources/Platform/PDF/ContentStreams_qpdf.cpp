#include "Platform/PDF/ContentStreams_p.h"

#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/Workers.h"
#include "Platform/Imaging/Deflate.h"

#include <qpdf/QPDF.hh>

#include <algorithm>

namespace orvex {

QPDFObjectHandle ContentStreams::stream(std::string operators) {
    constexpr std::size_t shortEnough = 128;
    if (operators.size() <= shortEnough) {
        auto& object = shared_[operators];
        if (!object.isInitialized()) {
            object = QPDFObjectHandle::newStream(&target_, operators);
            object.setFilterOnWrite(false);
        }
        return object;
    }
    auto object = QPDFObjectHandle::newStream(&target_, std::string());
    object.setFilterOnWrite(false);
    waitingBytes_ += operators.size();
    waiting_.emplace_back(object, std::move(operators));
    if (constexpr std::size_t enough = 4'000'000; waitingBytes_ > enough) {
        pack();
    }
    return object;
}

void ContentStreams::pack() {
    constexpr int level = 1; // of a text layer 3 takes half as long again for 15 % less, beside which a scan is large
    const std::size_t together = std::clamp<std::size_t>(waiting_.size() / 16, 1, 8);
    forEachInParallel((waiting_.size() + together - 1) / together, [&](std::size_t piece) {
        Deflater deflater(level);
        const std::size_t end = std::min((piece + 1) * together, waiting_.size());
        for (std::size_t i = piece * together; i < end; ++i) {
            waiting_[i].second = deflater.deflate(waiting_[i].second);
        }
    });
    for (auto& [object, packed] : waiting_) {
        object.replaceStreamData(packed, QPDFObjectHandle::newName("/FlateDecode"), QPDFObjectHandle::newNull());
    }
    waiting_.clear();
    waitingBytes_ = 0;
}

} // namespace orvex
