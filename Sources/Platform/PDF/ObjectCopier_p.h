// Copies objects of one parsed file into another, each once: what a copied page needs comes along, other pages of its
// file do not. References to pages that are not copied become null.
#pragma once

#include "Platform/PDF/PDFSource_p.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace orvex {

/// The source's mutex must be held while this lives and while the target is written: stream data is read only then.
class ObjectCopier {
public:
    ObjectCopier(QPDF& target, std::shared_ptr<PDFSource> source);

    /// References to the source's page `index` will lead to `page` of the target.
    void mapPage(int index, const QPDFObjectHandle& page);
    /// Fills `page` of the target with what page `index` of the source holds.
    void copyPage(int index, QPDFObjectHandle page);

private:
    QPDFObjectHandle copy(QPDFObjectHandle object, int depth);
    QPDFObjectHandle copyIndirect(QPDFObjectHandle object);
    QPDFObjectHandle copyDirect(QPDFObjectHandle object, int depth);
    QPDFObjectHandle copyDictionary(QPDFObjectHandle dictionary, int depth);
    void fillStream(QPDFObjectHandle from, QPDFObjectHandle to);
    void drain();

    QPDF& target_;
    std::shared_ptr<PDFSource> source_;
    std::map<QPDFObjGen, QPDFObjectHandle> copies_;
    std::deque<std::pair<QPDFObjectHandle, QPDFObjectHandle>> pending_; ///< source object, its reserved copy
};

} // namespace orvex
