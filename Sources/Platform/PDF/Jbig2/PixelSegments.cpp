#include "Platform/PDF/Jbig2/Segments_p.h"

namespace orvex::jbig2 {

Bitmap readGenericRegion(Reader& reader, Size size, Budget& budget) {
    const unsigned flags = reader.u8();
    if ((flags & 1U) != 0) {
        return decodeFacsimile(size.width, size.height, reader, budget);
    }
    if ((flags & 0x10U) != 0) {
        throw Damage("a context of twelve adaptive pixels, which nobody writes");
    }
    GenericCoding coding = readGenericCoding(reader, flags >> 1 & 3U);
    coding.repeatsRows = (flags & 8U) != 0;
    ArithmeticDecoder decoder(reader.rest());
    Contexts contexts = genericContexts(coding.pattern);
    return decodeGeneric(size.width, size.height, coding, decoder, contexts, budget);
}

Bitmap readRefinementRegion(Reader& reader, Size size, const Bitmap& refined, Budget& budget) {
    const unsigned flags = reader.u8();
    RefinementCoding coding = readRefinementCoding(reader, flags & 1U);
    coding.repeats = (flags & 2U) != 0;
    ArithmeticDecoder decoder(reader.rest());
    Contexts contexts = refinementContexts(coding.pattern);
    return decodeRefinement(size.width, size.height, {refined}, coding, decoder, contexts, budget);
}

} // namespace orvex::jbig2
