#include "Platform/Foundation/JSON_p.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace orvex {

namespace {

bool hasNonZeroDigit(std::string_view literal) {
    const auto mantissa = literal.substr(0, literal.find_first_of("eE"));
    return mantissa.find_first_of("123456789") != std::string_view::npos;
}

/// A number's digits as one integer and a power of ten; the form is right already.
struct Decimal {
    std::string digits;
    std::int64_t exponent = 0;
};

Decimal splitDecimal(std::string_view magnitude) {
    const std::size_t mark = std::min(magnitude.find_first_of("eE"), magnitude.size());
    Decimal decimal;
    if (mark < magnitude.size()) {
        const std::size_t sign = magnitude[mark + 1] == '+' ? 1 : 0;
        const auto* end = magnitude.data() + magnitude.size();
        const auto read = std::from_chars(magnitude.data() + mark + 1 + sign, end, decimal.exponent);
        constexpr std::int64_t farOut = std::numeric_limits<std::int32_t>::max();
        decimal.exponent = read.ec == std::errc()       ? std::clamp(decimal.exponent, -farOut, farOut)
                           : magnitude[mark + 1] == '-' ? -farOut
                                                        : farOut;
    }
    const auto mantissa = magnitude.substr(0, mark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    decimal.digits = mantissa.substr(0, point);
    if (point < mantissa.size()) {
        decimal.digits += mantissa.substr(point + 1);
        decimal.exponent -= static_cast<std::int64_t>(mantissa.size() - point - 1);
    }
    return decimal;
}

/// The integer digits that a number stands for, "" when it has a fraction or is out of reach.
std::string integralDigits(std::string_view magnitude) {
    constexpr std::int64_t longest = 20;
    Decimal decimal = splitDecimal(magnitude);
    auto& digits = decimal.digits;
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    if (digits.empty()) {
        return "0";
    }
    for (; decimal.exponent < 0 && digits.ends_with('0'); ++decimal.exponent) {
        digits.pop_back();
    }
    if (decimal.exponent < 0 || decimal.exponent > longest) {
        return {};
    }
    return digits.append(static_cast<std::size_t>(decimal.exponent), '0');
}

/// The digits of a number that ends within eight bytes, all looked at together: how many digits there are cannot be
/// foreseen, and a processor that guesses wrong loses more time than the rest takes. Returns where the number ends, and
/// null for what is not so short or not so plain.
const char* takeFewDigits(const char* at, std::uint64_t& value, std::size_t& places) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    const std::uint64_t digits = bytes ^ eightOf('0');
    // The highest bit of each byte that is no digit; bytes above the first such byte are right too, for none carries.
    const std::uint64_t others = ((digits & eightOf(0x7F)) + eightOf(0x7F - 9)) | digits;
    const std::uint64_t marks = others & eightOf(0x80);
    const auto whole = static_cast<unsigned>(std::countr_zero(marks)) / 8;
    if (whole == 0 || whole >= 7 || at[whole] != '.') {
        return nullptr;
    }
    const std::uint64_t behind = marks & ~(std::uint64_t{0xFF} << 8 * whole);
    const auto end = static_cast<unsigned>(std::countr_zero(behind)) / 8;
    if (behind == 0 || end == whole + 1 || belongsToJSONNumber(at[end]) || (whole > 1 && *at == '0')) {
        return nullptr;
    }
    // Without the point, and moved up so that the last digit is the last byte: what is shifted in counts as zeros.
    const std::uint64_t below = (std::uint64_t{1} << 8 * whole) - 1;
    std::uint64_t joined = (digits & below) | (digits >> 8 & ~below);
    joined <<= 8 * (9 - end);
    joined = joined * 10 + (joined >> 8); // pairs, then fours, then all
    constexpr std::uint64_t pairs = 0x000000FF000000FF;
    constexpr std::uint64_t first = 100 + (std::uint64_t{1'000'000} << 32);
    constexpr std::uint64_t second = 1 + (std::uint64_t{10'000} << 32);
    value = ((joined & pairs) * first + (joined >> 16 & pairs) * second) >> 32;
    places = end - whole - 1;
    return at + end;
}

/// Reads digits behind `value`, whatever they add up to; returns where they end.
const char* takeDigits(const char* at, const char* end, std::uint64_t& value) {
    for (; at != end && isJSONDigit(*at); ++at) {
        value = value * 10 + static_cast<std::uint64_t>(*at - '0');
    }
    return at;
}

} // namespace

std::string_view jsonNumberFault(std::string_view literal) {
    const auto digits = [&literal] {
        const auto end = std::find_if_not(literal.begin(), literal.end(), isJSONDigit);
        const auto count = static_cast<std::size_t>(end - literal.begin());
        literal.remove_prefix(count);
        return count;
    };
    if (literal.starts_with('-')) {
        literal.remove_prefix(1);
    }
    const bool zero = literal.starts_with('0');
    const std::size_t whole = digits();
    if (whole == 0) {
        return "Number without digits";
    }
    if (zero && whole > 1) {
        return "Number with leading zero";
    }
    if (literal.starts_with('.')) {
        literal.remove_prefix(1);
        if (digits() == 0) {
            return "Number without digits behind its point";
        }
    }
    if (literal.starts_with('e') || literal.starts_with('E')) {
        literal.remove_prefix(1);
        literal.remove_prefix(literal.starts_with('+') || literal.starts_with('-') ? 1 : 0);
        if (digits() == 0) {
            return "Number without digits in its exponent";
        }
    }
    return literal.empty() ? std::string_view() : "Unexpected character in number";
}

/// Both the digits as one integer and the power of ten are doubles without rounding: so their quotient is the nearest.
std::optional<double> takeShortJSONDecimal(std::string_view text, std::size_t& offset) {
    static constexpr std::array powers = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const char* const end = text.data() + text.size();
    const char* const start = text.data() + offset;
    const bool negative = start != end && *start == '-';
    const char* const whole = start + (negative ? 1 : 0);
    std::uint64_t digits = 0;
    std::size_t places = 0;
    if (constexpr bool littleEndian = std::endian::native == std::endian::little; littleEndian && end - whole >= 8) {
        if (const char* const behind = takeFewDigits(whole, digits, places)) {
            offset = static_cast<std::size_t>(behind - text.data());
            const double value = static_cast<double>(digits) / powers[places];
            return negative ? -value : value;
        }
    }
    digits = 0;
    const char* at = takeDigits(whole, end, digits);
    const auto wholeDigits = static_cast<std::size_t>(at - whole);
    if (at != end && *at == '.') {
        const char* const fraction = at + 1;
        at = takeDigits(fraction, end, digits);
        places = static_cast<std::size_t>(at - fraction);
        if (places == 0) {
            return std::nullopt;
        }
    }
    const bool leadingZero = wholeDigits > 1 && *whole == '0';
    const bool goesOn = at != end && belongsToJSONNumber(*at);
    if (wholeDigits == 0 || leadingZero || wholeDigits + places >= powers.size() || goesOn) {
        return std::nullopt;
    }
    offset = static_cast<std::size_t>(at - text.data());
    const double value = places == 0 ? static_cast<double>(digits) : static_cast<double>(digits) / powers[places];
    return negative ? -value : value;
}

std::optional<double> doubleFromJSON(std::string_view literal) {
    double value = 0;
    std::from_chars(literal.data(), literal.data() + literal.size(), value);
    const bool fits = std::isfinite(value) && (value != 0 || !hasNonZeroDigit(literal));
    return fits ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> integerFromJSON(std::string_view literal) {
    const bool negative = literal.starts_with('-');
    const std::string text = (negative ? "-" : "") + integralDigits(literal.substr(negative ? 1 : 0));
    std::int64_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() ? std::optional(value) : std::nullopt;
}

} // namespace orvex
