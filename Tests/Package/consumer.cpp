#include <OrvexPDF/Manager.h>

#include <iostream>

int main() {
    const auto manager = orvex::OrvexPDFDocumentManager::create();
    manager->append(std::make_shared<orvex::OrvexPDFPage>());
    std::cout << manager->pdfDoc->pageCount() << " page\n";
    return manager->dataRepresentation() ? 0 : 1;
}
