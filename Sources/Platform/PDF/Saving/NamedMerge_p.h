// Brings entries of one file's dictionary of names (fonts, classes, roles) into another's: equal ones once, others
// under a name that is free.
#pragma once

#include "Platform/PDF/Saving/ObjectCopier_p.h"

#include <map>
#include <string>

namespace orvex {

/// The dictionary under `key`, made when there is none, as `holder`'s own.
[[nodiscard]] QPDFObjectHandle ownDictionary(QPDFObjectHandle holder, const std::string& key);
/// The array under `key`, made when there is none, as `holder`'s own.
[[nodiscard]] QPDFObjectHandle ownArray(QPDFObjectHandle holder, const std::string& key);

class NamedMerge {
public:
    /// Entries of `from`, a dictionary of the copier's source, go to `to`, one of its target.
    NamedMerge(ObjectCopier& copier, const QPDFObjectHandle& from, const QPDFObjectHandle& to);
    /// The name in `to` of what `from` calls `name`; `name` itself when it has nothing of that name.
    [[nodiscard]] std::string bring(const std::string& name);

private:
    ObjectCopier& copier_;
    QPDFObjectHandle from_;
    QPDFObjectHandle to_;
    std::map<std::string, std::string> brought_;
};

} // namespace orvex
