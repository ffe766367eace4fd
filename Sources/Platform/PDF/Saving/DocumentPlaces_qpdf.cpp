#include "Platform/PDF/Saving/DocumentPlaces_p.h"

#include "Platform/PDF/Saving/Destinations_p.h"
#include "Platform/PDF/Saving/Trees_p.h"

#include <set>
#include <string>

namespace orvex {

namespace {

class PlaceReviser {
public:
    PlaceReviser(QPDF& target, const std::vector<QPDFObjectHandle>& numbered,
                 std::function<void(QPDFObjectHandle)> found = {})
        : target_(target), root_(target.getRoot()), numbered_(numbered),
          destinations_({[this](const QPDFObjectHandle& name) { return leftOf(name); },
                         [this](long long number) { return pageNumbered(number); }, std::move(found)}) {}

    void all(const std::vector<QPDFObjectHandle>& pages) {
        names();
        catalogue();
        outline();
        for (const auto& page : pages) {
            this->page(page);
        }
    }

    void names() {
        if (auto dictionary = root_.getKey("/Dests"); dictionary.isDictionary()) {
            for (const auto& key : dictionary.getKeys()) {
                if (isDead(dictionary.getKey(key))) {
                    deadNames_.insert(key.substr(1));
                    dictionary.removeKey(key);
                }
            }
        }
        auto names = root_.getKey("/Names");
        if (!names.isDictionary() || !names.hasKey("/Dests")) {
            return;
        }
        NameEntries left;
        const auto entries = readNameTree(names.getKey("/Dests"));
        for (const auto& entry : entries) {
            if (!isDead(entry.second)) {
                left.push_back(entry);
            } else {
                deadNames_.insert(entry.first);
            }
        }
        if (left.size() != entries.size()) {
            names.replaceKey("/Dests", makeNameTree(target_, std::move(left)));
        }
    }

    void catalogue() {
        if (root_.hasKey("/OpenAction")) {
            auto open = root_.getKey("/OpenAction");
            auto left = open.isDictionary() ? destinations_.revisedAction(open) : destinations_.revised(open);
            if (left.isNull()) {
                root_.removeKey("/OpenAction");
            } else {
                root_.replaceKey("/OpenAction", left);
            }
        }
        destinations_.reviseHolder(root_);
    }

    void outline() {
        std::vector<QPDFObjectHandle> waiting{root_.getKey("/Outlines")};
        std::set<QPDFObjGen> seen;
        while (!waiting.empty()) {
            auto item = waiting.back();
            waiting.pop_back();
            if (!item.isDictionary() || !item.isIndirect() || !seen.insert(item.getObjGen()).second) {
                continue;
            }
            destinations_.reviseHolder(item);
            waiting.push_back(item.getKey("/Next"));
            waiting.push_back(item.getKey("/First"));
        }
    }

    void page(QPDFObjectHandle page) {
        destinations_.reviseHolder(page);
        if (auto annotations = page.getKey("/Annots"); annotations.isArray()) {
            for (auto& annotation : annotations.getArrayAsVector()) {
                if (annotation.isDictionary()) {
                    destinations_.reviseHolder(annotation);
                }
            }
        }
    }

private:
    /// A destination by name stays one, unless the name led to a page that is gone.
    QPDFObjectHandle leftOf(QPDFObjectHandle name) const {
        const std::string key = name.isName() ? name.getName().substr(1) : name.getStringValue();
        return deadNames_.contains(key) ? QPDFObjectHandle::newNull() : name;
    }

    QPDFObjectHandle pageNumbered(long long number) const {
        const bool exists = number >= 0 && number < static_cast<long long>(numbered_.size());
        return exists ? numbered_[static_cast<std::size_t>(number)] : QPDFObjectHandle::newNull();
    }

    bool isDead(const QPDFObjectHandle& destination) { return destinations_.revised(destination).isNull(); }

    QPDF& target_;
    QPDFObjectHandle root_;
    const std::vector<QPDFObjectHandle>& numbered_;
    std::set<std::string> deadNames_;
    Destinations destinations_;
};

} // namespace

void revisePlaces(QPDF& target, const std::vector<QPDFObjectHandle>& numbered,
                  const std::vector<QPDFObjectHandle>& kept) {
    PlaceReviser(target, numbered).all(kept);
}

void changePlaces(QPDF& target, const std::vector<QPDFObjectHandle>& numbered,
                  const std::vector<QPDFObjectHandle>& pages,
                  const std::function<void(QPDFObjectHandle destination)>& found) {
    // Several may share one: while it is under way a changed one names no page.
    std::vector<std::pair<QPDFObjectHandle, QPDFObjectHandle>> changed;
    PlaceReviser(target, numbered, [&](QPDFObjectHandle destination) {
        if (auto page = destination.getArrayItem(0); page.isDictionary()) {
            found(destination);
            changed.emplace_back(destination, page);
            destination.setArrayItem(0, QPDFObjectHandle::newName("/Changed"));
        }
    }).all(pages);
    for (auto& [destination, page] : changed) {
        destination.setArrayItem(0, page);
    }
}

} // namespace orvex
