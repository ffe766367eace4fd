#include "Platform/Imaging/ImagingModule_p.h"

#include "Platform/Foundation/Module.h"

namespace orvex {

const ImagingModule& imagingModule() {
    static const auto& loaded = *static_cast<const ImagingModule*>(
        loadModule(ORVEX_IMAGING_MODULE, "orvexImagingModule", "what decodes and resamples pictures"));
    return loaded;
}

} // namespace orvex
