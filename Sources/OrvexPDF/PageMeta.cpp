#include "OrvexPDF/PageMeta.h"

#include "Platform/Foundation/Log.h"

namespace orvex {

OrvexPageTextFlag OrvexPageTextFlag::of(std::shared_ptr<const PDFPage> page) {
    OrvexPageTextFlag flag;
    flag.page_ = std::move(page);
    return flag;
}

void OrvexPDFPageMeta::setTextRotationTop() {
    textRotation = addOrDie(originalPageRotation, rotation, "the text layer's rotation");
}

} // namespace orvex
