#include "Platform/PDF/Saving/FieldAppearances_p.h"

#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/Saving/Form_p.h"
#include "Platform/PDF/Saving/Items_p.h"

#include <qpdf/QPDFAcroFormDocumentHelper.hh>
#include <qpdf/QUtil.hh>

#include <algorithm>
#include <array>
#include <string>

namespace orvex {

namespace {

std::string operand(double value) {
    return QUtil::double_to_string(value, 4) + " ";
}

/// The operator that sets a colour of one, three or four components; empty for others, which mean none.
std::string colorOperator(QPDFObjectHandle color, const std::array<const char*, 3>& names) {
    const auto components = items(color);
    std::string text;
    for (auto component : components) {
        double value = 0;
        text += readNumber(component, value) ? operand(value) : "0 ";
    }
    return components.size() == 1   ? text + names[0] + "\n"
           : components.size() == 3 ? text + names[1] + "\n"
           : components.size() == 4 ? text + names[2] + "\n"
                                    : std::string();
}

class AppearanceMaker {
public:
    AppearanceMaker(QPDF& target, QPDFObjectHandle form) : target_(target), form_(form), fields_(target) {
        auto need = form_.getKey("/NeedAppearances");
        makesAll_ = need.isBool() && need.getBoolValue();
        addFallbackFont();
    }

    void make(QPDFObjectHandle annotation) {
        if (!annotation.isDictionary() || !annotation.getKey("/Subtype").isNameAndEquals("/Widget") ||
            !annotation.getKey("/Rect").isRectangle()) {
            return;
        }
        QPDFAnnotationObjectHelper widget(annotation);
        auto field = fields_.getFieldForAnnotation(widget);
        const bool isMissing = !hasLook(annotation);
        if (field.isText() || field.isChoice()) {
            if (isMissing) {
                giveLook(annotation, frame(annotation) + "/Tx BMC\nEMC\n", "<< >>");
            }
            if (isMissing || makesAll_) {
                field.generateAppearance(widget);
            }
        } else if (isMissing && (field.isCheckbox() || field.isRadioButton())) {
            const std::string mark = isOn(annotation, field) ? markOf(annotation, field.isRadioButton()) : "";
            giveLook(annotation, frame(annotation) + mark,
                     "<< /Font << /ZaDb << /Type /Font /Subtype /Type1 /BaseFont /ZapfDingbats >> >> >>");
        }
    }

private:
    static bool hasLook(QPDFObjectHandle annotation) {
        auto looks = annotation.getKey("/AP");
        auto normal = looks.isDictionary() ? looks.getKey("/N") : QPDFObjectHandle::newNull();
        return normal.isStream() || (normal.isDictionary() && !normal.getKeys().empty());
    }

    /// Many forms name Helvetica so without saying what it is.
    void addFallbackFont() {
        if (!form_.getKey("/DR").isDictionary()) {
            form_.replaceKey("/DR", QPDFObjectHandle::newDictionary());
        }
        auto resources = form_.getKey("/DR");
        if (!resources.getKey("/Font").isDictionary()) {
            resources.replaceKey("/Font", QPDFObjectHandle::newDictionary());
        }
        if (auto fonts = resources.getKey("/Font"); !fonts.hasKey("/Helv")) {
            fonts.replaceKey("/Helv", QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
                                                              "/Encoding /WinAnsiEncoding >>"));
        }
    }

    static QPDFObjectHandle::Rectangle box(QPDFObjectHandle annotation) {
        const auto rect = annotation.getKey("/Rect").getArrayAsRectangle();
        return {0, 0, rect.urx - rect.llx, rect.ury - rect.lly};
    }

    /// Background and border.
    static std::string frame(QPDFObjectHandle annotation) {
        auto look = annotation.getKey("/MK");
        if (!look.isDictionary()) {
            return {};
        }
        const auto size = box(annotation);
        std::string text;
        if (const auto fill = colorOperator(look.getKey("/BG"), {"g", "rg", "k"}); !fill.empty()) {
            text += "q\n" + fill + "0 0 " + operand(size.urx) + operand(size.ury) + "re f\nQ\n";
        }
        if (const auto stroke = colorOperator(look.getKey("/BC"), {"G", "RG", "K"}); !stroke.empty()) {
            auto style = annotation.getKey("/BS");
            double width = 1;
            if (style.isDictionary()) {
                (void)readNumber(style.getKey("/W"), width);
            }
            text += "q\n" + stroke + operand(width) + "w\n" + operand(width / 2) + operand(width / 2) +
                    operand(size.urx - width) + operand(size.ury - width) + "re S\nQ\n";
        }
        return text;
    }

    static bool isOn(QPDFObjectHandle annotation, QPDFFormFieldObjectHelper field) {
        auto state = annotation.getKey("/AS");
        state = state.isName() ? state : field.getValue();
        return state.isName() && state.getName() != "/Off";
    }

    /// A character of ZapfDingbats in the middle: a tick, a disc, or what the field asks for.
    static std::string markOf(QPDFObjectHandle annotation, bool isRadio) {
        auto look = annotation.getKey("/MK");
        auto asked = look.isDictionary() ? look.getKey("/CA") : QPDFObjectHandle::newNull();
        const std::string mark = asked.isString() && !asked.getStringValue().empty() ? asked.getStringValue()
                                 : isRadio                                           ? "l"
                                                                                     : "4";
        const auto size = box(annotation);
        const double height = 0.8 * std::min(size.urx, size.ury);
        constexpr double advance = 0.8; // of the usual marks, and their height above the base line
        constexpr double rise = 0.7;
        return "q\nBT\n0 g\n/ZaDb " + operand(height) + "Tf\n" + operand((size.urx - advance * height) / 2) +
               operand((size.ury - rise * height) / 2) + "Td\n" + QPDFObjectHandle::newString(mark).unparse() +
               " Tj\nET\nQ\n";
    }

    void giveLook(QPDFObjectHandle annotation, const std::string& content, const std::string& resources) {
        auto stream = target_.newStream(content);
        auto dictionary = stream.getDict();
        dictionary.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
        dictionary.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
        dictionary.replaceKey("/BBox", QPDFObjectHandle::newArray(box(annotation)));
        dictionary.replaceKey("/Resources", QPDFObjectHandle::parse(resources));
        annotation.replaceKey("/AP", QPDFObjectHandle::newDictionary());
        annotation.getKey("/AP").replaceKey("/N", stream);
    }

    QPDF& target_;
    QPDFObjectHandle form_;
    QPDFAcroFormDocumentHelper fields_;
    bool makesAll_ = false;
};

} // namespace

void makeMissingAppearances(Composition& document) {
    mergeForms(document);
    auto form = document.target.getRoot().getKey("/AcroForm");
    if (!form.isDictionary()) {
        return;
    }
    AppearanceMaker maker(document.target, form);
    for (auto& page : document.pages) {
        for (const auto& annotation : items(page.object.getKey("/Annots"))) {
            maker.make(annotation);
        }
    }
}

} // namespace orvex
