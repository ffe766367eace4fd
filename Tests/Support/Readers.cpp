#include "Support/Readers.h"

#include "Platform/Foundation/Strings.h"
#include "Support/Command.h"
#include "Support/Places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace orvex::test {

namespace {

const std::string scripts = (projectFolder() / "Tests/Readers").string() + "/";
const std::string pdfjs = (nodeModules() / "pdfjs-dist").string();
const std::string qtpdfText = (programFolder() / "qtpdf_text").string();

std::string command(Reader reader) {
    switch (reader) {
    case Reader::pdfium:
        return quoted(qtpdfText);
    case Reader::pdfjs:
        return "node " + quoted(scripts + "pdfjs_text.mjs") + " " + quoted(pdfjs);
    default:
        return "python3 -B " + quoted(scripts + "read_text.py") + " " + name(reader);
    }
}

bool isInstalled(Reader reader) {
    switch (reader) {
    case Reader::poppler:
    case Reader::popplerLayout:
        return hasProgram("pdftotext");
    case Reader::mupdf:
        return hasProgram("mutool");
    case Reader::ghostscript:
        return hasProgram("gs");
    case Reader::pdfium:
        return std::filesystem::exists(qtpdfText);
    case Reader::pdfjs:
        return hasProgram("node") && std::filesystem::exists(pdfjs);
    }
    return false;
}

/// poppler puts them around right-to-left text; nobody sees or searches them.
bool isDirectionMark(char32_t c) {
    return c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

std::string tidied(const std::string& line) {
    std::string text;
    for (std::size_t at = 0; at < line.size();) {
        const char32_t c = nextCodePoint(line, at);
        if (!isDirectionMark(c)) {
            appendUTF8(text, c == 0xA0 ? U' ' : c);
        }
    }
    std::istringstream words(text);
    std::string result;
    for (std::string word; words >> word;) {
        result += result.empty() ? word : " " + word;
    }
    return result;
}

void take(std::vector<ReadPage>& pages, const std::vector<std::string>& fields) {
    const auto number = [&](std::size_t i) { return std::strtod(fields[i].c_str(), nullptr); };
    pages.resize(std::max(pages.size(), static_cast<std::size_t>(number(1))));
    ReadPage& page = pages[static_cast<std::size_t>(number(1)) - 1];
    if (fields[0] == "piece") {
        page.pieces.push_back({fields[6], {number(2), number(3), number(4) - number(2), number(5) - number(3)}});
    } else if (const std::string line = tidied(fields[6]); !line.empty()) {
        page.lines.push_back(line);
    }
}

struct Stretch {
    std::size_t from;
    std::size_t to;
    Rect box;
};

template <class Texts> std::vector<Stretch> stretches(const Texts& texts) {
    std::vector<Stretch> result;
    std::size_t at = 0;
    for (const auto& [text, box] : texts) {
        const std::size_t length = squeezed(text).size();
        if (length > 0) {
            result.push_back({at, at + length, box});
        }
        at += length;
    }
    return result;
}

template <class Texts> std::string together(const Texts& texts) {
    std::string all;
    for (const auto& [text, box] : texts) {
        all += squeezed(text);
    }
    return all;
}

/// Unites what starts before `end`, which moves on with it; whether there was any.
bool gather(std::vector<Stretch>::const_iterator& at, std::vector<Stretch>::const_iterator last, std::size_t& end,
            std::optional<Rect>& box) {
    bool any = false;
    for (; at != last && at->from < end; ++at) {
        unite(box, at->box);
        end = std::max(end, at->to);
        any = true;
    }
    return any;
}

} // namespace

std::string name(Reader reader) {
    switch (reader) {
    case Reader::poppler:
        return "poppler";
    case Reader::popplerLayout:
        return "poppler-layout";
    case Reader::mupdf:
        return "mupdf";
    case Reader::ghostscript:
        return "ghostscript";
    case Reader::pdfium:
        return "pdfium";
    case Reader::pdfjs:
        return "pdfjs";
    }
    return {};
}

bool hasReader(Reader reader) {
    if (isInstalled(reader)) {
        return true;
    }
    const char* ci = std::getenv("CI");
    if (ci != nullptr && std::string(ci) == "true") {
        ADD_FAILURE() << name(reader) << " is not installed; ./run test installs every reader";
    }
    return false;
}

std::vector<ReadPage> read(Reader reader, const std::string& path) {
    const auto result = run(command(reader) + " " + quoted(path));
    EXPECT_EQ(result.exitCode, 0) << name(reader) << ": " << result.errors;
    std::vector<ReadPage> pages;
    std::istringstream records(result.output);
    for (std::string record; std::getline(records, record);) {
        std::vector<std::string> fields;
        std::istringstream parts(record);
        for (std::string field; std::getline(parts, field, '\t');) {
            fields.push_back(field);
        }
        if (fields.size() == 7) {
            take(pages, fields);
        }
    }
    return pages;
}

std::string squeezed(const std::string& text) {
    std::string result;
    for (const char c : tidied(text)) {
        if (c != ' ') {
            result += c;
        }
    }
    return result;
}

void unite(std::optional<Rect>& all, const Rect& box) {
    if (!all) {
        all = box;
        return;
    }
    const double right = std::max(all->maxX(), box.maxX());
    const double foot = std::max(all->maxY(), box.maxY());
    all->x = std::min(all->x, box.x);
    all->y = std::min(all->y, box.y);
    all->width = right - all->x;
    all->height = foot - all->y;
}

double overlap(const Rect& a, const Rect& b) {
    const double width = std::min(a.maxX(), b.maxX()) - std::max(a.x, b.x);
    const double height = std::min(a.maxY(), b.maxY()) - std::max(a.y, b.y);
    const double shared = std::max(width, 0.0) * std::max(height, 0.0);
    return shared / (a.width * a.height + b.width * b.height - shared);
}

std::optional<std::vector<Match>> matched(const std::vector<ExpectedItem>& items,
                                          const std::vector<ReadPiece>& pieces) {
    const std::string all = together(items);
    if (all != together(pieces)) {
        return std::nullopt;
    }
    const auto wanted = stretches(items);
    const auto found = stretches(pieces);
    std::vector<Match> matches;
    auto item = wanted.begin();
    auto piece = found.begin();
    while (item != wanted.end()) {
        const std::size_t start = item->from;
        std::size_t end = start + 1;
        std::optional<Rect> wantedBox;
        std::optional<Rect> foundBox;
        bool grows = true;
        while (grows) {
            const bool moreItems = gather(item, wanted.end(), end, wantedBox);
            const bool morePieces = gather(piece, found.end(), end, foundBox);
            grows = moreItems || morePieces;
        }
        matches.push_back({*wantedBox, *foundBox, all.substr(start, end - start)});
    }
    return matches;
}

} // namespace orvex::test
