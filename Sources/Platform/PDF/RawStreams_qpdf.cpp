#include "Platform/PDF/RawStreams_p.h"

#include <functional>
#include <string_view>

namespace orvex {

namespace {

constexpr std::size_t worthIt = 16'384; // shorter ones go through in one or two pieces anyway

std::string_view dataOf(QPDFObjectHandle stream, const Bytes& file) {
    long long length = 0;
    const auto offset = static_cast<std::size_t>(stream.getParsedOffset());
    if (!stream.getDict().getKey("/Length").getValueAsInt(length) || length < 0) {
        return {};
    }
    const auto size = static_cast<std::size_t>(length);
    return size < worthIt ? std::string_view{} : streamData(file.text(), offset, size);
}

using UseStored = std::function<void(QPDFObjectHandle& object, const std::shared_ptr<Buffer>& data)>;

/// Streams that the writer of `pdf` takes from `file` as they are.
void forEachStored(QPDF& pdf, const Bytes& file, bool compressesStreams, const UseStored& use) {
    for (auto& object : pdf.getAllObjects()) {
        const bool staysAsItIs = object.isStream() && (!compressesStreams || object.getDict().hasKey("/Filter"));
        if (const auto data = staysAsItIs ? storedInPlace(object, file) : nullptr) {
            use(object, data);
        }
    }
}

void replaceData(QPDFObjectHandle& stream, const std::shared_ptr<Buffer>& data) {
    auto dictionary = stream.getDict();
    stream.replaceStreamData(data, dictionary.getKey("/Filter"), dictionary.getKey("/DecodeParms"));
    stream.setFilterOnWrite(false);
}

} // namespace

std::string_view streamData(std::string_view file, std::size_t start, std::size_t size) {
    if (start == 0 || start > file.size() || size > file.size() - start) {
        return {};
    }
    const std::string_view before = file.substr(0, start);
    if (!before.ends_with("stream\n") && !before.ends_with("stream\r\n")) { // junk ahead of the header shifts offsets
        return {};
    }
    std::string_view behind = file.substr(start + size, 11);
    behind.remove_prefix(behind.starts_with("\r\n") ? 2 : behind.starts_with("\n") || behind.starts_with("\r") ? 1 : 0);
    return behind.starts_with("endstream") ? file.substr(start, size) : std::string_view{};
}

std::shared_ptr<Buffer> storedInPlace(QPDFObjectHandle stream, const Bytes& file) {
    const auto data = dataOf(stream, file);
    if (data.empty() || stream.isDataModified() || stream.getOwningQPDF()->isEncrypted()) {
        return nullptr;
    }
    auto* const bytes = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(data.data()));
    return std::make_shared<Buffer>(bytes, data.size());
}

void readStreamsInPlace(QPDF& pdf, const Bytes& file, bool compressesStreams) {
    forEachStored(pdf, file, compressesStreams, replaceData);
}

std::vector<std::pair<QPDFObjGen, std::size_t>> emptyStoredStreams(QPDF& pdf, const Bytes& file,
                                                                   bool compressesStreams) {
    std::vector<std::pair<QPDFObjGen, std::size_t>> emptied;
    const auto nothing = std::make_shared<Buffer>(0);
    forEachStored(pdf, file, compressesStreams, [&](QPDFObjectHandle& object, const std::shared_ptr<Buffer>& data) {
        emptied.emplace_back(object.getObjGen(), data->getSize());
        replaceData(object, nothing);
    });
    return emptied;
}

} // namespace orvex
