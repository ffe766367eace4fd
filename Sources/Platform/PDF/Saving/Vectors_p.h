// Encryption that gives equal bytes for equal documents.
#pragma once

#include <string>

namespace orvex {

/// While it lives, what qpdf takes for random on this thread follows from `seed`. Meant for initialisation vectors,
/// which are no secret but must differ from string to string and from document to document; keys are never made here.
class DerivedVectors {
public:
    explicit DerivedVectors(std::string seed);
    ~DerivedVectors();
    DerivedVectors(const DerivedVectors&) = delete;
    DerivedVectors& operator=(const DerivedVectors&) = delete;
};

} // namespace orvex
