#include "Platform/PDF/Saving/Pictures_p.h"

#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Saving/Items_p.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

namespace orvex {

namespace {

constexpr int listNestingLimit = 10; // of lists of points

/// From page space to the picture's: the media box as shown, from (0, 0), stretched to `size`.
AffineTransform placement(const Rect& media, int rotation, Size size) {
    const double right = media.maxX();
    const double top = media.maxY();
    AffineTransform shown{1, 0, 0, 1, -media.x, -media.y};
    if (rotation == 90) {
        shown = {0, -1, 1, 0, -media.y, right};
    } else if (rotation == 180) {
        shown = {-1, 0, 0, -1, right, top};
    } else if (rotation == 270) {
        shown = {0, 1, -1, 0, top, -media.x};
    }
    const bool upright = rotation % 180 == 0;
    const double sx = size.width / (upright ? media.width : media.height);
    const double sy = size.height / (upright ? media.height : media.width);
    const auto stretch = [](double factor) { return std::abs(factor - 1) < 1e-6 ? 1.0 : factor; };
    return shown.followedBy({stretch(sx), 0, 0, stretch(sy), 0, 0});
}

class Mover {
public:
    Mover(const AffineTransform& placement, int rotation) : placement_(placement), rotation_(rotation) {}

    void annotation(QPDFObjectHandle annotation) {
        if (!annotation.isDictionary() || (annotation.isIndirect() && !seen_.insert(annotation.getObjGen()).second)) {
            return;
        }
        rectangle(annotation, "/Rect");
        for (const char* key : {"/QuadPoints", "/Vertices", "/L", "/CL", "/InkList", "/Path"}) {
            if (auto points = annotation.getKey(key); points.isArray()) {
                annotation.replaceKey(key, moved(points, 0));
            }
        }
        if (rotation_ == 0) {
            return;
        }
        turnMargins(annotation);
        if (auto look = annotation.getKey("/MK"); look.isDictionary()) {
            look = look.shallowCopy();
            auto turn = look.getKey("/R");
            const auto degrees = turn.isInteger() ? turn.getIntValue() % 360 : 0;
            look.replaceKey("/R", QPDFObjectHandle::newInteger((degrees - rotation_ + 720) % 360));
            annotation.replaceKey("/MK", look);
        }
        turnAppearances(annotation);
    }

    void rectangle(QPDFObjectHandle holder, const char* key) const {
        const auto rect = readRectangle(holder.getKey(key));
        if (!rect) {
            return;
        }
        const Rect to = placement_.apply(*rect);
        holder.replaceKey(key, QPDFObjectHandle::newArray(
                                   {coordinate(to.x), coordinate(to.y), coordinate(to.maxX()), coordinate(to.maxY())}));
    }

private:
    /// Numbers in pairs, or lists of such lists.
    QPDFObjectHandle moved(QPDFObjectHandle points, int depth) const {
        auto result = QPDFObjectHandle::newArray();
        auto items = points.getArrayAsVector();
        for (std::size_t i = 0; i < items.size(); ++i) {
            Point point;
            if (items[i].isArray() && depth < listNestingLimit) {
                result.appendItem(moved(items[i], depth + 1));
            } else if (i + 1 < items.size() && readNumber(items[i], point.x) && readNumber(items[i + 1], point.y)) {
                const Point to = placement_.apply(point);
                result.appendItem(coordinate(to.x));
                result.appendItem(coordinate(to.y));
                ++i;
            } else {
                result.appendItem(items[i]);
            }
        }
        return result;
    }

    /// Left, bottom, right and top, that change places.
    void turnMargins(QPDFObjectHandle annotation) const {
        auto margins = annotation.getKey("/RD");
        if (margins.isArray() && margins.getArrayNItems() == 4) {
            auto sides = margins.getArrayAsVector();
            std::rotate(sides.begin(), sides.begin() + rotation_ / 90, sides.end());
            annotation.replaceKey("/RD", QPDFObjectHandle::newArray(sides));
        }
    }

    void turnAppearances(QPDFObjectHandle annotation) {
        auto appearances = annotation.getKey("/AP");
        if (!appearances.isDictionary()) {
            return;
        }
        appearances = appearances.shallowCopy();
        for (const auto& kind : appearances.getKeys()) {
            auto appearance = appearances.getKey(kind);
            if (appearance.isDictionary()) {
                appearance = appearance.shallowCopy();
                for (const auto& state : appearance.getKeys()) {
                    appearance.replaceKey(state, turned(appearance.getKey(state)));
                }
            }
            appearances.replaceKey(kind, turned(appearance));
        }
        annotation.replaceKey("/AP", appearances);
    }

    /// Readers fit an appearance into the annotation's rectangle, so that only the turn is to be added to its matrix.
    QPDFObjectHandle turned(QPDFObjectHandle appearance) {
        if (!appearance.isStream()) {
            return appearance;
        }
        auto& copy = turned_[appearance.getObjGen()];
        if (!copy.isInitialized()) {
            copy = appearance.copyStream();
            auto dictionary = copy.getDict();
            const AffineTransform turn = placement({0, 0, 1, 1}, rotation_, {1, 1});
            const AffineTransform matrix =
                readMatrix(dictionary.getKey("/Matrix")).followedBy({turn.a, turn.b, turn.c, turn.d, 0, 0});
            dictionary.replaceKey("/Matrix", QPDFObjectHandle::newArray(
                                                 {coordinate(matrix.a), coordinate(matrix.b), coordinate(matrix.c),
                                                  coordinate(matrix.d), coordinate(matrix.tx), coordinate(matrix.ty)}));
            copy.setFilterOnWrite(false);
        }
        return copy;
    }

    AffineTransform placement_;
    int rotation_;
    std::map<QPDFObjGen, QPDFObjectHandle> turned_;
    std::set<QPDFObjGen> seen_;
};

} // namespace

AffineTransform placeInPicture(const QPDFObjectHandle& page, int rotation, Size size) {
    return placement(pageBox(page, PDFDisplayBox::media), rotation, size);
}

const PicturedPage* picturedPage(const PDFPage& page) {
    const auto* image = std::get_if<ImagePageContent>(&page.content());
    return image != nullptr && image->of ? &*image->of : nullptr;
}

const LoadedPageContent* placeInFile(const PDFPage& page) {
    const auto* pictured = picturedPage(page);
    return pictured != nullptr ? &pictured->page : std::get_if<LoadedPageContent>(&page.content());
}

void becomePicture(QPDFObjectHandle page, int rotation, Size size) {
    const AffineTransform place = placeInPicture(page, rotation, size);
    if (!place.isIdentity()) {
        Mover mover(place, rotation);
        for (const auto& annotation : items(page.getKey("/Annots"))) {
            mover.annotation(annotation);
        }
        for (auto& bead : items(page.getKey("/B"))) {
            if (bead.isDictionary()) {
                mover.rectangle(bead, "/R");
            }
        }
    }
    for (const char* key : {"/CropBox", "/BleedBox", "/TrimBox", "/ArtBox", "/BoxColorInfo", "/Rotate", "/Group",
                            "/Thumb", "/PieceInfo", "/SeparationInfo", "/VP", "/StructParents"}) {
        page.removeKey(key);
    }
    if (!inheritedAttribute(page, "/CropBox").isNull()) {
        page.replaceKey("/CropBox", QPDFObjectHandle::newArray({coordinate(0), coordinate(0), coordinate(size.width),
                                                                coordinate(size.height)}));
    }
}

} // namespace orvex
