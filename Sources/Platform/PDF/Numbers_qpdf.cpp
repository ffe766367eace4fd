#include "Platform/PDF/Numbers_p.h"

#include <charconv>
#include <string>

namespace orvex {

bool readNumber(QPDFObjectHandle value, double& number) {
    if (value.isInteger()) {
        number = static_cast<double>(value.getIntValue());
        return true;
    }
    if (!value.isReal()) {
        return false;
    }
    const std::string text = value.getRealValue();
    number = 0; // what has no digits at all
    std::from_chars(text.data() + (text.starts_with('+') ? 1 : 0), text.data() + text.size(), number);
    return true;
}

} // namespace orvex
