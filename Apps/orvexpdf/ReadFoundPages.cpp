#include "MakePages.h"

#include "Failure.h"
#include "Input.h"
#include "Messages.h"

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

/// Both forms are objects without required keys, so it is the keys that are there that tell them apart.
std::vector<OrvexFoundPage> pagesOf(const std::string& path) {
    const Bytes json = readInput(path);
    if (auto document = decode<OrvexFoundDocument>(path, json); document.pages) {
        return std::move(*document.pages);
    }
    auto page = decode<OrvexFoundPage>(path, json);
    if (!page.items && !page.size) {
        fail(path, "not found content: neither \"pages\" of a document nor \"size\" and \"items\" of a page");
    }
    return {std::move(page)};
}

} // namespace

FoundPages readFoundPages(const std::vector<std::string>& paths, std::size_t limit) {
    FoundPages found;
    for (const auto& path : paths) {
        for (auto& page : pagesOf(path)) {
            found.push_back(std::make_shared<const OrvexFoundPage>(std::move(page)));
        }
        if (found.size() > limit) {
            fail(path, "more found pages (" + std::to_string(found.size()) + ") than pages made from images (" +
                           std::to_string(limit) + ")");
        }
    }
    return found;
}

} // namespace orvex::tool
