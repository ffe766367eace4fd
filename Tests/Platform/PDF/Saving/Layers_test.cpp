#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

/// A page whose grey bar is on the layer `name`, and a page on another layer; `state` goes into the configuration.
Bytes layered(const std::string& name, const std::string& state) {
    const auto bar = [](const std::string& layer) {
        return test::FixturePage{"/OC /L BDC 0.5 g 72 600 200 40 re f EMC", "[0 0 612 792]",
                                 "/Resources << /Properties << /L " + layer + " 0 R >> >>"};
    };
    return pdfFromPages({bar("9"), bar("10")}, {},
                        "/OCProperties << /OCGs [9 0 R 10 0 R] /D << /Order [(Group) [9 0 R 10 0 R]] " + state +
                            " >> >>",
                        {"<< /Type /OCG /Name (" + name + ") >>", "<< /Type /OCG /Name (other) >>"});
}

TEST(SavedLayers, OfInsertedPagesJoinTheDocumentsOwn) {
    const auto document = opened(layered("base", "/OFF [9 0 R]"));
    document->insertPage(opened(layered("hidden", "/OFF [9 0 R] /Locked [9 0 R]"))->page(0), 2);
    document->insertPage(opened(layered("shown", "/OFF [10 0 R]"))->page(0), 3);
    const SavedDocument saved(*document);
    EXPECT_THAT(saved.show("trailer/Root/OCProperties/OCGs/3"), HasSubstr("(hidden)"));
    EXPECT_THAT(saved.show("trailer/Root/OCProperties/OCGs/4"), HasSubstr("(shown)"));
    EXPECT_EQ(saved.show("trailer/Root/OCProperties/OCGs/5"), "null\n");
    EXPECT_THAT(saved.show("trailer/Root/OCProperties/D/OFF/2"), HasSubstr("(hidden)"));
    EXPECT_EQ(saved.show("trailer/Root/OCProperties/D/OFF/3"), "null\n");
    EXPECT_THAT(saved.show("trailer/Root/OCProperties/D/Locked/1"), HasSubstr("(hidden)"));
    EXPECT_THAT(saved.show("trailer/Root/OCProperties/D/Order/4/1"), HasSubstr("(hidden)"));
    EXPECT_EQ(saved.picture(1), saved.picture(3));
    EXPECT_EQ(saved.picture(2), saved.picture(4));
    EXPECT_NE(saved.picture(3), saved.picture(4));
}

TEST(SavedLayers, AreHiddenByDefaultWhereTheirFileHidesAll) {
    const auto document = opened(test::pagesShowing({"Base"}));
    const auto from = opened(layered("shown", "/BaseState /OFF /ON [9 0 R]"));
    test::appendPages(*document, *from);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.picture(2), SavedDocument(*from).picture(1));
    EXPECT_EQ(saved.picture(3), SavedDocument(*from).picture(2));
    EXPECT_NE(saved.picture(2), saved.picture(3));
}

TEST(SavedLayers, OfAPageThatStandsTwiceAreOne) {
    const auto document = opened(layered("base", "/OFF [9 0 R]"));
    document->insertPage(document->page(0), 2);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("trailer/Root/OCProperties/OCGs/3"), "null\n");
    EXPECT_EQ(saved.picture(1), saved.picture(3));
    EXPECT_NE(saved.picture(1), saved.picture(2));
}

} // namespace
} // namespace orvex
