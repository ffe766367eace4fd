#include "Platform/PDF/Loading/PageList_p.h"

#include <qpdf/QPDFExc.hh>

#include <memory>
#include <set>
#include <string>
#include <utility>

namespace orvex {

namespace {

/// Above it, looking up an attribute gives up at another level than going down would.
constexpr std::size_t deepestTurn = 60;

[[noreturn]] void refuseDepth() {
    throw QPDFExc(qpdf_e_pages, "input", "", 0,
                  "the page tree has more than " + std::to_string(deepestPageTree) + " levels");
}

/// Goes down the tree in the file's text, and gives up at the first thing that is not as it should be.
class TextWalk {
public:
    TextWalk(QPDF& pdf, const Bytes& file, const ObjectTable& table)
        : pdf_(pdf), table_(table), objects_(file, table), seen_(table.size()) {}

    /// False when the tree is not plain.
    bool run(QPDFObjGen root, PageList& list) {
        if (!visit(root) || hasEntry(object_.entries, "/Parent") || !enter(root, ownTurn(0))) {
            return false;
        }
        while (!levels_.empty()) {
            Level& level = levels_.back();
            const auto kid = level.kids.value();
            if (kid) {
                const auto id = referenceOf(&*kid);
                if (!id || !visit(*id) || !take(*id, list)) {
                    return false;
                }
            } else if (level.kids.rest() != "]") {
                return false;
            } else {
                levels_.pop_back();
            }
        }
        return true;
    }

private:
    struct Level {
        QPDFObjGen node;
        TextScanner kids;
        std::shared_ptr<const void> owner; ///< of their text
        unsigned char turn;
    };

    /// Reads an object of the tree that was not there yet.
    bool visit(QPDFObjGen id) {
        const auto position = table_.position(id);
        if (!position || seen_[*position]) {
            return false;
        }
        seen_[*position] = true;
        return objects_.read(pdf_, id, object_) && object_.data == 0 && !objects_.wastesTime();
    }

    /// A page goes into the list; of a node the kids are next.
    bool take(QPDFObjGen id, PageList& list) {
        const Level& parent = levels_.back();
        const bool knowsParent = referenceOf(findEntry(object_.entries, "/Parent")) == parent.node;
        const unsigned char turn = ownTurn(knowsParent ? parent.turn : PageList::unknownTurn);
        if (hasEntry(object_.entries, "/Kids")) {
            return enter(id, turn);
        }
        list.ids.push_back(id);
        list.turns.push_back(turn);
        return isOfType("/Page");
    }

    bool enter(QPDFObjGen id, unsigned char turn) {
        const auto* kids = findEntry(object_.entries, "/Kids");
        if (!isOfType("/Pages") || kids == nullptr || kids->kind != TextKind::array) {
            return false;
        }
        if (levels_.size() == deepestPageTree) {
            refuseDepth();
        }
        levels_.push_back({id, TextScanner(kids->text, 1), object_.owner,
                           levels_.size() < deepestTurn ? turn : PageList::unknownTurn});
        return true;
    }

    bool isOfType(std::string_view type) const {
        const auto* value = findEntry(object_.entries, "/Type");
        return value != nullptr && value->text == type;
    }

    unsigned char ownTurn(unsigned char inherited) const {
        if (!hasEntry(object_.entries, "/Rotate")) {
            return inherited;
        }
        const auto degrees = integerOf(findEntry(object_.entries, "/Rotate"));
        if (!degrees) {
            return PageList::unknownTurn;
        }
        return static_cast<unsigned char>(*degrees % 90 == 0 ? (*degrees / 90 % 4 + 4) % 4 : 0);
    }

    QPDF& pdf_;
    const ObjectTable& table_;
    StoredObjects objects_;
    StoredObject object_;
    std::vector<bool> seen_; ///< by position in the table
    std::vector<Level> levels_;
};

/// Where qpdf begins: files have been seen whose catalogue names a node, or a page, instead of the root.
QPDFObjectHandle topOf(QPDFObjectHandle node) {
    std::set<QPDFObjGen> seen;
    while (node.isDictionary() && node.hasKey("/Parent") && seen.insert(node.getObjGen()).second) {
        node = node.getKey("/Parent");
    }
    return node;
}

/// So that qpdf may go down as deep as it goes. Where it would find a loop, this stops.
void requireShallowTree(const QPDFObjectHandle& root) {
    std::set<QPDFObjGen> seen;
    std::vector<std::pair<QPDFObjectHandle, int>> levels{{topOf(root), 0}}; // a node, and which of its kids is next
    while (!levels.empty()) {
        auto& [node, next] = levels.back();
        auto kids = node.isDictionary() ? node.getKey("/Kids") : QPDFObjectHandle::newNull();
        if (!kids.isArray() || next == kids.getArrayNItems()) {
            levels.pop_back();
            continue;
        }
        auto kid = kids.getArrayItem(next++);
        if (!kid.isDictionary() || !kid.hasKey("/Kids")) {
            continue;
        }
        if (kid.isIndirect() && !seen.insert(kid.getObjGen()).second) {
            return;
        }
        if (levels.size() == deepestPageTree) {
            refuseDepth();
        }
        levels.emplace_back(kid, 0);
    }
}

} // namespace

PageList listPages(QPDF& pdf, const Bytes& file, const ObjectTable& table) {
    PageList list;
    auto root = pdf.getRoot().getKey("/Pages");
    const auto warnings = pdf.numWarnings();
    if (root.isIndirect() && TextWalk(pdf, file, table).run(root.getObjGen(), list) && pdf.numWarnings() == warnings) {
        list.ids.shrink_to_fit();
        return list;
    }
    requireShallowTree(root);
    list = {{}, {}, true};
    for (const auto& page : pdf.getAllPages()) {
        list.ids.push_back(page.getObjGen());
    }
    list.turns.assign(list.ids.size(), PageList::unknownTurn);
    return list;
}

} // namespace orvex
