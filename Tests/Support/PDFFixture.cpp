#include "Support/PDFFixture.h"

#include <iomanip>
#include <sstream>

namespace orvex::test {

std::string pdfFromObjects(const std::vector<std::string>& bodies, const std::string& trailer) {
    std::ostringstream file;
    file << "%PDF-1.7\n";
    std::vector<long long> offsets;
    for (std::size_t i = 0; i < bodies.size(); ++i) {
        offsets.push_back(static_cast<long long>(file.tellp()));
        file << i + 1 << " 0 obj\n" << bodies[i] << "\nendobj\n";
    }
    const auto table = static_cast<long long>(file.tellp());
    file << "xref\n0 " << bodies.size() + 1 << "\n0000000000 65535 f \n";
    for (const long long offset : offsets) {
        file << std::setw(10) << std::setfill('0') << offset << " 00000 n \n";
    }
    file << "trailer\n<< /Root 1 0 R /Size " << bodies.size() + 1 << " " << trailer << " >>\nstartxref\n"
         << table << "\n%%EOF\n";
    return file.str();
}

std::string streamBody(const std::string& data, const std::string& dictionary) {
    return "<< " + dictionary + " /Length " + std::to_string(data.size()) + " >>\nstream\n" + data + "\nendstream";
}

Bytes pdfFromPages(const std::vector<FixturePage>& pages, const std::string& info, const std::string& catalog,
                   const std::vector<std::string>& objects) {
    constexpr std::size_t firstPage = 5;
    std::string kids;
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R " + catalog + " >>", "",
                                    "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
                                    "<< " + info + " >>"};
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const std::string number = std::to_string(firstPage + 2 * i);
        const std::string content = std::to_string(firstPage + 2 * i + 1);
        kids += number + " 0 R ";
        bodies.push_back("<< /Type /Page /Parent 2 0 R /MediaBox " + pages[i].mediaBox +
                         " /Resources << /Font << /F1 3 0 R >> >> /Contents " + content + " 0 R " + pages[i].more +
                         " >>");
        bodies.push_back(streamBody(pages[i].content));
    }
    bodies.insert(bodies.end(), objects.begin(), objects.end());
    bodies[1] = "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages.size()) + " >>";
    return Bytes(pdfFromObjects(bodies, info.empty() ? "" : "/Info 4 0 R"));
}

std::string showing(const std::string& text) {
    return "BT /F1 24 Tf 72 700 Td (" + text + ") Tj ET";
}

} // namespace orvex::test
