#include "Platform/PDF/FormAppearances_p.h"

#include "Platform/PDF/FieldFrame_p.h"
#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/PDFSource_p.h"

#include <qpdf/QPDFAnnotationObjectHelper.hh>

#include <algorithm>
#include <numbers>
#include <optional>

namespace orvex {

namespace {

/// The state that a button is in by its field's value, where it states none itself.
QPDFObjectHandle stateOf(QPDFObjectHandle annotation, QPDFObjectHandle looks) {
    auto value = inheritedAttribute(annotation, "/V");
    return value.isName() && looks.hasKey(value.getName()) ? value : QPDFObjectHandle::newName("/Off");
}

/// An annotation whose only appearance has no states looks the same in all of them; qpdf would find none.
QPDFAnnotationObjectHelper fieldOf(QPDFObjectHandle annotation) {
    auto appearances = annotation.getKey("/AP");
    auto looks = appearances.isDictionary() ? appearances.getKey("/N") : QPDFObjectHandle::newNull();
    if (looks.isStream()) {
        annotation = annotation.shallowCopy();
        annotation.removeKey("/AS");
    } else if (looks.isDictionary() && !annotation.getKey("/AS").isName()) {
        annotation = annotation.shallowCopy();
        annotation.replaceKey("/AS", stateOf(annotation, looks));
    }
    return {annotation};
}

bool isVisibleField(QPDFObjectHandle annotation) {
    constexpr int unseen = an_invisible | an_hidden | an_no_view;
    return annotation.isDictionary() && annotation.getKey("/Subtype").isNameAndEquals("/Widget") &&
           (QPDFAnnotationObjectHelper(annotation).getFlags() & unseen) == 0;
}

bool isShownField(QPDFObjectHandle annotation) {
    return isVisibleField(annotation) && fieldOf(annotation).getAppearanceStream("/N").isStream();
}

/// Whether a field without an appearance has something to show: a value of its own or from above, a frame, a state.
bool hasSomethingToShow(QPDFObjectHandle annotation) {
    return isVisibleField(annotation) && (annotation.hasKey("/MK") || annotation.getKey("/AS").isName() ||
                                          !inheritedAttribute(annotation, "/V").isNull());
}

/// From an appearance's space to the page's: its box, as its matrix shows it, is fitted into the annotation's
/// rectangle. None where nothing is covered.
std::optional<AffineTransform> placeOf(QPDFObjectHandle annotation, QPDFObjectHandle appearance, int pageTurn) {
    const auto rect = readRectangle(annotation.getKey("/Rect"));
    const auto box = readRectangle(appearance.getDict().getKey("/BBox"));
    const Rect shown = readMatrix(appearance.getDict().getKey("/Matrix")).apply(box.value_or(Rect()));
    if (!rect || shown.width <= 0 || shown.height <= 0) {
        return std::nullopt;
    }
    const double x = rect->width / shown.width;
    const double y = rect->height / shown.height;
    const AffineTransform fitted{x, 0, 0, y, rect->x - shown.x * x, rect->y - shown.y * y};
    if ((QPDFAnnotationObjectHelper(annotation).getFlags() & an_no_rotate) == 0) {
        return fitted;
    }
    // Upright on a turned page, with its upper left corner where it is.
    return fitted.followedBy(AffineTransform{1, 0, 0, 1, rect->x, rect->maxY()}
                                 .rotated(pageTurn * std::numbers::pi / 180)
                                 .translated(-rect->x, -rect->maxY()));
}

void appendAppearance(std::string& operators, const AffineTransform& place, const std::string& name) {
    operators += "q\n";
    appendOperator(operators, {place.a, place.b, place.c, place.d, place.tx, place.ty}, "cm");
    operators += name + " Do\nQ\n";
}

/// A copy of the page's dictionary of XObjects, in resources of the page's own.
QPDFObjectHandle ownXObjects(QPDFObjectHandle page) {
    auto resources = inheritedAttribute(page, "/Resources");
    resources = resources.isDictionary() ? resources.shallowCopy() : QPDFObjectHandle::newDictionary();
    auto objects = resources.getKey("/XObject");
    objects = objects.isDictionary() ? objects.shallowCopy() : QPDFObjectHandle::newDictionary();
    resources.replaceKey("/XObject", objects);
    page.replaceKey("/Resources", resources);
    return resources.getKey("/XObject");
}

} // namespace

bool showsFields(QPDFObjectHandle page) {
    auto annotations = page.getKey("/Annots");
    return annotations.isArray() && std::ranges::any_of(annotations.getArrayAsVector(), [](const auto& annotation) {
               return isShownField(annotation) || hasSomethingToShow(annotation);
           });
}

std::string takeFieldAppearances(QPDFObjectHandle page) {
    std::string operators;
    auto kept = QPDFObjectHandle::newArray();
    auto objects = ownXObjects(page);
    int resource = 0;
    for (auto& annotation : page.getKey("/Annots").getArrayAsVector()) {
        if (!isShownField(annotation)) {
            kept.appendItem(annotation);
            continue;
        }
        const std::string name = "/OrvexField" + std::to_string(++resource);
        auto appearance = fieldOf(annotation).getAppearanceStream("/N");
        if (const auto place = placeOf(annotation, appearance, pageRotation(page))) {
            appearance.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/Form")); // some leave it out
            appendAppearance(operators, *place, name);
            objects.replaceKey(name, appearance);
        }
    }
    page.replaceKey("/Annots", kept);
    return operators;
}

} // namespace orvex
