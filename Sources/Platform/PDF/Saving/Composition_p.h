// Which pages a document being saved is made of, for those who bring in line what is not pages.
#pragma once

#include "Platform/PDF/Saving/PageImport_p.h"
#include "Platform/PDF/Writing/KeptObjects_p.h"

#include <memory>
#include <set>
#include <vector>

namespace orvex {

struct PlacedPage {
    QPDFObjectHandle object;
    std::shared_ptr<PDFSource> source; ///< null for pages that are no file's
    int index = 0;                     ///< in its source
};

struct Composition {
    QPDF& target;
    std::shared_ptr<PDFSource> base;                  ///< null for a document of its own
    std::vector<PlacedPage> pages;                    ///< in the document's order
    std::vector<QPDFObjectHandle> basePages;          ///< by number; null objects where a page was removed
    std::vector<std::unique_ptr<PageImport>> imports; ///< in the order in which their first pages stand in the document
    bool pagesChanged = false;                        ///< other pages than the base's, another order, or one made up
    bool pagesRemoved = false;                        ///< pages of the base are missing
    std::set<QPDFObjGen> pictures;                    ///< pages of the base of whose content a picture is left
    std::set<long long> goneTagKeys;                  ///< what the parent tree called what is missing of the base
    long long nextTagKey = 0;                         ///< and what it may call new ones
    std::unique_ptr<KeptObjects> kept;                ///< null where all pages are parsed

    /// A new object of the document.
    [[nodiscard]] QPDFObjectHandle add(const QPDFObjectHandle& value) const {
        return kept ? kept->add(value) : target.makeIndirectObject(value);
    }
    /// Whether nothing changes a page, and nobody needs to look into it.
    [[nodiscard]] bool isKept(const QPDFObjectHandle& page) const { return kept && kept->contains(page.getObjGen()); }
};

/// Brings what is not pages in line with the pages.
void carryDocument(Composition& document);

} // namespace orvex
