#include "Support/ImagePage.h"

#include "Support/PDFFixture.h"

namespace orvex::test {

Bytes pdfWithXObjects(const std::vector<FixtureXObject>& objects, const std::vector<std::string>& more) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    ""};
    bodies.insert(bodies.end(), more.begin(), more.end());
    std::string names;
    std::string operators; // some readers only know of images that are drawn
    for (const auto& object : objects) {
        bodies.push_back(streamBody(object.data, object.dictionary));
        operators += "/" + object.name + " Do ";
        names += " /" + object.name + " " + std::to_string(bodies.size()) + " 0 R";
    }
    bodies.push_back(streamBody(operators));
    bodies[2] = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] /Contents " + std::to_string(bodies.size()) +
                " 0 R /Resources << /XObject <<" + names + " >> >> >>";
    return Bytes(pdfFromObjects(bodies));
}

std::string imageDictionary(int width, int height, int bits, const std::string& colorSpace, const std::string& more) {
    return "/Subtype /Image /Width " + std::to_string(width) + " /Height " + std::to_string(height) +
           " /BitsPerComponent " + std::to_string(bits) + " /ColorSpace " + colorSpace + " " + more;
}

} // namespace orvex::test
