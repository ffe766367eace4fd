#include "Platform/PDF/Saving/StructureTree_p.h"

#include "Platform/PDF/Saving/FreeNames_p.h"
#include "Platform/PDF/Saving/NamedMerge_p.h"
#include "Platform/PDF/Saving/Trees_p.h"

#include <algorithm>

namespace orvex {

namespace {

using Scope = ObjectCopier::Scope;

constexpr long long keyLimit = 1'000'000'000;
constexpr int roleChainLimit = 10;

std::vector<QPDFObjectHandle> oneOrMore(QPDFObjectHandle value) {
    if (value.isArray()) {
        return value.getArrayAsVector();
    }
    return value.isNull() ? std::vector<QPDFObjectHandle>{} : std::vector<QPDFObjectHandle>{value};
}

bool isReference(QPDFObjectHandle kid) {
    return kid.isDictionaryOfType("/MCR") || kid.isDictionaryOfType("/OBJR");
}

/// What is kept for all imports of a document.
struct Graft {
    QPDFObjectHandle root;
    NumberEntries parents;
    NameEntries ids;
    FreeNames takenIds;
    std::set<QPDFObjGen> namespaces;
    std::map<ImportSource*, NamedMerge> roles;
    std::map<ImportSource*, NamedMerge> classes;
};

/// The elements that the pages of one import show.
class ImportedElements {
public:
    ImportedElements(PageImport& import, Graft& graft)
        : import_(import), copier_(import.from().copier), graft_(graft),
          sourceRoot_(copier_.source()->pdf().getRoot().getKey("/StructTreeRoot")),
          roles_(merge(graft.roles, "/RoleMap")), classes_(merge(graft.classes, "/ClassMap")) {}

    void bring() {
        import_.enter();
        readTags();
        for (const auto& [old, key] : import_.tagKeys()) {
            for (const auto& element : elementsAt(old)) {
                keepWithAncestors(element);
            }
        }
        for (std::size_t i = 0; i < kept_.size(); ++i) { // filling one may keep another, an empty cell
            fill(kept_[i].first, kept_[i].second);
        }
        copier_.drain();
        if (!renamedIds_.empty()) {
            for (auto& [from, to] : kept_) {
                renameHeaders(to);
            }
        }
        for (const auto& [old, key] : import_.tagKeys()) {
            addParents(old, key);
        }
        addTops();
    }

private:
    NamedMerge& merge(std::map<ImportSource*, NamedMerge>& merges, const char* key) {
        return merges.try_emplace(&import_.from(), copier_, sourceRoot_.getKey(key), ownDictionary(graft_.root, key))
            .first->second;
    }

    void readTags() {
        auto& tags = import_.from().tags;
        if (!tags) {
            tags.emplace();
            for (const auto& [key, value] : readNumberTree(sourceRoot_.getKey("/ParentTree"))) {
                tags->try_emplace(key, value);
            }
        }
    }

    [[nodiscard]] std::vector<QPDFObjectHandle> elementsAt(long long key) const {
        const auto found = import_.from().tags->find(key);
        return found != import_.from().tags->end() ? oneOrMore(found->second) : std::vector<QPDFObjectHandle>{};
    }

    bool isRoot(const QPDFObjectHandle& element) const { return element.getObjGen() == sourceRoot_.getObjGen(); }

    bool keep(const QPDFObjectHandle& element) {
        const bool usable = QPDFObjectHandle(element).isDictionary() && element.isIndirect() && !isRoot(element);
        if (!usable || copier_.isOwn(element)) {
            return false;
        }
        auto copy = copier_.target().makeIndirectObject(QPDFObjectHandle::newDictionary());
        copier_.place(element, copy);
        kept_.emplace_back(element, copy);
        return true;
    }

    void keepWithAncestors(QPDFObjectHandle element) {
        while (keep(element)) {
            auto copy = kept_.back().second;
            element = element.getKey("/P");
            if (isRoot(element)) {
                tops_.push_back(copy);
            }
        }
    }

    void fill(QPDFObjectHandle from, QPDFObjectHandle to) {
        static const std::set<std::string> apart{"/P", "/K", "/Pg", "/Ref", "/S", "/C", "/ID", "/NS"};
        for (const auto& key : from.getKeys()) {
            if (!apart.contains(key)) {
                to.replaceKey(key, copier_.copy(from.getKey(key), Scope::own));
            }
        }
        auto parent = from.getKey("/P");
        to.replaceKey("/P", isRoot(parent) ? graft_.root : own(parent));
        to.replaceKey("/Pg", own(from.getKey("/Pg")));
        fillNames(from, to);
        auto kids = QPDFObjectHandle::newArray();
        for (const auto& kid : oneOrMore(from.getKey("/K"))) {
            if (auto copy = copyOfKid(from, kid); !copy.isNull()) {
                kids.appendItem(copy);
            }
        }
        if (kids.getArrayNItems() > 0) {
            to.replaceKey("/K", kids);
        }
    }

    void fillNames(QPDFObjectHandle from, QPDFObjectHandle to) {
        if (auto role = from.getKey("/S"); role.isName()) {
            to.replaceKey("/S", QPDFObjectHandle::newName(broughtRole(role.getName())));
        }
        if (auto given = oneOrMore(from.getKey("/C")); !given.empty()) {
            auto names = QPDFObjectHandle::newArray();
            for (auto& name : given) {
                names.appendItem(name.isName() ? QPDFObjectHandle::newName(classes_.bring(name.getName()))
                                               : copier_.copy(name, Scope::own));
            }
            to.replaceKey("/C", names);
        }
        if (auto space = from.getKey("/NS"); space.isDictionary()) {
            auto copy = copier_.copy(space, Scope::shared);
            to.replaceKey("/NS", copy);
            if (copy.isIndirect() && graft_.namespaces.insert(copy.getObjGen()).second) {
                ownArray(graft_.root, "/Namespaces").appendItem(copy);
            }
        }
        if (auto id = from.getKey("/ID"); id.isString()) {
            const std::string name = id.getStringValue();
            const std::string free = graft_.takenIds.takeFree(name);
            graft_.ids.emplace_back(free, to);
            to.replaceKey("/ID", QPDFObjectHandle::newString(free));
            if (free != name) {
                renamedIds_.emplace(name, free);
            }
        }
    }

    /// A role and those that it stands for.
    std::string broughtRole(const std::string& role) {
        std::string result = roles_.bring(role);
        auto map = sourceRoot_.getKey("/RoleMap");
        std::string name = role;
        for (int i = 0; i < roleChainLimit && map.isDictionary() && map.getKey(name).isName(); ++i) {
            name = map.getKey(name).getName();
            [[maybe_unused]] const std::string next = roles_.bring(name);
        }
        return result;
    }

    [[nodiscard]] QPDFObjectHandle own(const QPDFObjectHandle& object) const {
        return object.isIndirect() && copier_.isOwn(object) ? copier_.known(object) : QPDFObjectHandle::newNull();
    }

    QPDFObjectHandle copyOfKid(QPDFObjectHandle element, QPDFObjectHandle kid) {
        const auto nothing = QPDFObjectHandle::newNull();
        auto page = own(element.getKey("/Pg"));
        if (kid.isInteger()) {
            return page.isNull() ? nothing : kid.unsafeShallowCopy();
        }
        if (!kid.isDictionary()) {
            return nothing;
        }
        if (isReference(kid)) {
            return copyOfReference(kid, page);
        }
        if (auto known = own(kid); !known.isNull()) {
            return known;
        }
        const bool empty = oneOrMore(kid.getKey("/K")).empty() && kid.getKey("/P").getObjGen() == element.getObjGen();
        const bool elsewhere = kid.hasKey("/Pg") && own(kid.getKey("/Pg")).isNull();
        return empty && !elsewhere && keep(kid) ? kept_.back().second : nothing;
    }

    QPDFObjectHandle copyOfReference(QPDFObjectHandle reference, QPDFObjectHandle elementsPage) {
        const auto nothing = QPDFObjectHandle::newNull();
        auto page = reference.hasKey("/Pg") ? own(reference.getKey("/Pg")) : elementsPage;
        auto copy = QPDFObjectHandle::newDictionary();
        copy.replaceKey("/Type", QPDFObjectHandle::newName(reference.getKey("/Type").getName()));
        if (reference.isDictionaryOfType("/OBJR")) {
            auto object = copier_.known(reference.getKey("/Obj"));
            if (object.isNull() || (reference.hasKey("/Pg") && page.isNull())) {
                return nothing;
            }
            copy.replaceKey("/Obj", object);
        } else if (page.isNull() || !reference.getKey("/MCID").isInteger()) {
            return nothing;
        } else {
            copy.replaceKey("/MCID", reference.getKey("/MCID").unsafeShallowCopy());
            if (auto stream = reference.getKey("/Stm"); stream.isStream()) {
                copy.replaceKey("/Stm", copier_.copy(stream, Scope::shared));
            }
        }
        if (reference.hasKey("/Pg")) {
            copy.replaceKey("/Pg", page);
        }
        return copy;
    }

    /// Cells of tables name their headers.
    void renameHeaders(QPDFObjectHandle element) {
        for (auto& attributes : oneOrMore(element.getKey("/A"))) {
            auto headers = attributes.isDictionary() ? attributes.getKey("/Headers") : QPDFObjectHandle::newNull();
            for (int i = 0; headers.isArray() && i < headers.getArrayNItems(); ++i) {
                auto header = headers.getArrayItem(i);
                const auto renamed = header.isString() ? renamedIds_.find(header.getStringValue()) : renamedIds_.end();
                if (renamed != renamedIds_.end()) {
                    headers.setArrayItem(i, QPDFObjectHandle::newString(renamed->second));
                }
            }
        }
    }

    void addParents(long long old, long long key) {
        const auto found = import_.from().tags->find(old);
        if (found == import_.from().tags->end()) {
            return;
        }
        if (!found->second.isArray()) {
            graft_.parents.emplace_back(key, own(found->second));
            return;
        }
        auto elements = QPDFObjectHandle::newArray();
        for (const auto& element : found->second.getArrayAsVector()) {
            elements.appendItem(own(element));
        }
        graft_.parents.emplace_back(key, copier_.target().makeIndirectObject(elements));
    }

    /// In a language of their own the elements say so.
    void addTops() {
        auto language = copier_.source()->pdf().getRoot().getKey("/Lang");
        auto here = copier_.target().getRoot().getKey("/Lang");
        const bool differs =
            language.isString() && !(here.isString() && here.getStringValue() == language.getStringValue());
        auto kids = graft_.root.getKey("/K");
        for (auto& top : tops_) {
            if (differs && !top.hasKey("/Lang")) {
                top.replaceKey("/Lang", language.unsafeShallowCopy());
            }
            kids.appendItem(top);
        }
    }

    PageImport& import_;
    ObjectCopier& copier_;
    Graft& graft_;
    QPDFObjectHandle sourceRoot_;
    NamedMerge& roles_;
    NamedMerge& classes_;
    std::vector<std::pair<QPDFObjectHandle, QPDFObjectHandle>> kept_; ///< elements and their copies
    std::vector<QPDFObjectHandle> tops_;
    std::map<std::string, std::string> renamedIds_;
};

Graft startGraft(QPDF& target) {
    auto catalogue = target.getRoot();
    auto root = catalogue.getKey("/StructTreeRoot");
    if (!root.isDictionary()) {
        root = target.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /StructTreeRoot >>"));
        catalogue.replaceKey("/StructTreeRoot", root);
    }
    auto kids = root.getKey("/K");
    if (!kids.isArray()) {
        root.replaceKey("/K", QPDFObjectHandle::newArray(oneOrMore(kids)));
    } else {
        root.replaceKey("/K", kids.shallowCopy());
    }
    Graft graft{root, readNumberTree(root.getKey("/ParentTree")), readNameTree(root.getKey("/IDTree")), {}, {}, {}, {}};
    for (const auto& [id, element] : graft.ids) {
        graft.takenIds.take(id);
    }
    return graft;
}

bool isTagged(const Composition& document, const PlacedPage& page) {
    auto root = page.source == document.base ? document.target.getRoot() : page.source->pdf().getRoot();
    auto mark = root.getKey("/MarkInfo");
    return mark.isDictionary() && mark.getKey("/Marked").isBool() && mark.getKey("/Marked").getBoolValue();
}

} // namespace

std::optional<long long> firstFreeTagKey(QPDF& target) {
    auto root = target.getRoot().getKey("/StructTreeRoot");
    if (!root.isDictionary()) {
        return std::nullopt;
    }
    long long next = 0;
    for (const auto& [key, value] : readNumberTree(root.getKey("/ParentTree"))) {
        next = std::max(next, std::min(key, keyLimit) + 1);
    }
    if (auto stated = root.getKey("/ParentTreeNextKey"); stated.isInteger()) {
        next = std::max(next, stated.getIntValue());
    }
    return next < keyLimit ? std::optional(next) : std::nullopt;
}

void graftStructure(Composition& document) {
    const auto tagged = [](const auto& import) { return !import->tagKeys().empty(); };
    if (std::ranges::none_of(document.imports, tagged)) {
        return;
    }
    Graft graft = startGraft(document.target);
    for (auto& import : document.imports) {
        if (tagged(import)) {
            ImportedElements(*import, graft).bring();
        }
    }
    graft.root.replaceKey("/ParentTree", makeNumberTree(document.target, graft.parents));
    graft.root.replaceKey("/ParentTreeNextKey", QPDFObjectHandle::newInteger(document.nextTagKey));
    for (const char* key : {"/RoleMap", "/ClassMap"}) {
        if (graft.root.getKey(key).getKeys().empty()) {
            graft.root.removeKey(key);
        }
    }
    if (!graft.ids.empty()) {
        graft.root.replaceKey("/IDTree", makeNameTree(document.target, graft.ids));
    }
    if (!document.base && std::ranges::all_of(document.pages, [&document](const PlacedPage& page) {
            return page.source && isTagged(document, page);
        })) {
        document.target.getRoot().replaceKey("/MarkInfo", QPDFObjectHandle::parse("<< /Marked true >>"));
    }
}

} // namespace orvex
