// Owning pointers to HarfBuzz's objects.
#pragma once

#include <hb.h>

#include <memory>

namespace orvex {

template <auto destroy> struct HbDestroy {
    template <class T> void operator()(T* object) const { destroy(object); }
};
using HbBlob = std::unique_ptr<hb_blob_t, HbDestroy<hb_blob_destroy>>;
using HbFace = std::unique_ptr<hb_face_t, HbDestroy<hb_face_destroy>>;
using HbFont = std::unique_ptr<hb_font_t, HbDestroy<hb_font_destroy>>;

} // namespace orvex
