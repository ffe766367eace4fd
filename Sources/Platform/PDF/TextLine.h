// A line of a page's text.
#pragma once

#include "Platform/Foundation/Geometry.h"

#include <string>

namespace orvex {

struct TextLine {
    std::string text;         ///< UTF-8, in the order in which it is read
    Rect box;                 ///< in page space: around the advances of its characters, from descent to ascent
    bool isLayerItem = false; ///< an item of an invisible text layer of ours
};

} // namespace orvex
