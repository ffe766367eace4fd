#include "Platform/PDF/Saving/WholeDocuments_p.h"

#include "Platform/PDF/Saving/FreeNames_p.h"
#include "Platform/PDF/Saving/NamedMerge_p.h"
#include "Platform/PDF/Saving/Trees_p.h"

#include <algorithm>
#include <deque>
#include <set>

namespace orvex {

namespace {

using Scope = ObjectCopier::Scope;

bool isWhole(const PageImport& import) {
    const auto& copier = import.from().copier;
    return !copier.sameFile() && static_cast<int>(import.pages().size()) == copier.source()->pageCount();
}

QPDFObjectHandle sourceRoot(const PageImport& import) {
    return import.from().copier.source()->pdf().getRoot();
}

class OutlineImport {
public:
    OutlineImport(PageImport& import, QPDFObjectHandle outline) : import_(import), outline_(outline) {}

    /// The copied items of the topmost level, tied to each other.
    std::vector<QPDFObjectHandle> bring() {
        import_.enter();
        auto tops = copyLevel(sourceRoot(import_).getKey("/Outlines"), outline_);
        while (!waiting_.empty()) {
            auto [from, to] = waiting_.front();
            waiting_.pop_front();
            if (const auto kids = copyLevel(from, to); !kids.empty()) {
                to.replaceKey("/First", kids.front());
                to.replaceKey("/Last", kids.back());
            }
        }
        import_.from().copier.drain();
        for (auto& item : items_) {
            import_.destinations().reviseHolder(item);
        }
        return tops;
    }

private:
    std::vector<QPDFObjectHandle> copyLevel(QPDFObjectHandle from, const QPDFObjectHandle& parent) {
        std::vector<QPDFObjectHandle> level;
        auto item = from.isDictionary() ? from.getKey("/First") : QPDFObjectHandle::newNull();
        while (item.isDictionary() && item.isIndirect() && seen_.insert(item.getObjGen()).second) {
            auto copy = copyItem(item);
            copy.replaceKey("/Parent", parent);
            if (!level.empty()) {
                copy.replaceKey("/Prev", level.back());
                level.back().replaceKey("/Next", copy);
            }
            level.push_back(copy);
            waiting_.emplace_back(item, copy);
            item = item.getKey("/Next");
        }
        return level;
    }

    QPDFObjectHandle copyItem(QPDFObjectHandle item) {
        auto& copier = import_.from().copier;
        auto copy = copier.target().makeIndirectObject(QPDFObjectHandle::newDictionary());
        for (const char* key : {"/Title", "/Dest", "/A", "/C", "/F", "/Count"}) {
            if (item.hasKey(key)) {
                copy.replaceKey(key, copier.copy(item.getKey(key), Scope::own));
            }
        }
        items_.push_back(copy);
        return copy;
    }

    PageImport& import_;
    QPDFObjectHandle outline_;
    std::set<QPDFObjGen> seen_;
    std::vector<QPDFObjectHandle> items_;
    std::deque<std::pair<QPDFObjectHandle, QPDFObjectHandle>> waiting_;
};

/// The last item that can be reached; the outline itself when it has none.
QPDFObjectHandle lastItem(QPDFObjectHandle outline) {
    std::set<QPDFObjGen> seen;
    auto last = outline;
    auto item = outline.getKey("/First");
    while (item.isDictionary() && item.isIndirect() && seen.insert(item.getObjGen()).second) {
        last = item;
        item = item.getKey("/Next");
    }
    return last;
}

/// Items that show when an outline is opened: its own, and those below open ones.
long long shownItems(const std::vector<QPDFObjectHandle>& items) {
    long long shown = 0;
    for (auto item : items) {
        auto count = item.getKey("/Count");
        const long long below = count.isInteger() ? count.getIntValue() : 0;
        shown += 1 + std::clamp(below, 0LL, 1'000'000LL);
    }
    return shown;
}

void append(QPDFObjectHandle outline, const std::vector<QPDFObjectHandle>& items) {
    auto last = lastItem(outline);
    if (last.getObjGen() == outline.getObjGen()) {
        outline.replaceKey("/First", items.front());
    } else {
        last.replaceKey("/Next", items.front());
        QPDFObjectHandle(items.front()).replaceKey("/Prev", last);
    }
    outline.replaceKey("/Last", items.back());
    auto count = outline.getKey("/Count");
    const long long before = count.isInteger() ? std::clamp(count.getIntValue(), 0LL, 1'000'000'000LL) : 0;
    outline.replaceKey("/Count", QPDFObjectHandle::newInteger(before + shownItems(items)));
}

} // namespace

void bringOutlines(Composition& document) {
    auto root = document.target.getRoot();
    for (auto& import : document.imports) {
        auto from = sourceRoot(*import).getKey("/Outlines");
        if (!isWhole(*import) || !from.isDictionary() || !from.getKey("/First").isDictionary()) {
            continue;
        }
        if (!root.getKey("/Outlines").isDictionary() || !root.getKey("/Outlines").isIndirect()) {
            root.replaceKey("/Outlines",
                            document.target.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Outlines >>")));
        }
        auto outline = root.getKey("/Outlines");
        if (const auto items = OutlineImport(*import, outline).bring(); !items.empty()) {
            append(outline, items);
        }
    }
}

void bringAttachments(Composition& document) {
    NameEntries files;
    FreeNames taken;
    std::set<ImportSource*> done;
    auto root = document.target.getRoot();
    auto names = root.getKey("/Names");
    if (names.isDictionary()) {
        files = readNameTree(names.getKey("/EmbeddedFiles"));
    }
    for (const auto& [name, file] : files) {
        taken.take(name);
    }
    const std::size_t before = files.size();
    for (auto& import : document.imports) {
        auto from = sourceRoot(*import);
        auto fromNames = from.getKey("/Names");
        if (!isWhole(*import) || !fromNames.isDictionary() || !done.insert(&import->from()).second) {
            continue;
        }
        import->enter();
        auto& copier = import->from().copier;
        for (const auto& [name, file] : readNameTree(fromNames.getKey("/EmbeddedFiles"))) {
            files.emplace_back(taken.takeFree(name), copier.copy(file, Scope::shared));
        }
        copier.drain();
        if (auto associated = from.getKey("/AF"); associated.isArray()) {
            for (const auto& file : associated.getArrayAsVector()) {
                if (auto copy = copier.known(file); file.isIndirect() && copy.isDictionary()) {
                    ownArray(root, "/AF").appendItem(copy);
                }
            }
        }
    }
    if (files.size() > before) {
        ownDictionary(root, "/Names").replaceKey("/EmbeddedFiles", makeNameTree(document.target, std::move(files)));
    }
}

} // namespace orvex
