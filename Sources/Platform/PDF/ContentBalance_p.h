// What a page's content leaves open when it ends, so that what is appended starts from a clean state.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <string>

namespace orvex {

struct ContentBalance {
    int missingSaves = 0; ///< restores beyond what was saved
    int openSaves = 0;    ///< saves never restored
    int openMarkedContent = 0;
    bool openText = false;

    /// Operators that go ahead of the content, and behind it, to make it whole.
    [[nodiscard]] std::string opening() const;
    [[nodiscard]] std::string closing() const;
};

/// Content that cannot be parsed counts as balanced as far as it was read.
[[nodiscard]] ContentBalance measureBalance(QPDFObjectHandle page);

} // namespace orvex
