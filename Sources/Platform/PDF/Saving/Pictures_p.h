// Pages of files of which a picture is left: what stood on them stays where it was.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/PDF/PDFPage.h"

#include <qpdf/QPDFObjectHandle.hh>

namespace orvex {

/// Null for a page that is no picture of a page of a file.
[[nodiscard]] const PicturedPage* picturedPage(const PDFPage& page);
/// The page of a file that the page is or stands for; null when there is none.
[[nodiscard]] const LoadedPageContent* placeInFile(const PDFPage& page);

/// From page space to that of a picture of `size` points, which shows the page's media box turned by `rotation`
/// degrees.
[[nodiscard]] AffineTransform placeInPicture(const QPDFObjectHandle& page, int rotation, Size size);

/// Makes of a page of a file, or a copy of one, a page for a picture of `size` points that shows its media box turned
/// by `rotation` (degrees, clockwise). Its content and boxes go; annotations, their appearances and article beads move
/// to where the picture shows what they belong to. The picture itself and the media box are the caller's.
void becomePicture(QPDFObjectHandle page, int rotation, Size size);

} // namespace orvex
