#include "Platform/PDF/Saving/NamedMerge_p.h"

namespace orvex {

namespace {

constexpr int comparedDepth = 6;       // as deep as fonts without programs go
constexpr int comparedValues = 10'000; // and as large

bool sameValue(QPDFObjectHandle a, QPDFObjectHandle b, int depth, int& budget) {
    if (a.isIndirect() && b.isIndirect() && a.getObjGen() == b.getObjGen()) {
        return true;
    }
    if (--budget < 0 || depth > comparedDepth || a.getTypeCode() != b.getTypeCode() || a.isStream()) {
        return false;
    }
    if (a.isArray()) {
        const auto left = a.getArrayAsVector();
        const auto right = b.getArrayAsVector();
        for (std::size_t i = 0; i < left.size() && left.size() == right.size(); ++i) {
            if (!sameValue(left[i], right[i], depth + 1, budget)) {
                return false;
            }
        }
        return left.size() == right.size();
    }
    if (a.isDictionary()) {
        const auto keys = a.getKeys();
        if (keys != b.getKeys()) {
            return false;
        }
        for (const auto& key : keys) {
            if (!sameValue(a.getKey(key), b.getKey(key), depth + 1, budget)) {
                return false;
            }
        }
        return true;
    }
    return a.unparseResolved() == b.unparseResolved();
}

} // namespace

QPDFObjectHandle ownDictionary(QPDFObjectHandle holder, const std::string& key) {
    auto value = holder.getKey(key);
    value = value.isDictionary() ? value.shallowCopy() : QPDFObjectHandle::newDictionary();
    holder.replaceKey(key, value);
    return value;
}

QPDFObjectHandle ownArray(QPDFObjectHandle holder, const std::string& key) {
    auto value = holder.getKey(key);
    value = value.isArray() ? value.shallowCopy() : QPDFObjectHandle::newArray();
    holder.replaceKey(key, value);
    return value;
}

NamedMerge::NamedMerge(ObjectCopier& copier, const QPDFObjectHandle& from, const QPDFObjectHandle& to)
    : copier_(copier), from_(from), to_(to) {}

std::string NamedMerge::bring(const std::string& name) {
    if (const auto known = brought_.find(name); known != brought_.end()) {
        return known->second;
    }
    std::string result = name;
    if (from_.isDictionary() && from_.hasKey(name)) {
        auto value = copier_.copy(from_.getKey(name), ObjectCopier::Scope::shared);
        copier_.drain();
        const auto serves = [&](const std::string& candidate) {
            int budget = comparedValues;
            return !to_.hasKey(candidate) || sameValue(to_.getKey(candidate), value, 0, budget);
        };
        for (int number = 2; !serves(result); ++number) {
            result = name + "_" + std::to_string(number);
        }
        if (!to_.hasKey(result)) {
            to_.replaceKey(result, value);
        }
    }
    brought_.emplace(name, result);
    return result;
}

} // namespace orvex
