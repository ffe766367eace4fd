#include "Platform/PDF/Saving/Composition_p.h"

#include "Platform/PDF/Saving/DocumentPlaces_p.h"
#include "Platform/PDF/Saving/RemovedPages_p.h"

namespace orvex {

namespace {

void reviseBase(Composition& document) {
    std::vector<QPDFObjectHandle> kept;
    for (const auto& page : document.basePages) {
        if (!QPDFObjectHandle(page).isNull()) {
            kept.push_back(page);
        }
    }
    if (document.pagesRemoved) {
        forgetRemovedFields(document.target);
        forgetRemovedBeads(document.target);
    }
    revisePlaces(document.target, document.basePages, kept);
}

} // namespace

void carryDocument(Composition& document) {
    if (document.base && document.pagesChanged) {
        reviseBase(document);
    }
}

} // namespace orvex
