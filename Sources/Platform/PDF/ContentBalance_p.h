// What a page's content leaves open when it ends, so that what is appended starts from a clean state.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <string>
#include <string_view>

namespace orvex {

struct ContentBalance {
    int missingSaves = 0; ///< restores beyond what was saved
    int openSaves = 0;    ///< saves never restored
    int openMarkedContent = 0;
    bool openText = false;
    /// It ends inside a string, an array's hexadecimal digits or an inline image: nothing can be put behind it.
    bool unterminated = false;

    /// Operators that go ahead of the content, and behind it, to make it whole.
    [[nodiscard]] std::string opening() const;
    [[nodiscard]] std::string closing() const;
};

/// A page's content, decoded; damaged streams give what can be decoded of them. Throws PDFWriteError for what is longer
/// than a page can be.
[[nodiscard]] std::string joinedContent(QPDFObjectHandle page);
/// `content` is a page's content, decoded and joined.
[[nodiscard]] ContentBalance measureBalance(std::string_view content);

} // namespace orvex
