#include "Platform/PDF/ImageObjects_p.h"

#include "Platform/Imaging/ColorProfile.h"
#include "Platform/Imaging/Deflate.h"
#include "Platform/PDF/Digest_p.h"

#include <cmath>

namespace orvex {

namespace {

/// sRGB's primaries and white point (IEC 61966-2-1), for files that state no more than a gamma.
constexpr const char* whitePoint = "[0.9505 1 1.089]";
constexpr const char* primaries = "[0.4124 0.2126 0.0193 0.3576 0.7152 0.1192 0.1805 0.0722 0.9505]";
constexpr double usualGamma = 2.2;
constexpr double gammaTolerance = 0.05;

const char* deviceSpace(ColorModel model) {
    return model == ColorModel::gray ? "/DeviceGray" : model == ColorModel::rgb ? "/DeviceRGB" : "/DeviceCMYK";
}

} // namespace

QPDFObjectHandle ImageObjects::object(const std::shared_ptr<const ImageStream>& stream) {
    if (const auto known = images_.find(stream); known != images_.end()) {
        return known->second;
    }
    return images_.emplace(stream, make(*stream)).first->second;
}

QPDFObjectHandle ImageObjects::make(const ImageStream& stream) {
    auto object = streamOf(stream.data);
    auto dictionary = object.getDict();
    dictionary.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dictionary.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    dictionary.replaceKey("/Width", QPDFObjectHandle::newInteger(stream.width));
    dictionary.replaceKey("/Height", QPDFObjectHandle::newInteger(stream.height));
    dictionary.replaceKey("/Filter", QPDFObjectHandle::newName(stream.filter));
    if (stream.filter != "/JPXDecode") { // JPEG 2000 data says these things itself
        dictionary.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(stream.bitsPerComponent));
        dictionary.replaceKey("/ColorSpace", colorSpace(stream));
    }
    if (stream.predictorColors > 0) {
        auto parameters = QPDFObjectHandle::newDictionary();
        parameters.replaceKey("/Predictor", QPDFObjectHandle::newInteger(15));
        parameters.replaceKey("/Colors", QPDFObjectHandle::newInteger(stream.predictorColors));
        parameters.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(stream.bitsPerComponent));
        parameters.replaceKey("/Columns", QPDFObjectHandle::newInteger(stream.width));
        dictionary.replaceKey("/DecodeParms", parameters);
    }
    if (stream.inverted) {
        dictionary.replaceKey("/Decode", QPDFObjectHandle::parse("[1 0 1 0 1 0 1 0]"));
    }
    if (stream.softMask) {
        dictionary.replaceKey("/SMask", this->object(stream.softMask));
    }
    return object;
}

QPDFObjectHandle ImageObjects::colorSpace(const ImageStream& stream) {
    auto base = baseColorSpace(stream.colorSpace);
    if (stream.palette.empty()) {
        return base;
    }
    auto indexed = QPDFObjectHandle::newArray();
    indexed.appendItem(QPDFObjectHandle::newName("/Indexed"));
    indexed.appendItem(base);
    indexed.appendItem(QPDFObjectHandle::newInteger(static_cast<long long>(stream.palette.size() / 3) - 1));
    indexed.appendItem(QPDFObjectHandle::newString(std::string(stream.palette.text())));
    return indexed;
}

QPDFObjectHandle ImageObjects::baseColorSpace(const ColorSpace& space) {
    if (isProfileFor(space.iccProfile, space.model)) { // a reader would refuse the image otherwise
        auto array = QPDFObjectHandle::newArray();
        array.appendItem(QPDFObjectHandle::newName("/ICCBased"));
        array.appendItem(profile(space));
        return array;
    }
    const bool calibrated = space.gamma > 0 && std::abs(space.gamma - usualGamma) > gammaTolerance;
    if (!calibrated || space.model == ColorModel::cmyk) {
        return QPDFObjectHandle::newName(deviceSpace(space.model));
    }
    auto parameters = QPDFObjectHandle::newDictionary();
    parameters.replaceKey("/WhitePoint", QPDFObjectHandle::parse(whitePoint));
    auto gamma = QPDFObjectHandle::newReal(space.gamma, 4);
    if (space.model == ColorModel::rgb) {
        parameters.replaceKey("/Matrix", QPDFObjectHandle::parse(primaries));
        gamma = QPDFObjectHandle::newArray({gamma, gamma, gamma});
    }
    parameters.replaceKey("/Gamma", gamma);
    const char* family = space.model == ColorModel::gray ? "/CalGray" : "/CalRGB";
    return QPDFObjectHandle::newArray({QPDFObjectHandle::newName(family), parameters});
}

QPDFObjectHandle ImageObjects::profile(const ColorSpace& space) {
    auto& object = profiles_[digest(space.iccProfile.span())];
    if (!object.isInitialized()) {
        object = QPDFObjectHandle::newStream(&target_, std::string(deflate(space.iccProfile.span()).text()));
        object.setFilterOnWrite(false);
        object.getDict().replaceKey("/Filter", QPDFObjectHandle::newName("/FlateDecode"));
        object.getDict().replaceKey("/N", QPDFObjectHandle::newInteger(space.components()));
        object.getDict().replaceKey("/Alternate", QPDFObjectHandle::newName(deviceSpace(space.model)));
    }
    return object;
}

QPDFObjectHandle ImageObjects::streamOf(const Bytes& bytes) {
    // The writer only reads the buffer; its type knows no const.
    auto buffer = std::make_shared<Buffer>(const_cast<unsigned char*>(bytes.data()), bytes.size());
    auto object = QPDFObjectHandle::newStream(&target_, buffer);
    object.setFilterOnWrite(false);
    return object;
}

} // namespace orvex
