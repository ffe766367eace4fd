#include "Platform/Text/Font.h"

namespace orvex {

namespace {

/// Length of the line break that `text` starts with; 0 when it starts with something else.
std::size_t breakLength(std::string_view text) {
    const char first = text.front();
    if ((first < '\n' || first > '\r') && first != '\xC2' && first != '\xE2') {
        return 0;
    }
    for (const std::string_view lineBreak : {"\r\n", "\n", "\r", "\u2028", "\u2029", "\u0085", "\v", "\f"}) {
        if (text.starts_with(lineBreak)) {
            return lineBreak.size();
        }
    }
    return 0;
}

} // namespace

TextLines::Iterator& TextLines::Iterator::operator++() {
    onLine_ = rest_.has_value();
    if (!onLine_) {
        return *this;
    }
    const std::string_view text = *rest_;
    const auto mayBreak = [](char c) { return c < ' ' || c > '~'; }; // what is signed counts as below
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!mayBreak(text[at])) {
            continue;
        }
        if (const std::size_t length = breakLength(text.substr(at)); length > 0) {
            line_ = text.substr(0, at);
            rest_ = text.substr(at + length);
            return *this;
        }
    }
    line_ = text;
    rest_.reset();
    return *this;
}

} // namespace orvex
