// Image streams as objects of a file that is being written: equal images and equal profiles stand in it once.
#pragma once

#include "Platform/PDF/ImageStream_p.h"

#include <qpdf/QPDF.hh>

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace orvex {

class ImageObjects {
public:
    explicit ImageObjects(QPDF& target) : target_(target) {}
    /// The image XObject; it borrows the stream's bytes, which stay alive with this.
    QPDFObjectHandle object(const std::shared_ptr<const ImageStream>& stream);

private:
    QPDFObjectHandle make(const ImageStream& stream);
    QPDFObjectHandle colorSpace(const ImageStream& stream);
    QPDFObjectHandle baseColorSpace(const ColorSpace& space);
    QPDFObjectHandle profile(const ColorSpace& space);
    QPDFObjectHandle streamOf(const Bytes& bytes);

    QPDF& target_;
    std::map<std::shared_ptr<const ImageStream>, QPDFObjectHandle> images_;
    using Digest = std::pair<std::uint64_t, std::uint64_t>;
    std::map<Digest, QPDFObjectHandle> profiles_;
};

} // namespace orvex
