// The size of a file that was not written is that of the file that is.
#include "Support/Command.h"
#include "Support/ImageFixture.h"
#include "Support/OpenDocument.h"
#include "Support/Pages.h"
#include "Support/Places.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <set>
#include <vector>

namespace orvex {
namespace {

/// Bytes that no end of line and no "endstream" is mistaken for, and that hardly compress.
std::string noise(std::size_t size) {
    std::string text;
    for (unsigned value = 1; text.size() < size; value = value * 1664525 + 1013904223) {
        text += static_cast<char>('!' + (value >> 24U) % 90);
    }
    return text;
}

std::string picture(const std::string& data, const std::string& length) {
    return "<< /Type /XObject /Subtype /Image /Width 100 /Height 100 /ColorSpace /DeviceGray /BitsPerComponent 8 "
           "/Length " +
           length + " >>\nstream\n" + data + "\nendstream";
}

/// Three pages that share a short picture, a picture of about the length from which streams are left out, and long
/// ones; one of them belongs to nothing.
std::string fileOfPictures(std::size_t middling = 16'384, const std::string& statedLength = {}) {
    const std::string page = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 100] /Resources << /XObject << "
                             "/A 6 0 R /B 7 0 R /C 8 0 R >> >> >>";
    const std::string data = noise(120'000);
    return test::pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>",
                                 "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R] /Count 3 >>", page, page, page,
                                 picture("short", "5"), picture(noise(middling), std::to_string(middling)),
                                 picture(data, statedLength.empty() ? std::to_string(data.size()) : statedLength),
                                 picture(data, "10 0 R"), std::to_string(data.size())});
}

void expectMeasured(const PDFDocument& document, const std::string& what) {
    const auto measured = document.measuredSize();
    const auto written = document.dataRepresentation();
    ASSERT_EQ(measured.has_value(), written.has_value()) << what;
    EXPECT_EQ(*measured, static_cast<std::int64_t>(written->size())) << what;
}

/// As opened, and after edits that keep, drop and double streams.
void expectMeasuredAfterEdits(const std::function<std::shared_ptr<PDFDocument>()>& open, const std::string& what) {
    expectMeasured(*open(), what);
    const auto document = open();
    document->page(0)->setRotation(90);
    expectMeasured(*document, what + ", turned");
    if (document->pageCount() > 1) {
        document->removePage(0);
        expectMeasured(*document, what + ", shortened");
        test::reversePages(*document);
        expectMeasured(*document, what + ", reversed");
    }
    test::appendPages(*document, *open());
    document->setInfo(PDFInfoKey::title, "A title");
    expectMeasured(*document, what + ", doubled");
}

TEST(MeasuredSize, IsThatOfTheFileForEveryKindOfDocument) {
    const std::string plain = fileOfPictures();
    const auto converted = [&](const std::string& command) { return test::convert(Bytes::copyOf(plain), command); };
    const std::pair<std::string, Bytes> cases[] = {
        {"plain", Bytes::copyOf(plain)},
        {"just too short", Bytes(fileOfPictures(16'383))},
        {"just long enough for another digit", Bytes(fileOfPictures(100'000))},
        {"a stated length that is too small", Bytes(fileOfPictures(16'384, "20000"))},
        {"a stated length that is too large", Bytes(fileOfPictures(16'384, "2000000"))},
        {"a length elsewhere", Bytes(fileOfPictures(16'384, "10 0 R"))},
        {"junk ahead", Bytes("junk\n" + plain)},
        {"object streams", converted("qpdf --object-streams=generate -- in out")},
        {"filtered, object streams", converted("qpdf --compress-streams=y --object-streams=generate -- in out")},
        {"filtered", converted("qpdf --compress-streams=y --object-streams=disable -- in out")},
        {"linearised", converted("qpdf --linearize -- in out")},
    };
    for (const auto& [what, data] : cases) {
        ASSERT_FALSE(data.empty()) << what;
        expectMeasuredAfterEdits([&, bytes = data] { return test::opened(bytes); }, what);
    }
}

TEST(MeasuredSize, IsThatOfTheFileForEncryptedDocuments) {
    for (const std::string command : {"--encrypt user owner 128 --use-aes=y --", "--encrypt '' owner 256 --"}) {
        const Bytes data = test::convert(Bytes(fileOfPictures()), "qpdf " + command + " in out");
        ASSERT_FALSE(data.empty());
        for (const std::string password : {"owner", command.find("''") == command.npos ? "user" : ""}) {
            expectMeasuredAfterEdits([&] { return test::opened(data, password); }, command + " " + password);
        }
    }
}

TEST(MeasuredSize, CountsTheDigitsOfWhereTheTableIs) {
    constexpr std::size_t beyond = 1'000'000;
    const std::size_t rest = test::opened(Bytes(fileOfPictures(20'000)))->dataRepresentation()->size() - 20'000;
    std::set<std::size_t> digits;
    for (std::size_t size = beyond - rest; size < beyond - rest + 1000; size += 90) {
        const auto document = test::opened(Bytes(fileOfPictures(size)));
        const auto written = document->dataRepresentation();
        EXPECT_EQ(document->measuredSize(), static_cast<std::int64_t>(written->size())) << size;
        const std::size_t mark = written->text().rfind("startxref\n") + 10;
        digits.insert(written->text().find('\n', mark) - mark);
    }
    EXPECT_EQ(digits, (std::set<std::size_t>{6, 7}));
}

TEST(MeasuredSize, IsThereForEmptyAndOwnDocumentsToo) {
    PDFDocument document;
    EXPECT_FALSE(document.measuredSize());
    document.insertPage(std::make_shared<PDFPage>(), 0);
    expectMeasured(document, "a blank page");
}

TEST(MeasuredSize, IsThatOfTheFileForRealFiles) {
    const auto files = test::sharedPDFs(23, 20'001);
    if (files.empty()) {
        GTEST_SKIP() << "the shared files are not there";
    }
    std::size_t measured = 0;
    for (const auto& path : files) {
        const Bytes data = readFile(path);
        try {
            if (test::opened(data)->pageCount() == 0) {
                continue;
            }
            expectMeasuredAfterEdits([&] { return test::opened(data); }, path.filename().string());
            ++measured;
        } catch (const PDFOpenError&) { // what cannot be opened has no size
        } catch (const PDFWriteError&) {
        }
    }
    EXPECT_GT(measured, 0U);
    std::cout << measured << " files measured\n";
}

} // namespace
} // namespace orvex
