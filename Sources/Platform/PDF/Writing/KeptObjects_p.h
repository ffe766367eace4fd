// Pages of a loaded file that nothing changes, with their content: they get into the new file as the old one's bytes
// spell them, and no parser makes anything of them.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Loading/StoredObjects_p.h"

#include <qpdf/QPDF.hh>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace orvex {

/// What pages inherit from the nodes above them.
constexpr std::array inheritableKeys{"/Resources", "/MediaBox", "/CropBox", "/Rotate"};
using InheritedAttributes = std::array<QPDFObjectHandle, inheritableKeys.size()>; ///< not initialised: none

class KeptObjects {
public:
    /// `pdf` was parsed from `file`, and `table` is its; all of them have to outlive this.
    KeptObjects(const Bytes& file, const ObjectTable& table, QPDF& pdf);

    /// Keeps a page that is plainly spelled and has only entries that concern nobody but its readers.
    void keepPage(QPDFObjGen id);
    /// Keeps a stream that is plainly spelled and is nothing but data.
    void keepStream(QPDFObjGen id);
    /// For an object that is going to be changed after all.
    void release(QPDFObjGen id);
    /// For one that was released and was not changed after all.
    void keepAgain(QPDFObjGen id);
    [[nodiscard]] bool contains(QPDFObjGen id) const;

    /// A new object. QPDF::makeIndirectObject() would parse the whole file to find a free number.
    QPDFObjectHandle add(const QPDFObjectHandle& value);

    /// Of the pages, once they are to have another parent than in their file; null before that.
    [[nodiscard]] QPDFObjectHandle parent() const { return parent_; }
    void setParent(const QPDFObjectHandle& parent) { parent_ = parent; }
    void setInherited(QPDFObjGen page, std::uint32_t attributes);
    [[nodiscard]] const InheritedAttributes& inherited(QPDFObjGen page) const;
    /// Returns what setInherited() takes.
    std::uint32_t addInherited(const InheritedAttributes& attributes);

    /// An object that is kept. The view of a stream's data is empty for a page.
    [[nodiscard]] std::string_view read(QPDFObjGen id, StoredObject& object);

private:
    [[nodiscard]] std::optional<std::size_t> positionToTry(QPDFObjGen id);
    [[nodiscard]] std::string_view dataOf(const StoredObject& stream) const;

    std::string_view file_;
    const ObjectTable& table_;
    QPDF& pdf_;
    StoredObjects objects_;
    StoredObject object_;
    std::vector<bool> kept_; ///< by position in the table, as the next two
    std::vector<bool> tried_;
    std::vector<std::uint32_t> attributes_;      ///< which of the following a page has
    std::vector<InheritedAttributes> inherited_; ///< the first has none
    int added_ = 0;
    QPDFObjectHandle parent_ = QPDFObjectHandle::newNull();
};

} // namespace orvex
