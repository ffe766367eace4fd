#include "Platform/Imaging/ImagingModule_p.h"

extern "C" {
extern const orvex::ImagingModule orvexImagingModule;
constinit const orvex::ImagingModule orvexImagingModule{orvex::tiff::readInfo,
                                                        orvex::tiff::verify,
                                                        orvex::tiff::decode,
                                                        orvex::jpeg2000::decode,
                                                        orvex::jpeg2000::encodeCodestream,
                                                        orvex::resampleInto,
                                                        orvex::convertByProfile};
}
