#include "PageOperations.h"

#include "Failure.h"
#include "Input.h"
#include "MakePages.h"
#include "Messages.h"
#include "OpenPDF.h"
#include "PageRange.h"
#include "Platform/Imaging/Codecs.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <functional>
#include <numeric>
#include <utility>

namespace orvex::tool {

namespace {

constexpr std::int64_t quarterTurn = 90;

[[noreturn]] void refuse(const PageOperation& operation, const std::string& reason) {
    throw Failure(ExitCode::usage, "--" + operation.option + " " + operation.argument + ": " + reason);
}

void requirePages(const std::string& list, const PageOperation& operation) {
    if (list.empty()) {
        refuse(operation, "no pages are named");
    }
}

/// Pages at least one of which is named.
std::vector<std::int64_t> pagesOf(const std::string& list, const PageOperation& operation,
                                  const OrvexPDFDocumentManager& manager) {
    requirePages(list, operation);
    return parsePages(list, manager.pdfDoc->pageCount());
}

/// What stands before and behind the last colon; without a colon nothing stands behind it.
std::pair<std::string, std::string> splitAtColon(const std::string& text) {
    const auto colon = text.rfind(':');
    return colon == std::string::npos ? std::pair(text, std::string())
                                      : std::pair(text.substr(0, colon), text.substr(colon + 1));
}

bool isPlace(const std::string& text) {
    return text == "end" || (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos);
}

/// The index of the page that "3" names, one behind the last page for "end".
std::int64_t placeOf(const std::string& text, const PageOperation& operation, const OrvexPDFDocumentManager& manager) {
    const auto count = manager.pdfDoc->pageCount();
    if (text == "end") {
        return count;
    }
    std::int64_t page = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), page);
    if (parsed.ec != std::errc{} || parsed.ptr != text.data() + text.size() || page < 1 || page > count + 1) {
        refuse(operation, "a place is a page from 1 to " + std::to_string(count + 1) + ", or end");
    }
    return page - 1;
}

void remove(const PageOperation& operation, OrvexPDFDocumentManager& manager) {
    auto pages = pagesOf(operation.argument, operation, manager);
    std::ranges::sort(pages, std::greater());
    const auto repeated = std::ranges::unique(pages);
    pages.erase(repeated.begin(), repeated.end());
    manager.batch([&] {
        for (const auto page : pages) {
            manager.remove(page);
        }
    });
}

void move(const PageOperation& operation, OrvexPDFDocumentManager& manager) {
    const auto [list, place] = splitAtColon(operation.argument);
    if (place.empty()) {
        refuse(operation, "pages and a place are needed, like 5,1:3");
    }
    requirePages(list, operation);
    const auto pages = parseDistinctPages(list, manager.pdfDoc->pageCount());
    manager.move(pages, placeOf(place, operation, manager));
}

/// Pages of an inserted document come with records that have no source yet.
OrvexPDFPageMeta recordWithSource(const OrvexPDFDocumentManager& manager, std::int64_t index) {
    auto record = *manager.meta(index);
    if (!record.originalImage && !record.originalPage) {
        record.originalPage = manager.page(index);
        record.originalPageHasText = OrvexPageTextFlag::of(record.originalPage);
        record.originalPageRotation = record.originalPage->rotation();
    }
    return record;
}

void rotate(const PageOperation& operation, OrvexPDFDocumentManager& manager) {
    const auto [list, direction] = splitAtColon(operation.argument);
    if (direction != "left" && direction != "right") {
        refuse(operation, "pages and a direction are needed, like 1-3:left or 4:right");
    }
    const auto turn = direction == "left" ? -quarterTurn : quarterTurn;
    const auto pages = pagesOf(list, operation, manager);
    manager.batch([&] {
        for (const auto page : pages) {
            auto record = recordWithSource(manager, page);
            record.rotation += turn;
            manager.updateMeta(record, true);
        }
    });
}

void reverse(OrvexPDFDocumentManager& manager) {
    std::vector<std::int64_t> pages(static_cast<std::size_t>(manager.pdfDoc->pageCount()));
    std::iota(pages.rbegin(), pages.rend(), 0);
    manager.move(pages, 0);
}

bool isPDF(const Bytes& data) {
    constexpr std::size_t headerWindow = 1024; // as far as readers look
    return data.text().substr(0, headerWindow).find("%PDF-") != std::string_view::npos;
}

void insertPDF(const std::string& path, const Bytes& data, std::int64_t place, OrvexPDFDocumentManager& manager,
               const std::string& password) {
    const auto document = documentFrom(data, path, password);
    manager.insert(document, place);
    if (document->savedEncryption() != PDFSavedEncryption::none &&
        manager.pdfDoc->savedEncryption() != PDFSavedEncryption::kept) {
        warn(displayName(path) + " is encrypted, and its pages are written in the open");
    }
}

void insertImages(const std::string& path, const Bytes& data, std::int64_t place, OrvexPDFDocumentManager& manager) {
    manager.batch([&] {
        for (const auto& source : imagesIn(data, displayName(path), std::nullopt)) {
            const auto record = recordFor(source.image, nullptr, nullptr, 0);
            const auto page = manager.generatePage(record);
            if (!page) {
                throw Failure(ExitCode::inputUnusable, source.name + ": no page can be made from it");
            }
            manager.insert(page, place++, record);
        }
    });
}

void insertFile(const std::string& path, std::int64_t place, OrvexPDFDocumentManager& manager,
                const std::string& password) {
    const Bytes data = readInput(path);
    if (isPDF(data)) {
        insertPDF(path, data, place, manager, password);
    } else if (sniffImageFormat(data.span())) {
        insertImages(path, data, place, manager);
    } else {
        throw Failure(ExitCode::inputUnusable,
                      displayName(path) + ": neither a PDF nor an image (JPEG, PNG, TIFF or JPEG 2000)");
    }
}

/// The file and the place. A colon may be part of the name: then what stands behind it is no place, or the file is
/// there under the whole name.
std::pair<std::string, std::string> fileAndPlace(const std::string& argument) {
    auto parts = splitAtColon(argument);
    std::error_code ignored;
    const bool hasPlace = isPlace(parts.second) && !std::filesystem::exists(argument, ignored);
    return hasPlace ? std::move(parts) : std::pair(argument, std::string("end"));
}

void insert(const PageOperation& operation, OrvexPDFDocumentManager& manager, const std::string& password) {
    const auto [path, place] = fileAndPlace(operation.argument);
    insertFile(path, placeOf(place, operation, manager), manager, password);
}

} // namespace

std::vector<std::string> filesOf(const std::vector<PageOperation>& operations) {
    std::vector<std::string> files;
    for (const auto& [option, argument] : operations) {
        if (option == "insert") {
            files.push_back(fileAndPlace(argument).first);
        } else if (option == "append") {
            files.push_back(argument);
        }
    }
    return files;
}

void apply(const PageOperation& operation, OrvexPDFDocumentManager& manager, const std::string& password) {
    if (operation.option == "remove") {
        remove(operation, manager);
    } else if (operation.option == "move") {
        move(operation, manager);
    } else if (operation.option == "rotate") {
        rotate(operation, manager);
    } else if (operation.option == "insert") {
        insert(operation, manager, password);
    } else if (operation.option == "append") {
        insertFile(operation.argument, manager.pdfDoc->pageCount(), manager, password);
    } else {
        reverse(manager);
    }
}

} // namespace orvex::tool
