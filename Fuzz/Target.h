// What every fuzz target fills in: one input through the library. Whatever the library throws for bad input is caught
// in the target; what escapes, crashes, hangs or grows without bound is a finding.
#pragma once

#include "Platform/Foundation/Bytes.h"

namespace orvex::fuzz {

void run(const Bytes& input);

} // namespace orvex::fuzz
