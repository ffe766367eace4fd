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

namespace {

std::string bigEndian(std::size_t value, std::size_t bytes) {
    std::string text;
    for (std::size_t i = bytes; i > 0; --i) {
        text += static_cast<char>(value >> 8 * (i - 1) & 0xFFU);
    }
    return text;
}

} // namespace

std::string packedPDFFromObjects(const std::vector<std::string>& bodies, const std::string& trailer) {
    std::string file = "%PDF-1.7\n";
    std::string head;
    std::string values;
    std::string table = std::string(6, '\0');
    std::size_t packed = 0;
    const auto addLoose = [&](std::size_t number, const std::string& body) {
        file += std::to_string(number) + " 0 obj\n" + body + "\nendobj\n";
    };
    for (std::size_t i = 0; i < bodies.size(); ++i) {
        if (bodies[i].ends_with("endstream")) {
            table += bigEndian(1, 1) + bigEndian(file.size(), 3) + bigEndian(0, 2);
            addLoose(i + 1, bodies[i]);
        } else {
            table += bigEndian(2, 1) + bigEndian(bodies.size() + 1, 3) + bigEndian(packed++, 2);
            head += std::to_string(i + 1) + " " + std::to_string(values.size()) + " ";
            values += bodies[i] + "\n";
        }
    }
    table += bigEndian(1, 1) + bigEndian(file.size(), 3) + bigEndian(0, 2);
    addLoose(bodies.size() + 1, streamBody(head + values, "/Type /ObjStm /N " + std::to_string(packed) + " /First " +
                                                              std::to_string(head.size())));
    const std::size_t start = file.size();
    table += bigEndian(1, 1) + bigEndian(start, 3) + bigEndian(0, 2);
    addLoose(bodies.size() + 2, streamBody(table, "/Type /XRef /W [1 3 2] /Root 1 0 R /Size " +
                                                      std::to_string(bodies.size() + 3) + " " + trailer));
    return file + "startxref\n" + std::to_string(start) + "\n%%EOF\n";
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
