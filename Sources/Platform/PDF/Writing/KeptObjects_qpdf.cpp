#include "Platform/PDF/Writing/KeptObjects_p.h"

#include "Platform/PDF/Writing/RawStreams_p.h"

#include <algorithm>
#include <stdexcept>

namespace orvex {

namespace {

/// No other entry is touched when a document is put together, or leads to what is.
constexpr std::array pageKeys{
    "/Type",         "/Parent",    "/Resources", "/MediaBox", "/CropBox", "/BleedBox", "/TrimBox",       "/ArtBox",
    "/Rotate",       "/Contents",  "/UserUnit",  "/Group",    "/Tabs",    "/Thumb",    "/StructParents", "/Metadata",
    "/LastModified", "/PieceInfo", "/Trans",     "/Dur",      "/ID",      "/PZ",       "/BoxColorInfo"};
constexpr std::array streamKeys{"/Length", "/Filter", "/DecodeParms", "/DL"};

/// Each of them once.
bool hasOnly(const std::vector<TextEntry>& entries, const auto& keys) {
    return std::ranges::all_of(entries, [&](const TextEntry& entry) {
        return std::ranges::find(keys, entry.key) != keys.end() && findEntry(entries, entry.key) != nullptr;
    });
}

} // namespace

KeptObjects::KeptObjects(const Bytes& file, const ObjectTable& table, QPDF& pdf)
    : file_(file.text()), table_(table), pdf_(pdf), objects_(file, table), kept_(table.size()), tried_(table.size()),
      attributes_(table.size()), inherited_(1) {}

void KeptObjects::keepPage(QPDFObjGen id) {
    const auto position = positionToTry(id);
    if (position && object_.data == 0 && hasOnly(object_.entries, pageKeys)) {
        const auto* type = findEntry(object_.entries, "/Type");
        kept_[*position] = type != nullptr && type->text == "/Page";
    }
}

void KeptObjects::keepStream(QPDFObjGen id) {
    if (const auto position = positionToTry(id)) {
        kept_[*position] = object_.data != 0 && hasOnly(object_.entries, streamKeys) && !dataOf(object_).empty();
    }
}

/// Of an object that was read now, for the first time; none of others.
std::optional<std::size_t> KeptObjects::positionToTry(QPDFObjGen id) {
    const auto position = table_.position(id);
    if (!position || tried_[*position] || objects_.wastesTime()) {
        return std::nullopt;
    }
    tried_[*position] = true;
    return objects_.read(pdf_, id, object_) ? position : std::nullopt;
}

void KeptObjects::release(QPDFObjGen id) {
    if (const auto position = table_.position(id)) {
        kept_[*position] = false;
    }
}

void KeptObjects::keepAgain(QPDFObjGen id) {
    kept_[table_.position(id).value()] = true;
}

bool KeptObjects::contains(QPDFObjGen id) const {
    const auto position = table_.position(id);
    return position && kept_[*position];
}

QPDFObjectHandle KeptObjects::add(const QPDFObjectHandle& value) {
    const QPDFObjGen id(--added_, 0); // no file has numbers below zero
    pdf_.replaceObject(id, value);
    return pdf_.getObject(id);
}

std::uint32_t KeptObjects::addInherited(const InheritedAttributes& attributes) {
    inherited_.push_back(attributes);
    return static_cast<std::uint32_t>(inherited_.size() - 1);
}

void KeptObjects::setInherited(QPDFObjGen page, std::uint32_t attributes) {
    attributes_[table_.position(page).value()] = attributes;
}

const InheritedAttributes& KeptObjects::inherited(QPDFObjGen page) const {
    return inherited_[attributes_[table_.position(page).value()]];
}

std::string_view KeptObjects::read(QPDFObjGen id, StoredObject& object) {
    if (!objects_.read(pdf_, id, object)) {
        throw std::logic_error("a kept object cannot be read");
    }
    return object.data == 0 ? std::string_view() : dataOf(object);
}

std::string_view KeptObjects::dataOf(const StoredObject& stream) const {
    const auto* length = findEntry(stream.entries, "/Length");
    const auto elsewhere = referenceOf(length);
    const auto size = elsewhere ? objects_.integer(*elsewhere) : integerOf(length);
    return size && *size > 0 ? streamData(file_, stream.data, static_cast<std::size_t>(*size)) : std::string_view();
}

} // namespace orvex
