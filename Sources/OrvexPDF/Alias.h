// The module's one logger.
#pragma once

#include "Platform/Foundation/Log.h"

namespace orvex {

/// Named "OrvexPDF"; hosts set its level.
Logger& moduleLogger();

} // namespace orvex
