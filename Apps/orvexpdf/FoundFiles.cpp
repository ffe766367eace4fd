#include "FoundFiles.h"

#include "Failure.h"
#include "Input.h"
#include "Messages.h"

#include "Platform/Foundation/Workers.h"

#include <CLI/CLI.hpp>

namespace orvex::tool {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw Failure(ExitCode::inputUnusable, displayName(path) + ": " + reason);
}

template <class Record> Record decode(const std::string& path, const Bytes& json) {
    const WarningsDropped ours; // the reason goes into the failure
    std::string why;
    auto record = Record::from(json, &why);
    if (!record) {
        fail(path, "not found content: " + why);
    }
    return std::move(*record);
}

std::optional<OrvexFoundPages> pagesOf(const Bytes& json) {
    const WarningsDropped ours;
    return OrvexFoundPages::from(json);
}

/// Both forms are objects without required keys, so it is the keys that are there that tell them apart.
OrvexFoundPage readSinglePage(const std::string& path, const Bytes& json) {
    (void)decode<OrvexFoundDocument>(path, json);
    auto page = decode<OrvexFoundPage>(path, json);
    if (!page.items && !page.size) {
        fail(path, "not found content: neither \"pages\" of a document nor \"size\" and \"items\" of a page");
    }
    return page;
}

} // namespace

FoundFiles::FoundFiles(const std::vector<std::string>& paths, std::size_t limit) {
    for (const auto& path : paths) {
        try {
            open(path);
        } catch (const Failure&) {
            requirePages(); // faults are told in the order of the files
            throw;
        }
        if (pageCount() > limit) {
            requirePages();
            fail(path, "more found pages (" + std::to_string(pageCount()) + ") than pages to lay them on (" +
                           std::to_string(limit) + ")");
        }
    }
}

void FoundFiles::open(const std::string& path) {
    File file{path, readInput(path), std::nullopt, nullptr};
    file.pages = pagesOf(file.json);
    if (!file.pages) {
        file.singlePage = std::make_shared<const OrvexFoundPage>(readSinglePage(path, file.json));
    }
    files_.push_back(std::make_unique<const File>(std::move(file)));
    const std::size_t count = files_.back()->pages ? files_.back()->pages->count() : 1;
    for (std::size_t index = 0; index < count; ++index) {
        places_.push_back({files_.back().get(), index});
    }
}

void FoundFiles::requirePages() const {
    for (const auto& file : files_) {
        (void)decode<OrvexFoundDocument>(file->path, file->json);
    }
}

std::shared_ptr<const OrvexFoundPage> FoundFiles::page(std::size_t index) const {
    const auto& [file, place] = places_[index];
    if (!file->pages) {
        return file->singlePage;
    }
    const WarningsDropped ours;
    std::string why;
    auto page = file->pages->page(place, &why);
    if (!page) { // a fault anywhere in the file's structure is told before any other
        (void)decode<OrvexFoundDocument>(file->path, file->json);
        fail(file->path, "not found content: " + why);
    }
    return std::make_shared<const OrvexFoundPage>(std::move(*page));
}

CLI::Option* addFoundFiles(CLI::App& app, std::vector<std::string>& paths, const std::string& what) {
    return app.add_option("--found", paths, what)
        ->type_name("FILE.json")
        ->expected(1)
        ->allow_extra_args(false) // what stands behind its file belongs to the command
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

FoundPages readFoundPages(const std::vector<std::string>& paths, std::size_t limit) {
    const FoundFiles files(paths, limit);
    FoundPages pages(files.pageCount());
    forEachInParallel(pages.size(), [&](std::size_t i) { pages[i] = files.page(i); });
    return pages;
}

} // namespace orvex::tool
