// A plain model of the manager's edits: a list of pages and records that says what each edit has to do.
#pragma once

#include "EditSequence.h"
#include "ManagerSupport.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace orvex::test {

/// One page as the model knows it.
struct ModelPage {
    OrvexPDFPagePtr page; ///< null: made by the manager; whichever object it is, it has to stay that one
    OrvexPDFPageMeta meta;
};
using ModelPages = std::vector<ModelPage>;

inline bool isSameRecord(const OrvexPDFPageMeta& a, const OrvexPDFPageMeta& b) {
    return a.id == b.id && a.fresh == b.fresh && a.originalPage == b.originalPage &&
           bool(a.originalPageHasText) == bool(b.originalPageHasText) &&
           a.originalPageRotation == b.originalPageRotation && a.originalImage == b.originalImage &&
           a.foundPage == b.foundPage && a.squeeze == b.squeeze && a.rotation == b.rotation &&
           a.textRotation == b.textRotation && a.watermarkText == b.watermarkText &&
           a.thumbnailImage == b.thumbnailImage;
}

/// Makes edits on a manager and on the model, and tells where they part.
class EditRun {
public:
    explicit EditRun(const Bytes& file) {
        manager_->undoManager = std::make_shared<UndoManager>();
        manager_->delegate = host_;
        EXPECT_TRUE(manager_->load(file));
        for (std::int64_t i = 0; i < manager_->pdfDoc->pageCount(); ++i) {
            model_.push_back({manager_->page(i), *manager_->meta(i)});
        }
        (void)manager_->dataRepresentation(); // stamps the creator
    }

    /// What went wrong first; empty when nothing did.
    [[nodiscard]] std::string failureOf(const Edits& edits, bool compareBytes) {
        const auto before = compareBytes ? manager_->dataRepresentation() : std::nullopt;
        for (const auto& edit : edits) {
            if (auto failure = step(edit); !failure.empty()) {
                return failure + " after " + describe({edit});
            }
        }
        const auto after = compareBytes ? manager_->dataRepresentation() : std::nullopt;
        return unwind(before, after);
    }

private:
    std::string unwind(const std::optional<Bytes>& before, const std::optional<Bytes>& after) {
        const auto made = undone_.size();
        while (!undone_.empty()) {
            if (auto failure = step({EditKind::undo, 0, 0, {}}); !failure.empty()) {
                return failure + " while undoing everything";
            }
        }
        if (before && !isSaved(*before)) {
            return "other bytes after undoing everything";
        }
        while (!redone_.empty()) {
            if (auto failure = step({EditKind::redo, 0, 0, {}}); !failure.empty()) {
                return failure + " while redoing everything";
            }
            if (undone_.size() == made && after && !isSaved(*after)) {
                return "other bytes after redoing the edits";
            }
        }
        return {};
    }

    [[nodiscard]] bool isSaved(const Bytes& expected) {
        const auto saved = manager_->dataRepresentation();
        return saved && saved->text() == expected.text();
    }

    std::string step(const Edit& edit) {
        const auto news = host_->news.size();
        std::size_t expectedNews = 0;
        if (edit.kind == EditKind::undo || edit.kind == EditKind::redo) {
            auto& from = edit.kind == EditKind::undo ? undone_ : redone_;
            auto& to = edit.kind == EditKind::undo ? redone_ : undone_;
            expectedNews = from.empty() ? 0 : 1;
            edit.kind == EditKind::undo ? manager_->undoManager->undo() : manager_->undoManager->redo();
            if (!from.empty()) {
                to.push_back(std::exchange(model_, from.back()));
                from.pop_back();
            }
        } else {
            auto before = model_;
            const bool changed = apply(edit);
            expectedNews = changed || tellsAlways(edit.kind) ? 1 : 0;
            if (changed) {
                undone_.push_back(std::move(before));
                redone_.clear();
            }
        }
        if (host_->news.size() - news != expectedNews) {
            return std::to_string(host_->news.size() - news) + " pieces of news";
        }
        return difference();
    }

    /// Batches tell that they ended whether or not anything changed.
    static bool tellsAlways(EditKind kind) {
        return kind == EditKind::move || kind == EditKind::insertDocument || kind == EditKind::batch;
    }

    std::string difference() {
        const auto count = manager_->pdfDoc->pageCount();
        if (count != static_cast<std::int64_t>(model_.size()) || manager_->pagesMeta.size() != model_.size()) {
            return std::to_string(count) + " pages instead of " + std::to_string(model_.size());
        }
        if (manager_->silent != 0 || manager_->undoManager->canUndo() == undone_.empty() ||
            manager_->undoManager->canRedo() == redone_.empty()) {
            return "silence or history";
        }
        for (std::int64_t i = 0; i < count; ++i) {
            auto& expected = model_[static_cast<std::size_t>(i)];
            expected.page = expected.page ? expected.page : manager_->page(i);
            if (manager_->page(i) != expected.page) {
                return "another page at " + std::to_string(i);
            }
            if (!isSameRecord(*manager_->meta(i), expected.meta)) {
                return "another record at " + std::to_string(i);
            }
            if (manager_->pageIndex(expected.meta.id) != firstWith(expected.meta.id)) {
                return "another index for the record at " + std::to_string(i);
            }
            if (expected.page->rotation() != shownRotation(expected)) {
                return "another turn at " + std::to_string(i);
            }
        }
        return {};
    }

    [[nodiscard]] std::int64_t firstWith(const std::string& id) const {
        const auto found = std::ranges::find_if(model_, [&](const auto& page) { return page.meta.id == id; });
        return found - model_.begin();
    }

    /// The fixture's pages have no turn of their own.
    static int shownRotation(const ModelPage& page) { return static_cast<int>((page.meta.rotation % 360 + 360) % 360); }

    /// Whether anything changed that can be undone.
    bool apply(const Edit& edit) {
        const auto count = model_.size();
        const auto gap = edit.a % (count + 3); // sometimes refused
        const auto any = edit.a % (count + 2);
        switch (edit.kind) {
        case EditKind::insertPage:
            return insertPage(pageOfWidth(101 + edit.b % 26), gap);
        case EditKind::insertImage:
            return insertImage(gap, edit.b);
        case EditKind::insertDocument:
            return insertDocument(edit.a % (count + 1), edit.b % 3);
        case EditKind::remove:
            manager_->remove(static_cast<std::int64_t>(any));
            return removeFromModel(any);
        case EditKind::removeByPage:
            manager_->remove(any < count ? model_[any].page : pageOfWidth(101));
            return removeFromModel(any < count ? firstWithPage(model_[any].page) : count);
        case EditKind::replace:
        case EditKind::replaceForced:
            return replace(any, edit);
        case EditKind::move:
            return move(edit);
        case EditKind::rotate:
            return count > 0 && rotate(edit.a % count, edit.b % 2 == 0);
        case EditKind::updateMeta:
            return count > 0 && updateMeta(edit.a % count, edit.b);
        case EditKind::batch:
            return batch(edit);
        case EditKind::undo:
        case EditKind::redo:
            break;
        }
        return false;
    }

    [[nodiscard]] std::size_t firstWithPage(const OrvexPDFPagePtr& page) const {
        const auto found = std::ranges::find_if(model_, [&](const auto& one) { return one.page == page; });
        return static_cast<std::size_t>(found - model_.begin());
    }

    bool insertIntoModel(std::size_t at, ModelPage page) {
        if (at > model_.size()) {
            return false;
        }
        model_.insert(model_.begin() + static_cast<std::ptrdiff_t>(at), std::move(page));
        return true;
    }

    bool removeFromModel(std::size_t at) {
        if (at >= model_.size()) {
            return false;
        }
        model_.erase(model_.begin() + static_cast<std::ptrdiff_t>(at));
        return true;
    }

    bool insertPage(const OrvexPDFPagePtr& page, std::size_t at) {
        OrvexPDFPageMeta meta;
        manager_->insert(page, static_cast<std::int64_t>(at), meta);
        meta.originalPage = page;
        return insertIntoModel(at, {page, meta});
    }

    bool insertImage(std::size_t at, std::uint32_t number) {
        static const std::vector images = {grayImage(101, 20), grayImage(102, 30)};
        OrvexPDFPageMeta meta;
        const auto& image = images[number % images.size()];
        manager_->insert(image, static_cast<std::int64_t>(at), meta);
        meta.originalImage = image;
        return insertIntoModel(at, {nullptr, meta});
    }

    bool insertDocument(std::size_t at, std::size_t pages) {
        static const auto document = OrvexPDFDocument::fromData(fileOfPages(3));
        const auto inserted = std::make_shared<OrvexPDFDocument>();
        for (std::size_t i = 0; i < pages; ++i) {
            inserted->insertPage(document->page(static_cast<std::int64_t>(i)), static_cast<std::int64_t>(i));
        }
        const auto records = manager_->insert(inserted, static_cast<std::int64_t>(at));
        for (std::size_t i = 0; i < pages; ++i) {
            OrvexPDFPageMeta meta;
            meta.id = records.at(i);
            insertIntoModel(at + i, {inserted->orvexPage(static_cast<std::int64_t>(i)), meta});
        }
        return pages > 0;
    }

    bool replace(std::size_t at, const Edit& edit) {
        const bool force = edit.kind == EditKind::replaceForced;
        const bool same = edit.b % 10 == 0 && at < model_.size();
        auto page = same ? model_[at].page : pageOfWidth(101 + edit.b % 26);
        if (!same && edit.b % 3 == 0) {
            page->watermarkText = "X";
        }
        OrvexPDFPageMeta meta;
        meta.originalPage = same ? nullptr : pageOfWidth(101 + edit.b % 26);
        manager_->replace(static_cast<std::int64_t>(at), page, meta, force);
        if (same || at >= model_.size()) {
            return false;
        }
        model_[at] = {force ? nullptr : page, meta};
        return true;
    }

    bool move(const Edit& edit) {
        const auto count = model_.size();
        std::vector<std::int64_t> list;
        for (std::size_t i = 0; i < count; ++i) {
            if ((edit.a >> (i % 8) & 1U) != 0) {
                list.insert(edit.b % 2 == 0 ? list.begin() : list.end(), static_cast<std::int64_t>(i));
            }
        }
        const auto to = edit.b % (count + 1);
        manager_->move(list, static_cast<std::int64_t>(to));
        // The run stands before what of the others stood at the target or behind it.
        ModelPages result;
        const auto addOthers = [&](std::size_t from, std::size_t end) {
            for (auto i = from; i < end; ++i) {
                if (std::ranges::find(list, static_cast<std::int64_t>(i)) == list.end()) {
                    result.push_back(model_[i]);
                }
            }
        };
        addOthers(0, to);
        for (const auto index : list) {
            result.push_back(model_[static_cast<std::size_t>(index)]);
        }
        addOthers(to, count);
        model_ = std::move(result);
        return !list.empty();
    }

    bool rotate(std::size_t at, bool left) {
        manager_->rotate(static_cast<std::int64_t>(at), left);
        auto meta = model_[at].meta;
        meta.rotation += left ? -90 : 90;
        return generated(at, meta);
    }

    bool updateMeta(std::size_t at, std::uint32_t number) {
        auto meta = model_[at].meta;
        number % 2 == 0 ? meta.watermarkText = "DRAFT " + std::to_string(number) : meta.watermarkText = std::nullopt;
        meta.textRotation = number % 4 * 90;
        meta.rotation += number % 3 * 90;
        meta.squeeze = meta.originalImage && number % 5 == 0 ? generateDefaultSqueezeModes()[0] : nullptr;
        manager_->updateMeta(meta, number % 7 < 3);
        return generated(at, meta);
    }

    /// The first page with the record's id is made anew, if the record has a source.
    bool generated(std::size_t at, const OrvexPDFPageMeta& meta) {
        if (!meta.originalImage && !meta.originalPage) {
            return false;
        }
        model_[at] = {nullptr, meta};
        return true;
    }

    bool batch(const Edit& edit) {
        bool changed = false;
        manager_->batch([&] {
            for (const auto& part : edit.parts) {
                changed = apply(part) || changed;
                for (std::size_t i = 0; i < model_.size(); ++i) {
                    model_[i].page = model_[i].page ? model_[i].page : manager_->page(static_cast<std::int64_t>(i));
                }
            }
        });
        return changed;
    }

    std::shared_ptr<OrvexPDFDocumentManager> manager_ = OrvexPDFDocumentManager::create();
    std::shared_ptr<Host> host_ = std::make_shared<Host>();
    ModelPages model_;
    std::vector<ModelPages> undone_; ///< what each undo brings back
    std::vector<ModelPages> redone_;
};

} // namespace orvex::test
