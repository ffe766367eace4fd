#include "Platform/Text/FontsModule_p.h"
#include "Platform/Text/HarfBuzz_p.h"

#include <hb-subset.h>

namespace orvex {

namespace {

using HbInput = std::unique_ptr<hb_subset_input_t, HbDestroy<hb_subset_input_destroy>>;

HbFace subset(hb_face_t* face, const std::set<std::uint32_t>& glyphs) {
    const HbInput input(hb_subset_input_create_or_fail());
    if (!input) {
        return nullptr;
    }
    hb_subset_input_set_flags(input.get(), HB_SUBSET_FLAGS_RETAIN_GIDS | HB_SUBSET_FLAGS_NO_HINTING |
                                               HB_SUBSET_FLAGS_NOTDEF_OUTLINE);
    hb_set_t* dropped = hb_subset_input_set(input.get(), HB_SUBSET_SETS_DROP_TABLE_TAG);
    for (const auto tag : {HB_TAG('G', 'S', 'U', 'B'), HB_TAG('G', 'P', 'O', 'S'), HB_TAG('G', 'D', 'E', 'F'),
                           HB_TAG('n', 'a', 'm', 'e'), HB_TAG('c', 'm', 'a', 'p'), HB_TAG('p', 'o', 's', 't')}) {
        hb_set_add(dropped, tag);
    }
    for (const std::uint32_t glyph : glyphs) {
        hb_set_add(hb_subset_input_glyph_set(input.get()), glyph);
    }
    return HbFace(hb_subset_or_fail(face, input.get()));
}

Bytes contents(hb_blob_t* blob) {
    unsigned length = 0;
    const char* data = hb_blob_get_data(blob, &length);
    return Bytes::copyOf(std::string_view(data, length));
}

} // namespace

std::optional<FontSubset> cutDown(const FontFile& font, const std::set<std::uint32_t>& glyphs) {
    const HbBlob file(hb_blob_create_from_file_or_fail(font.path.c_str()));
    if (!file) {
        return std::nullopt;
    }
    const HbFace face(hb_face_create(file.get(), font.index));
    const HbFace small = subset(face.get(), glyphs);
    if (!small) {
        return std::nullopt;
    }
    const HbFont scaled(hb_font_create(face.get()));
    hb_font_extents_t extents{};
    hb_font_get_h_extents(scaled.get(), &extents);
    const double unitsPerEm = hb_face_get_upem(face.get());
    const HbBlob cff(hb_face_reference_table(small.get(), HB_TAG('C', 'F', 'F', ' ')));
    const bool isCFF = hb_blob_get_length(cff.get()) > 0;
    const HbBlob whole(hb_face_reference_blob(small.get()));
    return FontSubset{contents(isCFF ? cff.get() : whole.get()), isCFF, extents.ascender / unitsPerEm,
                      extents.descender / unitsPerEm};
}

} // namespace orvex
