#include "Platform/PDF/Saving/PageLabels_p.h"

#include "Platform/PDF/Saving/Trees_p.h"

#include <map>
#include <string>

namespace orvex {

namespace {

constexpr long long numberLimit = 1'000'000'000;

struct Label {
    std::string style; ///< a name, or empty: no number
    std::string prefix;
    long long number = 1;

    [[nodiscard]] Label next() const { return {style, prefix, number + 1}; }
    [[nodiscard]] bool looksLike(const Label& other) const {
        return style == other.style && prefix == other.prefix && (style.empty() || number == other.number);
    }
};

class FileLabels {
public:
    explicit FileLabels(QPDFObjectHandle root) {
        for (const auto& [first, label] : readNumberTree(root.getKey("/PageLabels"))) {
            if (first >= 0 && QPDFObjectHandle(label).isDictionary()) {
                ranges_.try_emplace(first, label);
            }
        }
    }

    [[nodiscard]] bool any() const { return !ranges_.empty(); }

    [[nodiscard]] Label of(long long page) const {
        auto range = ranges_.upper_bound(page);
        if (range == ranges_.begin()) {
            return {"/D", {}, page + 1};
        }
        --range;
        auto dictionary = range->second;
        auto style = dictionary.getKey("/S");
        auto prefix = dictionary.getKey("/P");
        auto start = dictionary.getKey("/St");
        const bool usable = start.isInteger() && start.getIntValue() >= 1 && start.getIntValue() <= numberLimit;
        return {style.isName() ? style.getName() : std::string(),
                prefix.isString() ? prefix.getStringValue() : std::string(),
                (usable ? start.getIntValue() : 1) + (page - range->first)};
    }

private:
    std::map<long long, QPDFObjectHandle> ranges_;
};

QPDFObjectHandle dictionary(const Label& label) {
    auto result = QPDFObjectHandle::newDictionary();
    if (!label.style.empty()) {
        result.replaceKey("/S", QPDFObjectHandle::newName(label.style));
    }
    if (!label.prefix.empty()) {
        result.replaceKey("/P", QPDFObjectHandle::newString(label.prefix));
    }
    if (label.number != 1 && !label.style.empty()) {
        result.replaceKey("/St", QPDFObjectHandle::newInteger(label.number));
    }
    return result;
}

std::map<PDFSource*, FileLabels> labelsOfFiles(const Composition& document) {
    std::map<PDFSource*, FileLabels> files;
    for (const auto& page : document.pages) {
        if (page.source) {
            files.try_emplace(page.source.get(),
                              page.source == document.base ? document.target.getRoot() : page.source->pdf().getRoot());
        }
    }
    return files;
}

} // namespace

void carryPageLabels(Composition& document) {
    const auto files = labelsOfFiles(document);
    bool labelled = false;
    for (const auto& [source, labels] : files) {
        labelled = labelled || (labels.any() && (!document.base || source == document.base.get()));
    }
    if (!labelled && !(document.base && FileLabels(document.target.getRoot()).any())) {
        return;
    }
    NumberEntries ranges;
    Label expected{"/D", {}, 1};
    for (std::size_t i = 0; i < document.pages.size(); ++i) {
        const auto& page = document.pages[i];
        const auto file = files.find(page.source.get());
        const bool has = file != files.end() && file->second.any();
        const Label label = has ? file->second.of(page.index) : expected;
        if (i == 0 || !label.looksLike(expected)) {
            ranges.emplace_back(static_cast<long long>(i), dictionary(label));
        }
        expected = label.next();
    }
    document.target.getRoot().replaceKey("/PageLabels", makeNumberTree(document.target, std::move(ranges)));
}

} // namespace orvex
