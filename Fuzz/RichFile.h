// A small file with everything that a file may hold besides pages.
#pragma once

#include "Support/PDFFixture.h"

#include <string>
#include <vector>

namespace orvex::fuzz {

inline std::vector<std::string> richObjects() {
    return {
        "<< /Type /Catalog /Pages 2 0 R /Outlines 8 0 R /Dests << /d [3 0 R /Fit] >> /AcroForm << /Fields [7 0 R] "
        "/DA (/F1 9 Tf) >> /PageLabels << /Nums [0 << /S /r >> 1 << /S /D >>] >> /Names << /EmbeddedFiles << /Names "
        "[(a.txt) << /Type /Filespec /F (a.txt) /EF << /F 10 0 R >> >>] >> >> /OCProperties << /OCGs [11 0 R] /D << "
        "/Order [11 0 R] >> >> /StructTreeRoot 12 0 R >>",
        "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 /MediaBox [0 0 300 200] /Rotate 90 >>",
        "<< /Type /Page /Parent 2 0 R /Contents [5 0 R 5 0 R] /StructParents 0 /Resources << /Font << /F1 6 0 R >> "
        "/Properties << /O 11 0 R >> >> /Annots [7 0 R << /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [4 0 R "
        "/Fit] >>] >>",
        "<< /Type /Page /Parent 2 0 R /Contents 5 0 R /Resources << /Font << /F1 6 0 R >> >> >>",
        test::streamBody("q /OC /O BDC BT /F1 12 Tf 20 100 Td [(He) -20 (llo)] TJ ET EMC Q"),
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding << /Differences [65 /uni0416 /f_i] >> >>",
        "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (value) /Rect [20 20 90 40] /P 3 0 R /AP << /N 13 0 R "
        ">> "
        ">>",
        "<< /Type /Outlines /First 9 0 R /Last 9 0 R /Count 1 >>",
        "<< /Title (One) /Parent 8 0 R /A << /S /GoTo /D (d) >> >>",
        test::streamBody("attached"),
        "<< /Type /OCG /Name (Layer) >>",
        "<< /Type /StructTreeRoot /K << /S /P /Pg 3 0 R /K 0 >> /ParentTree << /Nums [0 []] >> >>",
        test::streamBody("BT /F1 9 Tf (value) Tj ET", "/Type /XObject /Subtype /Form /BBox [0 0 70 20]")};
}

inline std::string richFile() {
    return test::pdfFromObjects(richObjects());
}

inline std::string packedRichFile() {
    return test::packedPDFFromObjects(richObjects());
}

} // namespace orvex::fuzz
