// Copies objects of one parsed file into another, each once: what a copied page needs comes along, other pages and the
// trees of its file (outline, fields, tags) do not. References to what is not copied become null.
#pragma once

#include "Platform/PDF/PDFSource_p.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace orvex {

/// The source's mutex must be held while this lives and while the target is written: stream data is read only then.
class ObjectCopier {
public:
    using Copies = std::map<QPDFObjGen, QPDFObjectHandle>;
    enum class Scope {
        shared, ///< one copy for the document: fonts, images, whatever hangs on a stream
        own     ///< one copy for each time that the pages are copied: annotations and what hangs on them
    };

    /// `sameFile`: the target is another parse of the source's file, and holds already what is shared.
    ObjectCopier(QPDF& target, std::shared_ptr<PDFSource> source, bool sameFile);

    [[nodiscard]] QPDF& target() const { return target_; }
    [[nodiscard]] const std::shared_ptr<PDFSource>& source() const { return source_; }
    [[nodiscard]] bool sameFile() const { return sameFile_; }

    /// What belongs to one copy of the pages is kept in `own` from now on; its entries are used instead of copying.
    void enter(Copies& own) { own_ = &own; }
    /// References to the source's page `index` lead to `page` in this copy of the pages, and in those that lack it.
    void mapPage(int index, const QPDFObjectHandle& page);
    /// For copies of pages that lack page `index`: where it stands already.
    void mapFirstPage(int index, const QPDFObjectHandle& page) { firstPages_.try_emplace(index, page); }
    /// What page `index` became in this copy of the pages, else in an earlier one; else null.
    [[nodiscard]] QPDFObjectHandle page(long long index) const;
    /// The copy of an object, when there is one; else null.
    [[nodiscard]] QPDFObjectHandle known(const QPDFObjectHandle& object) const;

    /// Makes `copy` what the object became in this copy of the pages.
    void place(const QPDFObjectHandle& object, const QPDFObjectHandle& copy) { (*own_)[object.getObjGen()] = copy; }
    /// Whether the object was copied, or placed, for this copy of the pages.
    [[nodiscard]] bool isOwn(const QPDFObjectHandle& object) const { return own_->contains(object.getObjGen()); }

    /// Objects that the copy refers to are filled by drain().
    [[nodiscard]] QPDFObjectHandle copy(const QPDFObjectHandle& value, Scope scope) { return copy(value, scope, 0); }
    void drain();

    /// The number under which the tags know what they know by `old`; none when the tags are not copied.
    using StructureKey = std::function<std::optional<long long>(long long old)>;
    void setStructureKey(StructureKey key) { structureKey_ = std::move(key); }
    /// Carries /StructParent or /StructParents of one object over to its copy.
    void copyStructureKeys(QPDFObjectHandle from, QPDFObjectHandle to) const;

private:
    struct Pending {
        QPDFObjectHandle from;
        QPDFObjectHandle to;
        Scope scope;
    };

    QPDFObjectHandle copy(QPDFObjectHandle object, Scope scope, int depth);
    QPDFObjectHandle copyIndirect(const QPDFObjectHandle& object, Scope scope);
    QPDFObjectHandle copyDirect(QPDFObjectHandle object, Scope scope, int depth);
    QPDFObjectHandle copyDictionary(QPDFObjectHandle dictionary, Scope scope, int depth);
    void fillStream(QPDFObjectHandle from, QPDFObjectHandle to);

    QPDF& target_;
    std::shared_ptr<PDFSource> source_;
    bool sameFile_;
    std::map<int, QPDFObjectHandle> firstPages_;
    Copies shared_;
    Copies* own_ = nullptr;
    std::deque<Pending> pending_;
    StructureKey structureKey_;
};

} // namespace orvex
