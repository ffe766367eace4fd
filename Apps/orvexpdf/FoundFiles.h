// Recognised text in files.
#pragma once

#include "OrvexPDF/FoundContent.h"

#include <CLI/App.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orvex::tool {

using FoundPages = std::vector<std::shared_ptr<const OrvexFoundPage>>;

/// The found pages of all files, in order, read when they are asked for; a file holds a found document or one found
/// page.
class FoundFiles {
public:
    /// Throws Failure for what is no found content, as far as that shows without reading pages, and for more pages than
    /// `limit`.
    FoundFiles(const std::vector<std::string>& paths, std::size_t limit);
    [[nodiscard]] std::size_t pageCount() const { return places_.size(); }
    /// Reads a page, each time anew. Throws Failure. Threads: any, side by side.
    [[nodiscard]] std::shared_ptr<const OrvexFoundPage> page(std::size_t index) const;

private:
    struct File {
        std::string path;
        Bytes json;
        std::optional<OrvexFoundPages> pages;             ///< of a document
        std::shared_ptr<const OrvexFoundPage> singlePage; ///< of any other file
    };
    struct Place {
        const File* file;
        std::size_t index; ///< among the file's pages
    };
    void open(const std::string& path);
    /// Throws what is wrong with any page of these files.
    void requirePages() const;
    std::vector<std::unique_ptr<const File>> files_;
    std::vector<Place> places_;
};

/// The option --found, which may be given several times.
CLI::Option* addFoundFiles(CLI::App& app, std::vector<std::string>& paths, const std::string& what);

/// All pages of FoundFiles. Throws Failure.
[[nodiscard]] FoundPages readFoundPages(const std::vector<std::string>& paths, std::size_t limit);

} // namespace orvex::tool
