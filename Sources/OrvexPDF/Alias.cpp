#include "OrvexPDF/Alias.h"

namespace orvex {

Logger& moduleLogger() {
    static Logger logger("OrvexPDF");
    return logger;
}

} // namespace orvex
