// Pixels of pages: what is rendered is what a saved file of the page would show.
#pragma once

#include "Platform/Imaging/Bitmap.h"
#include "Platform/PDF/PDFPage.h"

#include <cstdint>
#include <optional>

namespace orvex {

struct RenderRequest {
    std::int64_t width = 0;  ///< pixels of the media box as shown, that is turned by the page's rotation
    std::int64_t height = 0; ///< pixels
    /// Annotations, and what subclasses draw over the content. Without it: the bare content.
    bool complete = true;
    bool smooth = true; ///< anti-aliased text and paths
};

/// Whether a bitmap of this size can be asked for: at least one pixel, at most 1 GiB of them.
[[nodiscard]] bool isRenderable(std::int64_t width, std::int64_t height);

/// The page's media box, scaled to the request, over white: 8-bit RGB with an opaque alpha channel. Empty for sizes
/// that are not renderable and for pages that cannot be rendered. Needs no display and no application object. Threads:
/// any; two renderings take turns.
[[nodiscard]] std::optional<Bitmap> render(PDFPage& page, const RenderRequest& request);

} // namespace orvex
