#include "Numbers.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <string>

namespace orvex::tool {

CLI::Validator numberFrom(int low, int high) {
    const auto check = [low, high](const std::string& text) {
        double value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        const bool isNumber = error == std::errc() && end == text.data() + text.size();
        return isNumber && value >= low && value <= high
                   ? std::string()
                   : text + " is not a number from " + std::to_string(low) + " to " + std::to_string(high);
    };
    return {check, ""};
}

} // namespace orvex::tool
