#include "Platform/Foundation/Strings.h"
#include "Platform/Foundation/Log.h"

#include <array>
#include <charconv>
#include <cmath>
#include <unistd.h>

namespace orvex {

namespace {

constexpr std::string_view upperHex = "0123456789ABCDEF";

void appendHexByte(std::string& text, unsigned byte) {
    text += upperHex[byte >> 4U];
    text += upperHex[byte & 15U];
}

struct ByteUnit {
    std::string_view name;
    std::uint64_t size;
    std::uint64_t steps; ///< per unit: 1, 10 or 100, for 0, 1 or 2 decimals
};

constexpr std::array<ByteUnit, 6> byteUnits = {{{"KB", 1'000, 1},
                                                {"MB", 1'000'000, 10},
                                                {"GB", 1'000'000'000, 100},
                                                {"TB", 1'000'000'000'000, 100},
                                                {"PB", 1'000'000'000'000'000, 100},
                                                {"EB", 1'000'000'000'000'000'000, 100}}};

/// Half to even, as number formatters round.
std::uint64_t roundToStep(std::uint64_t bytes, const ByteUnit& unit) {
    const std::uint64_t step = unit.size / unit.steps;
    const std::uint64_t whole = bytes / step;
    const std::uint64_t rest = bytes % step;
    const bool up = rest * 2 > step || (rest * 2 == step && whole % 2 == 1);
    return whole + (up ? 1 : 0);
}

std::string writeSteps(std::uint64_t count, const ByteUnit& unit) {
    std::string text = std::to_string(count / unit.steps);
    std::uint64_t fraction = count % unit.steps;
    for (std::uint64_t place = unit.steps / 10; fraction > 0; place /= 10) {
        text += text.find('.') == std::string::npos ? "." : "";
        text += static_cast<char>('0' + fraction / place);
        fraction %= place;
    }
    return text.append(" ").append(unit.name);
}

/// The unit moves up where rounding would reach 1000 of it.
std::string formatLargeCount(std::uint64_t bytes) {
    for (const ByteUnit& unit : byteUnits) {
        const std::uint64_t count = roundToStep(bytes, unit);
        if (count < 1000 * unit.steps || &unit == &byteUnits.back()) {
            return writeSteps(count, unit);
        }
    }
    return {};
}

void appendFinite(std::string& text, double value) {
    constexpr double largestPlain = 9007199254740992.0; // 2^53
    const double magnitude = std::fabs(value);
    const bool plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude <= largestPlain);
    std::array<char, 32> buffer{};
    const auto form = plain ? std::chars_format::fixed : std::chars_format::scientific;
    const auto* end = std::to_chars(buffer.begin(), buffer.end(), value, form).ptr;
    const std::string_view written(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
    text += written;
    if (plain && written.find('.') == std::string_view::npos) {
        text += ".0";
    }
}

void appendEscaped(std::string& text, char c) {
    switch (c) {
    case '"':
    case '\\':
        (text += '\\') += c;
        return;
    case '\n':
        text += "\\n";
        return;
    case '\r':
        text += "\\r";
        return;
    case '\t':
        text += "\\t";
        return;
    case '\0':
        text += "\\0";
        return;
    default:
        break;
    }
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
        text += c;
        return;
    }
    text += "\\u{";
    appendHexByte(text, byte);
    text += '}';
}

bool staysInURL(char c) {
    constexpr std::string_view marks = "-._~!$&'()*+,;=:@/";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           marks.find(c) != std::string_view::npos;
}

} // namespace

std::string makeUUID() {
    std::array<unsigned char, 16> random{};
    if (::getentropy(random.data(), random.size()) != 0) {
        fatalError("the system gives no random numbers for an identifier");
    }
    random[6] = static_cast<unsigned char>((random[6] & 0x0FU) | 0x40U);
    random[8] = static_cast<unsigned char>((random[8] & 0x3FU) | 0x80U);
    std::string text(36, '-');
    auto to = text.begin();
    for (std::size_t i = 0; i < random.size(); ++i) {
        to += i == 4 || i == 6 || i == 8 || i == 10 ? 1 : 0;
        *to++ = upperHex[random[i] >> 4U];
        *to++ = upperHex[random[i] & 15U];
    }
    return text;
}

std::string formatByteCount(std::int64_t bytes) {
    if (bytes == 0) {
        return "Zero KB";
    }
    const std::uint64_t magnitude =
        bytes < 0 ? 0 - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    const std::string sign = bytes < 0 ? "-" : "";
    if (magnitude < 1000) {
        return sign + std::to_string(magnitude) + (magnitude == 1 ? " byte" : " bytes");
    }
    return sign + formatLargeCount(magnitude);
}

void appendDescription(std::string& text, double value) {
    if (std::isnan(value)) {
        text += "nan";
    } else if (std::isinf(value)) {
        text += value < 0 ? "-inf" : "inf";
    } else {
        appendFinite(text, value);
    }
}

std::string describe(double value) {
    std::string text;
    appendDescription(text, value);
    return text;
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        appendEscaped(result, c);
    }
    return result;
}

std::string inQuotes(std::string_view text) {
    return '"' + escaped(text) + '"';
}

std::string describe(const std::optional<std::string>& value) {
    return value ? "Optional(" + inQuotes(*value) + ")" : "nil";
}

std::string fileURL(const std::filesystem::path& path) {
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error).lexically_normal().string();
    if (std::filesystem::is_directory(path, error) && !absolute.ends_with('/')) {
        absolute += '/';
    }
    std::string url = "file://";
    for (const char c : absolute) {
        if (staysInURL(c)) {
            url += c;
        } else {
            url += '%';
            appendHexByte(url, static_cast<unsigned char>(c));
        }
    }
    return url;
}

} // namespace orvex
