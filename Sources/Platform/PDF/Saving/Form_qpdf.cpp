#include "Platform/PDF/Saving/Form_p.h"

#include "Platform/PDF/Saving/FreeNames_p.h"
#include "Platform/PDF/Saving/NamedMerge_p.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace orvex {

namespace {

constexpr std::string_view delimiters("\0\t\n\f\r ()<>[]{}/%", 16);

/// A default appearance with its names changed.
template <typename NewName> std::string renamed(const std::string& appearance, const NewName& newName) {
    std::string result;
    for (std::size_t i = 0; i < appearance.size();) {
        std::size_t end = i + 1;
        if (appearance[i] == '/') {
            end = std::min(appearance.find_first_of(delimiters, i + 1), appearance.size());
            result += newName(appearance.substr(i, end - i));
        } else {
            result += appearance[i];
        }
        i = end;
    }
    return result;
}

/// Actions name fields, the topmost one first: "address.street". What they name follows new names of topmost fields.
class ActionFields {
public:
    explicit ActionFields(const std::map<std::string, std::string>& newNames) : newNames_(newNames) {}

    void rename(const PageImport& import) {
        for (const auto& holder : import.copies()) {
            reviseHolder(holder);
        }
        for (const auto& [index, page] : import.pages()) {
            reviseHolder(page);
        }
    }

private:
    void reviseHolder(QPDFObjectHandle holder) {
        waiting_.push_back(holder.getKey("/A"));
        if (auto additional = holder.getKey("/AA"); additional.isDictionary()) {
            for (const auto& trigger : additional.getKeys()) {
                waiting_.push_back(additional.getKey(trigger));
            }
        }
        while (!waiting_.empty()) {
            const auto action = waiting_.back();
            waiting_.pop_back();
            revise(action);
        }
    }

    void revise(QPDFObjectHandle action) {
        if (action.isArray()) { // actions that follow another one
            const auto actions = action.getArrayAsVector();
            waiting_.insert(waiting_.end(), actions.begin(), actions.end());
            return;
        }
        if (!action.isDictionary() || (action.isIndirect() && !seen_.insert(action.getObjGen()).second)) {
            return;
        }
        auto kind = action.getKey("/S");
        if (kind.isNameAndEquals("/Hide")) {
            renameIn(action, "/T");
        } else if (kind.isNameAndEquals("/ResetForm") || kind.isNameAndEquals("/SubmitForm")) {
            renameIn(action, "/Fields");
        }
        waiting_.push_back(action.getKey("/Next"));
    }

    void renameIn(QPDFObjectHandle action, const char* key) const {
        if (action.hasKey(key)) {
            action.replaceKey(key, renamed(action.getKey(key)));
        }
    }

    /// A name, a field or a list of either.
    QPDFObjectHandle renamed(QPDFObjectHandle fields) const {
        if (fields.isArray()) {
            auto all = QPDFObjectHandle::newArray();
            for (auto& field : fields.getArrayAsVector()) {
                all.appendItem(field.isString() ? renamed(field) : field);
            }
            return all;
        }
        if (!fields.isString()) {
            return fields;
        }
        const auto name = fields.getUTF8Value();
        const auto top = name.substr(0, name.find('.'));
        const auto changed = newNames_.find(top);
        return changed == newNames_.end()
                   ? fields
                   : QPDFObjectHandle::newUnicodeString(changed->second + name.substr(top.size()));
    }

    const std::map<std::string, std::string>& newNames_;
    std::vector<QPDFObjectHandle> waiting_;
    std::set<QPDFObjGen> seen_;
};

class FormMerger {
public:
    explicit FormMerger(Composition& document) : document_(document) {}

    void merge(PageImport& import) {
        auto from = import.from().copier.source()->pdf().getRoot().getKey("/AcroForm");
        if (import.fields().empty() || !from.isDictionary()) {
            return;
        }
        prepare(from);
        import.enter();
        addDefaults(import, from);
        bringFonts(import, from);
        std::map<std::string, std::string> newNames;
        for (auto [field, unused] : import.fields()) {
            giveFreeName(field, newNames);
            fields_.appendItem(field);
        }
        if (!newNames.empty()) {
            ActionFields(newNames).rename(import);
        }
        bringCalculationOrder(import, from);
        if (auto need = from.getKey("/NeedAppearances"); need.isBool() && need.getBoolValue()) {
            form_.replaceKey("/NeedAppearances", QPDFObjectHandle::newBool(true));
        }
    }

private:
    void prepare(QPDFObjectHandle from) {
        if (form_.isInitialized()) {
            return;
        }
        auto root = document_.target.getRoot();
        if (!root.getKey("/AcroForm").isDictionary()) {
            root.replaceKey("/AcroForm", document_.target.makeIndirectObject(QPDFObjectHandle::newDictionary()));
            if (auto appearance = from.getKey("/DA"); appearance.isString()) {
                root.getKey("/AcroForm").replaceKey("/DA", appearance.unsafeShallowCopy());
            }
        }
        form_ = root.getKey("/AcroForm");
        fields_ = ownArray(form_, "/Fields");
        fonts_ = ownDictionary(ownDictionary(form_, "/DR"), "/Font");
        for (auto& field : fields_.getArrayAsVector()) {
            if (field.isDictionary() && field.getKey("/T").isString()) {
                names_.take(field.getKey("/T").getUTF8Value());
            }
        }
    }

    /// What the fields had from their own form they would now have from this one.
    void addDefaults(const PageImport& import, QPDFObjectHandle from) {
        for (const char* key : {"/DA", "/Q"}) {
            auto value = from.getKey(key);
            if (!value.isString() && !value.isInteger()) {
                continue;
            }
            for (auto [field, unused] : import.fields()) {
                if (!field.hasKey(key)) {
                    field.replaceKey(key, value.unsafeShallowCopy());
                }
            }
        }
    }

    void bringFonts(PageImport& import, QPDFObjectHandle from) {
        auto resources = from.getKey("/DR");
        auto fonts = resources.isDictionary() ? resources.getKey("/Font") : QPDFObjectHandle::newNull();
        auto& merge = fontMerges_.try_emplace(&import.from(), import.from().copier, fonts, fonts_).first->second;
        for (auto holder : import.copies()) {
            if (auto appearance = holder.getKey("/DA"); appearance.isString()) {
                const std::string text = appearance.getStringValue();
                const std::string changed = renamed(text, [&](const std::string& name) { return merge.bring(name); });
                if (changed != text) {
                    holder.replaceKey("/DA", QPDFObjectHandle::newString(changed));
                }
            }
        }
    }

    void giveFreeName(QPDFObjectHandle field, std::map<std::string, std::string>& newNames) {
        if (!field.getKey("/T").isString()) {
            return;
        }
        const std::string name = field.getKey("/T").getUTF8Value();
        const std::string unique = names_.takeFree(name);
        if (unique != name) {
            field.replaceKey("/T", QPDFObjectHandle::newUnicodeString(unique));
            newNames.try_emplace(name, unique);
        }
    }

    void bringCalculationOrder(const PageImport& import, QPDFObjectHandle from) {
        auto order = from.getKey("/CO");
        if (!order.isArray()) {
            return;
        }
        for (const auto& field : order.getArrayAsVector()) {
            if (auto copy = import.from().copier.known(field); copy.isDictionary()) {
                if (!order_.isInitialized()) {
                    order_ = ownArray(form_, "/CO");
                }
                order_.appendItem(copy);
            }
        }
    }

    Composition& document_;
    QPDFObjectHandle form_;
    QPDFObjectHandle fields_;
    QPDFObjectHandle fonts_;
    QPDFObjectHandle order_;
    FreeNames names_;
    std::map<ImportSource*, NamedMerge> fontMerges_;
};

} // namespace

void mergeForms(Composition& document) {
    FormMerger merger(document);
    for (auto& import : document.imports) {
        merger.merge(*import);
    }
}

} // namespace orvex
