// Two files side by side, object by object, as qpdf reads both.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orvex::test {

inline std::shared_ptr<QPDF> parsed(const Bytes& file) {
    auto pdf = QPDF::create();
    pdf->setSuppressWarnings(true);
    pdf->processMemoryFile("file", reinterpret_cast<const char*>(file.data()), file.size());
    return pdf;
}

/// Whether qpdf has nothing to mend.
inline bool isSound(QPDF& pdf) {
    pdf.getAllObjects();
    return !pdf.isEncrypted() && !pdf.anyWarnings();
}

/// Walks two files side by side, each object once.
class SideBySide {
public:
    /// Where they first differ; empty when they do not.
    std::string difference(QPDFObjectHandle first, QPDFObjectHandle second, const std::set<std::string>& besides = {}) {
        compareDictionaries(first, second, "", besides);
        return walk();
    }

    /// Objects that are taken to be the same.
    void pair(const QPDFObjectHandle& first, const QPDFObjectHandle& second) {
        partners_.try_emplace(first.getObjGen(), second.getObjGen());
    }

    /// Of pages: what they inherit may have become their own, and their parents do not count.
    std::string differenceOfPages(QPDFObjectHandle first, QPDFObjectHandle second, std::set<std::string> besides) {
        besides.insert("/Parent");
        for (const char* key : {"/Resources", "/MediaBox", "/CropBox", "/Rotate"}) {
            if (besides.insert(key).second) {
                compareValues(inherited(first, key), inherited(second, key), key);
            }
        }
        compareDictionaries(first, second, "", besides);
        return walk();
    }

private:
    std::string walk() {
        while (!waiting_.empty() && found_.empty()) {
            const Pair next = std::move(waiting_.back());
            waiting_.pop_back();
            compare(next.first, next.second, next.path);
        }
        return found_;
    }

    static QPDFObjectHandle inherited(QPDFObjectHandle node, const std::string& key) {
        for (int i = 0; i < 100 && node.isDictionary(); ++i) {
            if (auto value = node.getKey(key); !value.isNull()) {
                return value;
            }
            node = node.getKey("/Parent");
        }
        return QPDFObjectHandle::newNull();
    }

    struct Pair {
        QPDFObjectHandle first;
        QPDFObjectHandle second;
        std::string path;
    };

    void compare(QPDFObjectHandle first, QPDFObjectHandle second, const std::string& path) {
        if (first.isNull() && second.isNull()) { // references that lead nowhere may go
            return;
        }
        if (first.isIndirect() != second.isIndirect() || first.getTypeCode() != second.getTypeCode()) {
            found_ = path + ": " + first.unparse() + " became " + second.unparse();
        } else if (first.isIndirect()) {
            const auto [known, isNew] = partners_.try_emplace(first.getObjGen(), second.getObjGen());
            if (known->second != second.getObjGen()) {
                found_ = path + ": another object than elsewhere";
            }
            if (!isNew) {
                return;
            }
        }
        compareValues(first, second, path);
    }

    void compareValues(QPDFObjectHandle first, QPDFObjectHandle second, const std::string& path) {
        if (first.isStream()) {
            compareDictionaries(first.getDict(), second.getDict(), path, {"/Length"});
            if (dataOf(first) != dataOf(second)) {
                found_ = path + ": other data";
            }
        } else if (first.isDictionary()) {
            compareDictionaries(first, second, path, {});
        } else if (first.isArray()) {
            if (first.getArrayNItems() != second.getArrayNItems()) {
                found_ = path + ": another number of items";
                return;
            }
            for (int i = 0; i < first.getArrayNItems(); ++i) {
                waiting_.push_back(
                    {first.getArrayItem(i), second.getArrayItem(i), path + "[" + std::to_string(i) + "]"});
            }
        } else if (first.unparseResolved() != second.unparseResolved()) {
            found_ = path + ": " + first.unparseResolved() + " became " + second.unparseResolved();
        }
    }

    void compareDictionaries(QPDFObjectHandle first, QPDFObjectHandle second, const std::string& path,
                             const std::set<std::string>& besides) {
        auto keys = first.getKeys();
        keys.merge(second.getKeys());
        for (const auto& key : keys) {
            if (!besides.contains(key)) {
                waiting_.push_back({first.getKey(key), second.getKey(key), path + key});
            }
        }
    }

    static std::string dataOf(QPDFObjectHandle stream) {
        try {
            const auto data = stream.getRawStreamData();
            return {reinterpret_cast<const char*>(data->getBuffer()), data->getSize()};
        } catch (const QPDFExc& error) {
            return error.what();
        }
    }

    std::vector<Pair> waiting_;
    std::map<QPDFObjGen, QPDFObjGen> partners_;
    std::string found_;
};

/// Of the pages at these places of the first file, and those of the second in their order.
inline std::string differenceOfPages(const Bytes& before, const Bytes& after, const std::vector<int>& places,
                                     const std::set<std::string>& besides = {}) {
    const auto first = parsed(before);
    const auto second = parsed(after);
    const auto& firstPages = first->getAllPages();
    const auto& secondPages = second->getAllPages();
    SideBySide files;
    for (std::size_t i = 0; i < places.size(); ++i) {
        files.pair(firstPages.at(static_cast<std::size_t>(places[i])), secondPages.at(i));
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto difference =
            files.differenceOfPages(firstPages.at(static_cast<std::size_t>(places[i])), secondPages.at(i), besides);
        if (!difference.empty()) {
            return "page " + std::to_string(i + 1) + " " + difference;
        }
    }
    return {};
}

} // namespace orvex::test
