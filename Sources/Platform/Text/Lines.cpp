#include "Platform/Text/Font.h"

namespace orvex {

namespace {

/// Length of the line break that `text` starts with; 0 when it starts with something else.
std::size_t breakLength(std::string_view text) {
    if (constexpr std::string_view starts = "\n\v\f\r\xC2\xE2"; starts.find(text.front()) == std::string_view::npos) {
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

std::vector<std::string_view> textLines(std::string_view utf8) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    std::size_t at = 0;
    while (at < utf8.size()) {
        if (const std::size_t length = breakLength(utf8.substr(at)); length > 0) {
            lines.push_back(utf8.substr(start, at - start));
            at += length;
            start = at;
        } else {
            ++at;
        }
    }
    lines.push_back(utf8.substr(start));
    return lines;
}

} // namespace orvex
