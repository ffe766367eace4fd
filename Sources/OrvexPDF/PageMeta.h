// The record that the manager keeps per page: where the page came from and how it is to be presented. It only
// remembers; Manager+Meta makes pages from it.
#pragma once

#include "OrvexPDF/Page.h"
#include "OrvexPDF/SqueezeMode.h"
#include "Platform/Foundation/KeyedList.h"
#include "Platform/Foundation/Strings.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace orvex {

/// A Boolean that may be worked out when it is first read: finding text means reading the page, which nobody should pay
/// for 20,000 pages at once. Reads and assigns like a bool; copies share nothing but the page.
class OrvexPageTextFlag {
public:
    OrvexPageTextFlag(bool value = false) : value_(value) {} // NOLINT(google-explicit-constructor): stands for a bool
    /// Whether `page` has text, asked of the page on the first read.
    static OrvexPageTextFlag of(std::shared_ptr<const PDFPage> page);
    operator bool() const { return page_ ? page_->hasText() : value_; } // NOLINT(google-explicit-constructor)

private:
    std::shared_ptr<const PDFPage> page_;
    bool value_ = false;
};

/// A value: copies share page, images, found page and preset, and changing a copy changes nothing else.
struct OrvexPDFPageMeta {
    std::string id = makeUUID();                     ///< the page's identity across edits
    bool fresh = true;                               ///< added after loading
    OrvexPDFPagePtr originalPage;                    ///< the untouched source page
    OrvexPageTextFlag originalPageHasText;           ///< whether it carries text already
    std::int64_t originalPageRotation = 0;           ///< degrees, clockwise
    ImagePtr originalImage;                          ///< the source image; takes precedence over originalPage
    std::shared_ptr<const OrvexFoundPage> foundPage; ///< recognised text
    OrvexPDFSqueezeModePtr squeeze;                  ///< none: the source is kept as it is
    std::int64_t rotation = 0;                       ///< degrees, clockwise, on top of the source's; not reduced
    std::int64_t textRotation = 0;                   ///< degrees, counter-clockwise, of the text layer
    std::optional<std::string> watermarkText;
    ImagePtr thumbnailImage; ///< the host's cached preview

    /// Turns the text layer upright relative to the page as shown. Overflow is fatal.
    void setTextRotationTop();
};

struct OrvexPDFPageMetaId {
    const std::string& operator()(const OrvexPDFPageMeta& meta) const { return meta.id; }
};
/// Records in page order, by index like an array, or by id.
using OrvexPDFPageMetaPtr = std::shared_ptr<OrvexPDFPageMeta>;
using OrvexPDFPageMetaList = KeyedList<OrvexPDFPageMeta, OrvexPDFPageMetaId>;

} // namespace orvex
