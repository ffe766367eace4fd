// Structures that go round in circles, nest without end or are of the wrong kind: saving ends, in time that grows with
// the file, and qpdf finds nothing wrong with what comes out.
#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

struct Hostile {
    std::string name;
    std::string catalog;
    std::vector<std::string> objects; ///< numbered from 9
    std::string page = {};            ///< entries of the first page
};

void PrintTo(const Hostile& hostile, std::ostream* out) {
    *out << hostile.name;
}

std::string reference(std::size_t number) {
    return std::to_string(number) + " 0 R";
}

/// `count` objects, each leading to the next under `key`, the last to the first.
std::vector<std::string> ring(std::size_t count, const std::string& before, const std::string& after) {
    std::vector<std::string> objects;
    for (std::size_t i = 0; i < count; ++i) {
        objects.push_back(before + reference(9 + (i + 1) % count) + after);
    }
    return objects;
}

/// `count` objects, each above the next one.
std::vector<std::string> tower(std::size_t count, const std::string& start, const std::string& up) {
    std::vector<std::string> objects;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string above = i == 0 ? "9 0 R" : reference(8 + i);
        const std::string below = i + 1 == count ? "null" : reference(10 + i);
        objects.push_back(start + below + " ] " + up + above + " >>");
    }
    return objects;
}

std::vector<Hostile> cases() {
    constexpr std::size_t deep = 50'000; // more than a stack holds
    const std::string nested = std::string(400, '[') + std::string(400, ']');
    std::vector<Hostile> all{
        {"CyclicOutline", "/Outlines 9 0 R",
         ring(3, "<< /Title (x) /Count -9 /First 9 0 R /Dest [7 0 R /Fit] /Next ", " >>")},
        {"CyclicNames", "/Names << /Dests 9 0 R /EmbeddedFiles 9 0 R >> /PageLabels 9 0 R",
         ring(3, "<< /Names [(a) [7 0 R] (b)] /Nums [0] /Kids [9 0 R 10 0 R ", "] >>")},
        {"CyclicFields", "/AcroForm << /Fields [9 0 R] /CO [9 0 R 9 0 R] >>",
         ring(3,
              "<< /Type /Annot /Subtype /Widget /Rect [0 0 9 9] /FT /Sig /V 9 0 R /T (x) /Parent 10 0 R /Kids [9 0 R "
              "10 0 R ",
              "] >>"),
         "/Annots [9 0 R 10 0 R 11 0 R 9 0 R]"},
        {"CyclicTags", "/StructTreeRoot 9 0 R",
         ring(3, "<< /S /P /P 10 0 R /Pg 7 0 R /ParentTree 9 0 R /Nums [0 [10 0 R 11 0 R 9 0 R] 1 9 0 R] /K [9 0 R 0 ",
              "] >>"),
         "/StructParents 0"},
        {"CyclicActions", "/OpenAction 9 0 R", ring(3, "<< /S /GoTo /D [7 0 R] /Next [9 0 R 10 0 R ", "] >>"),
         "/AA << /O 9 0 R >> /Annots [<< /Subtype /Link /A 10 0 R >>]"},
        {"CyclicThreads", "/Threads [9 0 R]", ring(3, "<< /F 9 0 R /P 7 0 R /V 9 0 R /N ", " >>"), "/B [9 0 R]"},
        {"CyclicNamesOfNames",
         "/Names << /Dests << /Names [(a) (b) (b) (a)] >> >> /Dests << /x /y /y /x >>",
         {"<< /D 9 0 R >>"},
         "/Annots [<< /Subtype /Link /Dest (a) >> << /Subtype /Link /Dest /x >> << /Subtype /Link /Dest 9 0 R >>]"},
        {"CyclicLayers",
         "/OCProperties << /OCGs [9 0 R 9 0 R] /D << /Order 10 0 R /RBGroups 10 0 R /AS [9 0 R] >> >>",
         {"<< /Type /OCG /Name (x) /Usage 9 0 R >>", "[10 0 R 9 0 R 10 0 R]"},
         "/OC 9 0 R"},
        {"DeepFields", "/AcroForm << /Fields [9 0 R] >>", tower(deep, "<< /T (x) /Kids [ ", "/Parent ")},
        {"DeepTags", "/StructTreeRoot 9 0 R",
         tower(deep, "<< /S /P /Pg 7 0 R /Nums [0 50000 0 R] /ParentTree 9 0 R /K [ ", "/P "), "/StructParents 0"},
        {"DeepNames", "/Names << /Dests 9 0 R >>", tower(deep, "<< /Names [(a) [7 0 R]] /Kids [ ", "/Up ")},
        {"DeepOutline", "/Outlines 9 0 R",
         tower(deep, "<< /Title (x) /Dest [7 0 R] /None [ null ] /First ", "/Parent ")},
        {"NestedArrays",
         "/AcroForm << /Fields " + nested + " /CO " + nested + " /DA " + nested + " >> /OpenAction " + nested +
             " /Names << /Dests " + nested + " >> /Threads " + nested + " /StructTreeRoot << /K " + nested + " >>",
         {},
         "/Annots " + nested},
    };
    for (auto& object : all[all.size() - 2].objects) { // an item leads to its first item, not to an array of it
        object.replace(object.find("/First ") + 7,
                       object.find(" ]", object.find("/First ")) + 2 - object.find("/First ") - 7,
                       object.substr(object.find("/First ") + 7,
                                     object.find(" ]", object.find("/First ")) - object.find("/First ") - 7));
    }
    for (const std::string wrong : {"true", "-7", "(text)", "/Name", "[]", "[null 1 (x) /y [] << >>]", "<< >>",
                                    "<< /K << /K 1 >> >>", "[<< /T 1 /Kids 2 /Parent 3 /P 4 >>]"}) {
        std::string catalog;
        for (const std::string key :
             {"Outlines", "Dests", "Names", "OpenAction", "AA", "AcroForm", "PageLabels", "Threads", "StructTreeRoot",
              "OCProperties", "MarkInfo", "AF", "Metadata", "Lang"}) {
            catalog += "/" + key + " " + wrong + " ";
        }
        all.push_back(
            {"Wrong" + std::to_string(all.size()),
             catalog,
             {},
             "/Annots " + wrong + " /B " + wrong + " /AA " + wrong + " /StructParents " + wrong + " /Tabs " + wrong});
        all.push_back({"WrongBelow" + std::to_string(all.size()),
                       "/AcroForm << /Fields " + wrong + " /DR " + wrong + " /DA " + wrong + " /CO " + wrong + " /Q " +
                           wrong + " >> /StructTreeRoot << /K " + wrong + " /ParentTree " + wrong + " /IDTree " +
                           wrong + " /RoleMap " + wrong + " /ClassMap " + wrong + " /ParentTreeNextKey " + wrong +
                           " >> /OCProperties << /OCGs " + wrong + " /D " + wrong + " >> /Names << /Dests " + wrong +
                           " /EmbeddedFiles " + wrong + " >> /Outlines << /First " + wrong + " >>",
                       {},
                       "/StructParents 0 /Annots [<< /Subtype /Widget /FT /Tx /T " + wrong + " /Parent " + wrong +
                           " /DA " + wrong + " /A " + wrong + " /Dest " + wrong + " /AA " + wrong + " /Popup " + wrong +
                           " /IRT " + wrong + " /P " + wrong + " >>]"});
    }
    return all;
}

/// As qpdf counts, which does not follow the structures; some readers of them never return.
std::string pageCount(const PDFDocument& document) {
    return SavedDocument(document).tool("qpdf --show-npages");
}

class SavedHostile : public testing::TestWithParam<Hostile> {};

TEST_P(SavedHostile, StructuresEndSaving) {
    const auto& hostile = GetParam();
    const Bytes bytes = pdfFromPages({pageShowing("A", hostile.page), pageShowing("B", hostile.page)}, {},
                                     hostile.catalog, hostile.objects);
    const auto removed = opened(bytes);
    removed->removePage(1);
    EXPECT_EQ(pageCount(*removed), "1\n");
    if (!hostile.name.starts_with("Deep")) { // those take long enough as they are
        const auto twice = opened(bytes);
        twice->insertPage(twice->page(0), 2);
        test::appendPages(*twice, *opened(bytes));
        EXPECT_EQ(pageCount(*twice), "5\n");
    }
    PDFDocument apart;
    apart.insertPage(opened(bytes)->page(0), 0);
    EXPECT_EQ(pageCount(apart), "1\n");
}

INSTANTIATE_TEST_SUITE_P(Cases, SavedHostile, testing::ValuesIn(cases()),
                         [](const auto& hostile) { return hostile.param.name; });

} // namespace
} // namespace orvex
