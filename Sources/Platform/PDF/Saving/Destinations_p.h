// Where outline items, links and actions lead, after pages were taken out of a file or copied from it.
#pragma once

#include <qpdf/QPDF.hh>

#include <functional>
#include <map>
#include <string>

namespace orvex {

/// Named destinations of a file: of its dictionary and of its name tree.
using NamedDestinations = std::map<std::string, QPDFObjectHandle>;
[[nodiscard]] NamedDestinations readNamedDestinations(QPDF& pdf);

/// Revises what it is given in place. References to pages that are gone must be null before.
class Destinations {
public:
    struct Lookup {
        /// What stands for a named destination (itself, or an explicit one); null when it leads nowhere.
        std::function<QPDFObjectHandle(const QPDFObjectHandle& name)> byName;
        /// The page that had this number, from 0; null when it is gone.
        std::function<QPDFObjectHandle(long long number)> byNumber;
        /// Is given each destination that leads to a page, as an array, to change; may be empty.
        std::function<void(QPDFObjectHandle destination)> found = {};
    };
    explicit Destinations(Lookup lookup) : lookup_(std::move(lookup)) {}

    /// The destination to write instead; null when it leads nowhere.
    [[nodiscard]] QPDFObjectHandle revised(QPDFObjectHandle destination) const;
    /// What is left of an action: itself, what was to follow it, or null.
    [[nodiscard]] QPDFObjectHandle revisedAction(const QPDFObjectHandle& action);
    /// An outline item, annotation, field, page or catalogue: its destination and actions.
    void reviseHolder(QPDFObjectHandle holder);

private:
    QPDFObjectHandle revisedAction(QPDFObjectHandle action, int depth);
    QPDFObjectHandle revisedNext(QPDFObjectHandle next, int depth);

    Lookup lookup_;
    std::map<QPDFObjGen, QPDFObjectHandle> actions_; ///< those that several holders share are revised once
};

} // namespace orvex
