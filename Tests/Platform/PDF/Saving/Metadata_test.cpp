#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

/// What poppler reads of the metadata of a file whose packet holds `properties` once it is stamped.
std::string stamped(const std::string& properties, const std::string& attributes = {}) {
    const std::string packet =
        "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?><x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description rdf:about=\"uuid:1\" "
        "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:p='http://ns.adobe.com/pdf/1.3/' "
        "xmlns:xmp = \"http://ns.adobe.com/xap/1.0/\" xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\" " +
        attributes + "><pdfaid:part>2</pdfaid:part>" + properties +
        "</rdf:Description></rdf:RDF></x:xmpmeta>\n   \n<?xpacket end=\"w\"?>";
    const auto document = opened(test::pdfFromPages({test::pageShowing("A")}, {}, "/Metadata 7 0 R",
                                                    {test::streamBody(packet, "/Type /Metadata /Subtype /XML")}));
    document->setInfo(PDFInfoKey::producer, "Ours & <theirs>");
    document->setInfo(PDFInfoKey::creator, "Tool");
    const std::string text = SavedDocument(*document).tool("pdfinfo -meta");
    EXPECT_THAT(text, HasSubstr("<pdfaid:part>2</pdfaid:part>"));
    EXPECT_THAT(text, HasSubstr("\n   \n<?xpacket end=\"w\"?>"));
    EXPECT_THAT(text, Not(HasSubstr("Theirs")));
    return text;
}

TEST(SavedMetadata, SaysTheSameProducerAsTheInformation) {
    const std::string elements = stamped("<p:Producer>Theirs</p:Producer><xmp:CreatorTool>Theirs</xmp:CreatorTool>");
    EXPECT_THAT(elements, HasSubstr("<p:Producer>Ours &amp; &lt;theirs&gt;</p:Producer>"));
    EXPECT_THAT(elements, HasSubstr("<xmp:CreatorTool>Tool</xmp:CreatorTool>"));
    const std::string attributes = stamped({}, "p:Producer='Theirs' xmp:CreatorTool = \"Theirs\"");
    EXPECT_THAT(attributes, HasSubstr("p:Producer=\"Ours &amp; &lt;theirs&gt;\""));
    EXPECT_THAT(attributes, HasSubstr("xmp:CreatorTool = \"Tool\""));
    EXPECT_THAT(stamped("<p:Producer/>"), HasSubstr("<p:Producer>Ours &amp; &lt;theirs&gt;</p:Producer>"));
}

TEST(SavedMetadata, GainsWhatItLacked) {
    EXPECT_THAT(stamped("<p:ProducerName>kept</p:ProducerName>"),
                HasSubstr("<rdf:Description rdf:about=\"uuid:1\" xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\">"
                          "<pdf:Producer>Ours &amp; &lt;theirs&gt;</pdf:Producer></rdf:Description>"));
}

TEST(SavedMetadata, TitleAndAuthorFollowWhenTheyAreSet) {
    const auto document = opened(test::pdfFromPages(
        {test::pageShowing("A")}, {}, "/Metadata 7 0 R",
        {test::streamBody(
            "<rdf:RDF xmlns:rdf='r'><rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/'>"
            "<dc:title><rdf:Alt><rdf:li xml:lang='x-default'>Old</rdf:li></rdf:Alt></dc:title>"
            "</rdf:Description></rdf:RDF>",
            "/Type /Metadata /Subtype /XML")}));
    document->setInfo(PDFInfoKey::title, "New");
    const std::string text = SavedDocument(*document).tool("pdfinfo -meta");
    EXPECT_THAT(text, HasSubstr("<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">New</rdf:li></rdf:Alt></dc:title>"));
}

TEST(SavedMetadata, ThatIsNoPacketStaysAsItIs) {
    for (const std::string packet :
         {"", "<", "<p:Producer", "xmlns:p=\"http://ns.adobe.com/pdf/1.3/\" <p:Producer>x",
          "=http://ns.adobe.com/pdf/1.3/", "xmlns:=\"http://ns.adobe.com/pdf/1.3/\"<:Producer "}) {
        const auto document = opened(test::pdfFromPages({test::pageShowing("A")}, {}, "/Metadata 7 0 R",
                                                        {test::streamBody(packet, "/Type /Metadata /Subtype /XML")}));
        document->setInfo(PDFInfoKey::producer, "Ours");
        EXPECT_EQ(SavedDocument(*document).tool("pdfinfo -meta"), packet + "\n") << packet;
    }
}

} // namespace
} // namespace orvex
