// What the manager's tests share: small documents whose pages can be told apart, the log, the news.
#pragma once

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Manager.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvex::test {

/// What the library logs from debug level on, as "file function level: message".
class ManagerLog : public LogRecorder {
public:
    ManagerLog() : LogRecorder(moduleLogger(), LogLevel::debug) {}
};

/// A host that counts what it is told, in order.
class Host final : public OrvexPDFDocumentManagerDelegate {
public:
    void documentDidChange() override { news.emplace_back("delegate"); }
    void didGenerate(OrvexPDFPage& page) override {
        generatedRotation = page.rotation();
        generatedWatermark = page.watermarkText;
        ++generated;
    }
    std::vector<std::string> news;
    int generated = 0;
    int generatedRotation = -1;
    std::optional<std::string> generatedWatermark;
};

/// Counts both notifications from any sender.
class News {
public:
    int content = 0;
    int bytes = 0;
    std::shared_ptr<void> object; ///< of the last one

private:
    NotificationCenter::Token content_ = NotificationCenter::defaultCenter().addObserver(
        PDFDocumentContentChanged, [this](const Notification& note) { ++content, object = note.object; });
    NotificationCenter::Token bytes_ = NotificationCenter::defaultCenter().addObserver(
        PDFDocumentBytesChanged, [this](const Notification& note) { ++bytes, object = note.object; });
};

/// A file of `count` empty pages that are 101, 102, ... points wide and 200 high.
inline Bytes fileOfPages(int count) {
    std::vector<FixturePage> pages;
    for (int i = 1; i <= count; ++i) {
        pages.push_back({"", "[0 0 " + std::to_string(100 + i) + " 200]", ""});
    }
    return pdfFromPages(pages);
}

using Manager = std::shared_ptr<OrvexPDFDocumentManager>;

/// A manager with undo that has loaded fileOfPages(); its pages are called A, B, C, ...
inline Manager managerOfPages(int count) {
    auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    if (count > 0) {
        EXPECT_TRUE(manager->load(fileOfPages(count)));
    }
    return manager;
}

/// The pages by their widths: A for 101 points, B for 102, ...; "?" for others.
inline std::string letters(const OrvexPDFDocumentManager& manager) {
    std::string text;
    for (std::int64_t i = 0; i < manager.pdfDoc->pageCount(); ++i) {
        const double number = manager.pdfDoc->page(i)->bounds(PDFDisplayBox::media).width - 101;
        text += number >= 0 && number < 26 ? static_cast<char>('A' + static_cast<int>(number)) : '?';
    }
    return text;
}

inline std::vector<std::string> ids(const OrvexPDFDocumentManager& manager) {
    std::vector<std::string> list;
    for (const auto& meta : manager.pagesMeta) {
        list.push_back(meta.id);
    }
    return list;
}

/// What an edit may change and its undo has to bring back.
struct Snapshot {
    explicit Snapshot(const OrvexPDFDocumentManager& manager) : pages(letters(manager)), records(ids(manager)) {
        for (std::int64_t i = 0; i < manager.pdfDoc->pageCount(); ++i) {
            rotations.push_back(manager.pdfDoc->page(i)->rotation());
        }
        for (const auto& meta : manager.pagesMeta) {
            recordRotations.push_back(meta.rotation);
        }
    }
    std::string pages;
    std::vector<std::string> records;
    std::vector<int> rotations;
    std::vector<std::int64_t> recordRotations;
    friend bool operator==(const Snapshot&, const Snapshot&) = default;
};

inline void expectOneRecordPerPage(const OrvexPDFDocumentManager& manager) {
    EXPECT_EQ(static_cast<std::int64_t>(manager.pagesMeta.size()), manager.pdfDoc->pageCount());
}

/// Runs `edit`, takes it back and does it again, twice; records match pages after every step, and every step is exact.
template <class Edit> void editUndoRedo(OrvexPDFDocumentManager& manager, Edit&& edit) {
    const Snapshot before(manager);
    edit();
    expectOneRecordPerPage(manager);
    const Snapshot after(manager);
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(manager.undoManager->canUndo());
        manager.undoManager->undo();
        expectOneRecordPerPage(manager);
        EXPECT_TRUE(Snapshot(manager) == before) << "undo " << round << ": " << letters(manager);
        ASSERT_TRUE(manager.undoManager->canRedo());
        manager.undoManager->redo();
        expectOneRecordPerPage(manager);
        EXPECT_TRUE(Snapshot(manager) == after) << "redo " << round << ": " << letters(manager);
    }
}

/// A page that is `width` points wide, for insertion.
inline OrvexPDFPagePtr pageOfWidth(double width) {
    const auto text = "[0 0 " + std::to_string(width) + " 200]";
    return OrvexPDFDocument::fromData(pdfFromPages({{"", text, ""}}))->orvexPage(0);
}

/// A grey image of so many pixels at 72 dpi.
inline ImagePtr grayImage(std::int64_t width, std::int64_t height) {
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = width;
    bitmap->height = height;
    bitmap->colorSpace.model = ColorModel::gray;
    bitmap->bytesPerRow = Bitmap::tightBytesPerRow(width, 1, 8);
    bitmap->samples.assign(bitmap->bytesPerRow * static_cast<std::size_t>(height), 0x80);
    return Image::fromBitmap(bitmap);
}

/// One that no encoder makes small.
inline ImagePtr noiseImage(std::int64_t width, std::int64_t height, int seed) {
    auto bitmap = std::make_shared<Bitmap>(*grayImage(width, height)->representations()[0]->bitmap());
    auto state = static_cast<std::uint32_t>(seed);
    for (auto& sample : bitmap->samples) {
        state = state * 1664525 + 1013904223;
        sample = static_cast<std::uint8_t>(state >> 24);
    }
    return Image::fromBitmap(bitmap);
}

} // namespace orvex::test
