// What the objects of a file being written are called in it.
#pragma once

#include "Platform/Foundation/HashTable.h"

#include <qpdf/QPDFObjGen.hh>

#include <cstdint>
#include <vector>

namespace orvex {

/// Counts from 1, in the order in which objects are added.
class ObjectNumbers {
public:
    /// 0 for an object that has none yet.
    [[nodiscard]] std::uint32_t of(QPDFObjGen id) const {
        std::uint32_t found = 0;
        table_.visit(hashOf(id), [&](std::uint32_t number) { found = objects_[number - 1] == id ? number : found; });
        return found;
    }

    /// One that was not there yet. Returns its number.
    std::uint32_t add(QPDFObjGen id) {
        objects_.push_back(id);
        const auto number = static_cast<std::uint32_t>(objects_.size());
        table_.add(hashOf(id), number);
        return number;
    }

    /// A number for something of the file itself.
    std::uint32_t reserve() {
        objects_.emplace_back();
        return static_cast<std::uint32_t>(objects_.size());
    }

    [[nodiscard]] std::size_t count() const { return objects_.size(); }
    /// Not indirect where the number is reserved.
    [[nodiscard]] QPDFObjGen object(std::size_t number) const { return objects_[number - 1]; }

private:
    static std::uint32_t hashOf(QPDFObjGen id) {
        return spreadHash(static_cast<std::uint64_t>(id.getObj()) << 16U ^ static_cast<std::uint64_t>(id.getGen()));
    }

    std::vector<QPDFObjGen> objects_;
    HashTable<std::uint32_t> table_;
};

} // namespace orvex
