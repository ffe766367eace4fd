#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

using test::pagesShowing;

/// The labels as pdf.js would print them, by way of qpdf: "start style prefix number" per range.
std::string ranges(const PDFDocument& document) {
    const SavedDocument saved(document);
    const std::string script =
        "import json,sys; d=json.load(sys.stdin)['pagelabels']\n"
        "print(' '.join('%d:%s%s%s' % (r['index'], r['label'].get('/P','u:')[2:], r['label'].get('/S',''), "
        "r['label'].get('/St',1)) for r in d))\n";
    std::string text = test::run("qpdf --json --json-key=pagelabels " + test::quoted(saved.path()) + " | python3 -c " +
                                 test::quoted(script))
                           .output;
    text.pop_back();
    return text;
}

/// Pages labelled i, ii, 1, 2, A-1.
std::shared_ptr<PDFDocument> labelled() {
    return opened(pagesShowing({"i", "ii", "1", "2", "A-1"},
                               "/PageLabels << /Nums [0 << /S /r >> 2 << /S /D >> 4 << /S /D /P (A-) >>] >>"));
}

TEST(SavedPageLabels, StayAsTheyAreWhileThePagesDo) {
    EXPECT_EQ(ranges(*labelled()), "0:/r1 2:/D1 4:A-/D1");
}

TEST(SavedPageLabels, RemainWithTheirPages) {
    const auto document = labelled();
    document->removePage(0);
    EXPECT_EQ(ranges(*document), "0:/r2 1:/D1 3:A-/D1");
    document->removePage(1);
    EXPECT_EQ(ranges(*document), "0:/r2 1:/D2 2:A-/D1");
    test::reversePages(*document);
    EXPECT_EQ(ranges(*document), "0:A-/D1 1:/D2 2:/r2");
}

TEST(SavedPageLabels, PagesWithoutLabelsContinueCounting) {
    const auto document = labelled();
    document->insertPage(std::make_shared<PDFPage>(), 2);
    document->insertPage(opened(pagesShowing({"new"}))->page(0), 6);
    EXPECT_EQ(ranges(*document), "0:/r1 3:/D1 5:A-/D1");
}

TEST(SavedPageLabels, InsertedPagesBringTheirs) {
    const auto document = labelled();
    document->insertPage(opened(pagesShowing({"x", "y"}, "/PageLabels << /Nums [0 << /S /a /St 3 >>] >>"))->page(1), 2);
    EXPECT_EQ(ranges(*document), "0:/r1 2:/a4 3:/D1 5:A-/D1");
}

TEST(SavedPageLabels, AFileWithoutLabelsGetsNone) {
    const auto document = opened(pagesShowing({"1", "2"}));
    document->insertPage(labelled()->page(0), 0);
    EXPECT_EQ(ranges(*document), "");
    PDFDocument merged;
    merged.insertPage(document->page(1), 0);
    merged.insertPage(labelled()->page(1), 1);
    EXPECT_EQ(ranges(merged), "0:/D1 1:/r2");
}

TEST(SavedPageLabels, MeaninglessNumbersCountFromOne) {
    const auto document =
        opened(pagesShowing({"a", "b", "c"}, "/PageLabels << /Nums [-9223372036854775808 << /S /D >> 1 << /S /D /St "
                                             "9223372036854775807 >> (x) 3 2 7] >>"));
    document->removePage(0);
    EXPECT_EQ(ranges(*document), "0:/D1");
}

} // namespace
} // namespace orvex
