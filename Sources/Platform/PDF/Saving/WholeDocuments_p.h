// What belongs to a document as a whole comes along when all of its pages do: its outline and its attached files.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

namespace orvex {

void bringOutlines(Composition& document);
void bringAttachments(Composition& document);

} // namespace orvex
