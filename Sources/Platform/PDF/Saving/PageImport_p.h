// Pages that are copied into a document, each with what stands on it: annotations, fields, links. Links and fields
// among the pages that are copied together belong together again; names of destinations become places.
#pragma once

#include "Platform/PDF/Saving/Destinations_p.h"
#include "Platform/PDF/Saving/ObjectCopier_p.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace orvex {

/// One file that pages are copied from, however often. What is worked out of it once is kept.
struct ImportSource {
    ObjectCopier copier;
    std::optional<NamedDestinations> names;
    std::optional<std::map<long long, QPDFObjectHandle>> tags; ///< its parent tree
};

/// Each page at most once: a document in which a page stands several times takes several imports.
class PageImport {
public:
    /// `nextTagKey` numbers what carries tags; null when tags are left behind.
    PageImport(std::shared_ptr<ImportSource> from, long long* nextTagKey);

    /// `asPicture`: without the page's content.
    void add(int index, const QPDFObjectHandle& page, bool asPicture);
    /// Once all pages of all imports are added.
    void copyPages();
    /// Makes links and actions of what was copied lead to copies, or nowhere.
    void revisePlaces();

    [[nodiscard]] ImportSource& from() const { return *from_; }
    [[nodiscard]] const std::vector<std::pair<int, QPDFObjectHandle>>& pages() const { return pages_; }
    /// The topmost copied fields, in the order in which the pages show them, and what each was copied from.
    [[nodiscard]] const std::vector<std::pair<QPDFObjectHandle, QPDFObjectHandle>>& fields() const { return fields_; }
    /// All copied annotations and fields.
    [[nodiscard]] std::vector<QPDFObjectHandle> copies() const;
    /// Numbers of the source's parent tree, and the copies'.
    [[nodiscard]] const std::map<long long, long long>& tagKeys() const { return tagKeys_; }
    /// Makes the source's copier continue this import.
    void enter();
    Destinations& destinations() { return destinations_; }

private:
    struct CopiedAnnotation {
        QPDFObjectHandle from;
        QPDFObjectHandle to;
        QPDFObjectHandle page;
    };

    void makeAnnotations(const QPDFObjectHandle& from, QPDFObjectHandle page);
    QPDFObjectHandle makeAnnotation(const QPDFObjectHandle& from, const QPDFObjectHandle& page);
    void fillPage(QPDFObjectHandle from, QPDFObjectHandle page, bool asPicture);
    void fillAnnotation(const CopiedAnnotation& annotation);
    void bringField(QPDFObjectHandle from, QPDFObjectHandle to);
    void fillField(QPDFObjectHandle from, QPDFObjectHandle to);
    QPDFObjectHandle placeOf(const QPDFObjectHandle& name);

    std::shared_ptr<ImportSource> from_;
    ObjectCopier& copier_;
    long long* nextTagKey_;
    std::map<long long, long long> tagKeys_;
    ObjectCopier::Copies own_;
    std::vector<std::pair<int, QPDFObjectHandle>> pages_;
    std::set<int> pictures_;
    std::vector<CopiedAnnotation> annotations_;
    std::vector<QPDFObjectHandle> fieldNodes_; ///< copied fields that are not annotations
    std::vector<std::pair<QPDFObjectHandle, QPDFObjectHandle>> fields_;
    Destinations destinations_;
};

} // namespace orvex
