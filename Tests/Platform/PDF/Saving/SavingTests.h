// What tests of saving have in common: documents from readable pieces, saved, and read by other people's tools.
#pragma once

#include "Support/Command.h"
#include "Support/OpenDocument.h"
#include "Support/Pages.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>

namespace orvex {

using test::opened;
using test::pageShowing;
using test::pdfFromPages;
using test::SavedDocument;
using testing::HasSubstr;
using testing::Not;

} // namespace orvex
