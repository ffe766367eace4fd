// What form fields look like, for renderers that draw no fields.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <string>

namespace orvex {

/// Whether a field of the page shows something. Hold the source's mutex for pages of a source.
[[nodiscard]] bool showsFields(QPDFObjectHandle page);

/// Takes the fields that show off the page's annotations, puts their appearances into its resources, and returns the
/// operators that draw them in page space, from a clean graphics state.
[[nodiscard]] std::string takeFieldAppearances(QPDFObjectHandle page);

} // namespace orvex
