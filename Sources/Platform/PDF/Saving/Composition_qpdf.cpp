#include "Platform/PDF/Saving/Composition_p.h"

#include "Platform/PDF/Saving/DocumentPlaces_p.h"
#include "Platform/PDF/Saving/Form_p.h"
#include "Platform/PDF/Saving/PageLabels_p.h"
#include "Platform/PDF/Saving/RemovedPages_p.h"
#include "Platform/PDF/Saving/Signatures_p.h"
#include "Platform/PDF/Saving/StructureTree_p.h"
#include "Platform/PDF/Saving/WholeDocuments_p.h"

namespace orvex {

namespace {

void reviseBase(Composition& document) {
    std::vector<QPDFObjectHandle> left;
    for (const auto& page : document.basePages) {
        if (!document.isKept(page) && !QPDFObjectHandle(page).isNull()) {
            left.push_back(page);
        }
    }
    if (document.pagesRemoved) {
        forgetRemovedFields(document.target);
        forgetRemovedBeads(document.target);
    }
    auto root = document.target.getRoot();
    if (auto form = root.getKey("/AcroForm"); form.isDictionary() && !root.hasKey("/NeedsRendering")) {
        form.removeKey("/XFA"); // would show the pages as they were, instead of the fields
    }
    revisePlaces(document.target, document.basePages, left);
}

} // namespace

void carryDocument(Composition& document) {
    for (auto& import : document.imports) {
        import->revisePlaces();
    }
    if (document.base && document.pagesChanged) {
        reviseBase(document);
    }
    if (document.pagesRemoved || !document.pictures.empty()) {
        pruneStructure(document.target, document.pictures, document.goneTagKeys);
    }
    if (document.pagesChanged) {
        carryPageLabels(document);
    }
    mergeForms(document);
    graftStructure(document);
    bringOutlines(document);
    bringAttachments(document);
    dropSignatures(document.target);
}

} // namespace orvex
