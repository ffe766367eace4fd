#include "Platform/PDF/Saving/Destinations_p.h"

#include "Platform/PDF/Saving/Trees_p.h"

#include <vector>

namespace orvex {

namespace {

constexpr int chainLimit = 100; // actions that follow actions

QPDFObjectHandle null() {
    return QPDFObjectHandle::newNull();
}

/// One action that is followed by others.
QPDFObjectHandle chained(std::vector<QPDFObjectHandle> actions) {
    if (actions.empty()) {
        return null();
    }
    auto first = actions.front();
    if (actions.size() > 1) {
        auto next = first.getKey("/Next");
        auto all = next.isArray() ? next.shallowCopy() : QPDFObjectHandle::newArray();
        if (next.isDictionary()) {
            all.appendItem(next);
        }
        for (std::size_t i = 1; i < actions.size(); ++i) {
            all.appendItem(actions[i]);
        }
        first.replaceKey("/Next", all);
    }
    return first;
}

void replaceOrRemove(QPDFObjectHandle holder, const std::string& key, const QPDFObjectHandle& value) {
    if (QPDFObjectHandle(value).isNull()) {
        holder.removeKey(key);
    } else {
        holder.replaceKey(key, value);
    }
}

} // namespace

NamedDestinations readNamedDestinations(QPDF& pdf) {
    NamedDestinations named;
    auto names = pdf.getRoot().getKey("/Names");
    if (names.isDictionary()) {
        for (const auto& [name, value] : readNameTree(names.getKey("/Dests"))) {
            named.try_emplace(name, value);
        }
    }
    auto dictionary = pdf.getRoot().getKey("/Dests");
    if (dictionary.isDictionary()) {
        for (const auto& key : dictionary.getKeys()) {
            named.try_emplace(key.substr(1), dictionary.getKey(key));
        }
    }
    return named;
}

QPDFObjectHandle Destinations::revised(QPDFObjectHandle destination) const {
    if (destination.isName() || destination.isString()) {
        return lookup_.byName(destination);
    }
    if (destination.isDictionary() && !destination.getKey("/D").isDictionary()) {
        auto place = revised(destination.getKey("/D"));
        if (place.isNull()) {
            return place;
        }
        destination.replaceKey("/D", place);
        return destination;
    }
    if (!destination.isArray() || destination.getArrayNItems() == 0) {
        return destination;
    }
    auto page = destination.getArrayItem(0);
    if (page.isNull()) {
        return null();
    }
    if (page.isInteger()) {
        auto object = lookup_.byNumber(page.getIntValue());
        if (object.isNull()) {
            return object;
        }
        destination.setArrayItem(0, object);
    }
    if (lookup_.found) {
        lookup_.found(destination);
    }
    return destination;
}

QPDFObjectHandle Destinations::revisedAction(const QPDFObjectHandle& action) {
    return revisedAction(action, 0);
}

QPDFObjectHandle Destinations::revisedAction(QPDFObjectHandle action, int depth) {
    if (!action.isDictionary() || depth > chainLimit) {
        return action;
    }
    if (action.isIndirect()) {
        // Found again on its own chain it stands for itself.
        if (const auto [known, isNew] = actions_.try_emplace(action.getObjGen(), action); !isNew) {
            return known->second;
        }
    }
    auto result = action;
    if (action.hasKey("/Next")) {
        replaceOrRemove(action, "/Next", revisedNext(action.getKey("/Next"), depth + 1));
    }
    if (action.getKey("/S").isNameAndEquals("/GoTo")) {
        auto place = revised(action.getKey("/D"));
        if (place.isNull()) {
            auto next = action.getKey("/Next");
            result = next.isArray() ? chained(next.getArrayAsVector()) : next.isDictionary() ? next : null();
        } else {
            action.replaceKey("/D", place);
        }
    }
    if (action.isIndirect()) {
        actions_[action.getObjGen()] = result;
    }
    return result;
}

QPDFObjectHandle Destinations::revisedNext(QPDFObjectHandle next, int depth) {
    if (!next.isArray()) {
        return revisedAction(next, depth);
    }
    auto left = QPDFObjectHandle::newArray();
    for (auto& action : next.getArrayAsVector()) {
        if (auto revised = revisedAction(action, depth); revised.isDictionary()) {
            left.appendItem(revised);
        }
    }
    return left.getArrayNItems() > 0 ? left : null();
}

void Destinations::reviseHolder(QPDFObjectHandle holder) {
    if (holder.hasKey("/Dest")) {
        replaceOrRemove(holder, "/Dest", revised(holder.getKey("/Dest")));
    }
    for (const char* key : {"/A", "/PA"}) {
        if (holder.hasKey(key)) {
            replaceOrRemove(holder, key, revisedAction(holder.getKey(key)));
        }
    }
    if (auto additional = holder.getKey("/AA"); additional.isDictionary()) {
        for (const auto& trigger : additional.getKeys()) {
            replaceOrRemove(additional, trigger, revisedAction(additional.getKey(trigger)));
        }
    }
}

} // namespace orvex
