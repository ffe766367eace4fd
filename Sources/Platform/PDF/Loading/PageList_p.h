// Which objects of a file are its pages.
#pragma once

#include "Platform/PDF/Loading/StoredObjects_p.h"

#include <vector>

namespace orvex {

/// More levels are nobody's document; qpdf goes down them by calling itself.
constexpr int deepestPageTree = 2000;

struct PageList {
    static constexpr unsigned char unknownTurn = 0xFF;
    std::vector<QPDFObjGen> ids;
    std::vector<unsigned char> turns; ///< quarter turns clockwise, own or inherited; unknown ones are to be looked up
    bool repaired = false; ///< qpdf changed its parse to come to these: another parse has to list its pages itself
};

/// The pages as QPDF::getAllPages() lists them. Of a sound file they are found in its bytes, and the parse stays
/// without them. Throws what qpdf throws, and QPDFExc for a tree of more levels than that.
[[nodiscard]] PageList listPages(QPDF& pdf, const Bytes& file, const ObjectTable& table);

} // namespace orvex
