// The streams that hold what pages draw, for one document that is being put together.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orvex {

/// Compressing takes as long as drawing does: streams wait until there are enough for all cores.
class ContentStreams {
public:
    explicit ContentStreams(QPDF& target) : target_(target) {}
    /// A stream of these operators; it may be empty until pack() was called. Short ones are the same on many pages, and
    /// are shared.
    QPDFObjectHandle stream(std::string operators);
    /// Compresses what waits.
    void pack();

private:
    QPDF& target_;
    std::map<std::string, QPDFObjectHandle> shared_;
    std::vector<std::pair<QPDFObjectHandle, std::string>> waiting_;
    std::size_t waitingBytes_ = 0;
};

} // namespace orvex
