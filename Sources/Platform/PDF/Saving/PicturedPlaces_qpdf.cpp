#include "Platform/PDF/Saving/PicturedPlaces_p.h"

#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/Saving/DocumentPlaces_p.h"
#include "Platform/PDF/Saving/Items_p.h"
#include "Platform/PDF/Saving/Pictures_p.h"

#include <array>
#include <cmath>
#include <map>
#include <string>

namespace orvex {

namespace {

/// Where a coordinate goes: the line on which the others vary stays upright or level, or becomes the other.
QPDFObjectHandle movedX(QPDFObjectHandle x, const AffineTransform& placement) {
    double value = 0;
    return readNumber(x, value)
               ? coordinate(placement.a != 0 ? placement.a * value + placement.tx : placement.b * value + placement.ty)
               : x;
}
QPDFObjectHandle movedY(QPDFObjectHandle y, const AffineTransform& placement) {
    double value = 0;
    return readNumber(y, value)
               ? coordinate(placement.d != 0 ? placement.d * value + placement.ty : placement.c * value + placement.tx)
               : y;
}

/// Left, top and zoom from the third on; null where a reader is to keep what it has.
void movePoint(std::vector<QPDFObjectHandle>& destination, const AffineTransform& placement) {
    const auto x = movedX(destination[2], placement);
    const auto y = movedY(destination[3], placement);
    const bool isTurned = placement.a == 0;
    destination[2] = isTurned ? y : x;
    destination[3] = isTurned ? x : y;
    double zoom = 0;
    const double scale = std::sqrt(std::abs(placement.a * placement.d - placement.b * placement.c));
    if (readNumber(destination[4], zoom) && zoom != 0 && scale > 0 && scale != 1) {
        destination[4] = coordinate(zoom / scale);
    }
}

/// Left, bottom, right and top from the third on.
void moveRectangle(std::vector<QPDFObjectHandle>& destination, const AffineTransform& placement) {
    std::array<double, 4> sides{};
    if (destination.size() < 6) {
        return;
    }
    for (std::size_t i = 0; i < sides.size(); ++i) {
        if (!readNumber(destination[i + 2], sides[i])) {
            return;
        }
    }
    const Rect to = placement.apply(Rect{sides[0], sides[1], sides[2] - sides[0], sides[3] - sides[1]});
    const std::array<double, 4> moved{to.x, to.y, to.maxX(), to.maxY()};
    for (std::size_t i = 0; i < moved.size(); ++i) {
        destination[i + 2] = coordinate(moved[i]);
    }
}

/// A level edge at the top (H) or an upright one at the left (V): a quarter turn makes one of the other.
void moveEdge(std::vector<QPDFObjectHandle>& destination, const AffineTransform& placement, std::string kind) {
    const bool isLevel = kind.back() == 'H';
    destination[2] = isLevel ? movedY(destination[2], placement) : movedX(destination[2], placement);
    if (placement.a == 0) {
        kind.back() = isLevel ? 'V' : 'H';
        destination[1] = QPDFObjectHandle::newName(kind);
    }
}

/// `destination` is an array that leads to a page.
void moveDestination(QPDFObjectHandle destination, const AffineTransform& placement) {
    auto items = destination.getArrayAsVector();
    const std::string kind = items.size() > 1 && items[1].isName() ? items[1].getName() : std::string();
    if (kind == "/XYZ") {
        items.resize(5, QPDFObjectHandle::newNull());
        movePoint(items, placement);
    } else if (kind == "/FitR") {
        moveRectangle(items, placement);
    } else if (kind == "/FitH" || kind == "/FitV" || kind == "/FitBH" || kind == "/FitBV") {
        items.resize(3, QPDFObjectHandle::newNull());
        moveEdge(items, placement, kind);
    } else { // the whole page, or nothing that is known
        return;
    }
    destination.setArrayFromVector(items);
}

} // namespace

void movePlacesOnPictures(Composition& document, const std::vector<PDFPagePtr>& pages) {
    std::map<QPDFObjGen, AffineTransform> moved;
    std::vector<QPDFObjectHandle> objects;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        if (document.isKept(document.pages[i].object)) {
            continue;
        }
        objects.push_back(document.pages[i].object);
        if (const auto* pictured = picturedPage(*pages[i])) {
            const auto size = pages[i]->bounds(PDFDisplayBox::media).size();
            const auto placement = placeInPicture(objects.back(), pictured->rotation, size);
            if (!placement.isIdentity()) {
                moved.emplace(objects.back().getObjGen(), placement);
            }
        }
    }
    if (moved.empty()) {
        return;
    }
    changePlaces(document.target, document.basePages, objects, [&moved](QPDFObjectHandle destination) {
        if (const auto found = moved.find(destination.getArrayItem(0).getObjGen()); found != moved.end()) {
            moveDestination(destination, found->second);
        }
    });
}

} // namespace orvex
