#include "Support/SavedDocument.h"

#include "Support/Command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace orvex::test {

SavedDocument::SavedDocument(const PDFDocument& document) {
    const auto data = document.dataRepresentation();
    if (!data) {
        ADD_FAILURE() << "nothing was saved";
        return;
    }
    bytes = *data;
    std::ofstream(path(), std::ios::binary) << bytes.text();
    const auto check = run("qpdf --check " + quoted(path()));
    EXPECT_EQ(check.exitCode, 0) << check.output << check.errors;
}

std::string SavedDocument::words() const {
    std::string text = run("pdftotext -enc UTF-8 " + quoted(path()) + " -").output;
    std::ranges::replace(text, '\n', ' ');
    std::ranges::replace(text, '\f', '|');
    const auto twoBlanks = [](char a, char b) { return a == ' ' && b == ' '; };
    text.erase(std::unique(text.begin(), text.end(), twoBlanks), text.end());
    return text;
}

std::string SavedDocument::boxes() const {
    return run("pdftotext -bbox " + quoted(path()) + " -").output;
}

std::string SavedDocument::tool(const std::string& command) const {
    return run(command + " " + quoted(path())).output;
}

std::string SavedDocument::show(const std::string& part) const {
    return run("mutool show " + quoted(path()) + " " + quoted(part)).output;
}

std::string SavedDocument::picture(int page) const {
    const std::string number = std::to_string(page);
    return run("pdftoppm -r 36 -f " + number + " -l " + number + " " + quoted(path())).output;
}

} // namespace orvex::test
