// A file of one page whose resources hold images.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <string>
#include <vector>

namespace orvex::test {

struct FixtureXObject {
    std::string name;       ///< without the slash
    std::string dictionary; ///< entries besides /Length
    std::string data;
};

/// The XObjects stand in the page's own resources, in this order; `more` are further objects, numbered from 4.
Bytes pdfWithXObjects(const std::vector<FixtureXObject>& objects, const std::vector<std::string>& more = {});
/// The dictionary of an image XObject.
std::string imageDictionary(int width, int height, int bits, const std::string& colorSpace,
                            const std::string& more = {});

} // namespace orvex::test
