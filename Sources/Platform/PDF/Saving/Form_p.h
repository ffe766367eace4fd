// The document's form: fields of copied pages join it under names of their own.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

namespace orvex {

void mergeForms(Composition& document);

} // namespace orvex
