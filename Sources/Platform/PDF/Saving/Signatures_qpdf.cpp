#include "Platform/PDF/Saving/Signatures_p.h"

#include <set>
#include <utility>
#include <vector>

namespace orvex {

void dropSignatures(QPDF& target) {
    auto root = target.getRoot();
    root.removeKey("/Perms");
    root.removeKey("/DSS");
    auto form = root.getKey("/AcroForm");
    if (!form.isDictionary()) {
        return;
    }
    form.removeKey("/SigFlags");
    std::vector<std::pair<QPDFObjectHandle, bool>> waiting; // a field and whether those above it are signatures
    const auto addAll = [&waiting](QPDFObjectHandle fields, bool signature) {
        for (auto& field : fields.isArray() ? fields.getArrayAsVector() : std::vector<QPDFObjectHandle>{}) {
            waiting.emplace_back(field, signature);
        }
    };
    std::set<QPDFObjGen> seen;
    addAll(form.getKey("/Fields"), false);
    while (!waiting.empty()) {
        auto [field, signature] = waiting.back();
        waiting.pop_back();
        if (!field.isDictionary() || (field.isIndirect() && !seen.insert(field.getObjGen()).second)) {
            continue;
        }
        if (field.hasKey("/FT")) {
            signature = field.getKey("/FT").isNameAndEquals("/Sig");
        }
        if (signature) {
            field.removeKey("/V");
        }
        addAll(field.getKey("/Kids"), signature);
    }
}

} // namespace orvex
