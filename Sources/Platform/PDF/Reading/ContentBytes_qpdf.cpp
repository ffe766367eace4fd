#include "Platform/PDF/Reading/ContentBytes_p.h"

#include "Platform/PDF/Reading/StreamBytes_p.h"
#include "Platform/PDF/Writing/RawStreams_p.h"

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Flate.hh>

#include <algorithm>
#include <cstring>
#include <string>

namespace orvex {

namespace {

constexpr std::size_t mostStreams = 100'000; // of one page

Packing packingIn(const std::vector<TextEntry>& entries) {
    const auto* filter = findEntry(entries, "/Filter");
    if (filter == nullptr) {
        return hasEntry(entries, "/Filter") ? Packing::other : Packing::none;
    }
    std::optional<TextValue> name = *filter;
    if (filter->kind == TextKind::array) {
        TextScanner items(filter->text, 1);
        name = items.value();
        if (!name || items.rest() != "]") {
            return Packing::other;
        }
    }
    const bool flate = name->text == "/FlateDecode" || name->text == "/Fl";
    return flate && !hasEntry(entries, "/DecodeParms") ? Packing::flate : Packing::other;
}

/// None unless the data can be taken as they are.
std::optional<StoredStream> streamFrom(const PDFSource& source, const TextValue& reference, StoredObject& object) {
    const auto id = referenceOf(&reference);
    auto& objects = *source.storedObjects();
    if (!id || !objects.read(source.pdf(), *id, object) || object.data == 0) {
        return std::nullopt;
    }
    const auto* length = findEntry(object.entries, "/Length");
    const auto elsewhere = referenceOf(length);
    const auto size = elsewhere ? objects.integer(*elsewhere) : integerOf(length);
    const Packing packing = packingIn(object.entries);
    if (!size || *size <= 0 || packing == Packing::other) {
        return std::nullopt;
    }
    const auto bytes = streamData(source.bytes().text(), object.data, static_cast<std::size_t>(*size));
    return bytes.empty() ? std::nullopt : std::optional(StoredStream{nullptr, bytes, packing == Packing::flate});
}

StoredStream owned(std::string&& text, bool deflated) {
    auto owner = std::make_shared<const std::string>(std::move(text));
    const std::string_view bytes = *owner;
    return {std::move(owner), bytes, deflated};
}

/// Through qpdf's filters, which give what they have until the data is damaged.
StoredStream unpackedByLibrary(QPDFObjectHandle stream, std::size_t limit) {
    LimitedSink sink(limit);
    try {
        stream.pipeStreamData(&sink, nullptr, 0, qpdf_dl_specialized, true, true);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) { // damaged or endless: what came counts
    }
    return owned(std::move(sink.bytes), false);
}

StoredStream storedStream(const PDFSource& source, QPDFObjectHandle stream, std::size_t limit) {
    const Packing packing = packingOf(stream.getDict());
    if (packing == Packing::other) {
        return unpackedByLibrary(stream, limit);
    }
    const bool deflated = packing == Packing::flate;
    if (const auto bytes = storedData(stream, source.bytes()); !bytes.empty()) {
        return {nullptr, bytes, deflated};
    }
    try {
        const std::shared_ptr<const Buffer> raw = stream.getRawStreamData();
        const auto* data = reinterpret_cast<const char*>(const_cast<Buffer&>(*raw).getBuffer());
        return {raw, {data, raw->getSize()}, deflated};
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return {};
    }
}

/// Byte by byte through zlib, for data that ends or breaks in the middle.
void inflateDamaged(std::string_view data, std::size_t limit, ContentBuffer& buffer) {
    constexpr std::size_t step = 256; // what comes out of the good part of a step is kept
    LimitedSink sink(limit);
    try {
        Pl_Flate flate("content", &sink, Pl_Flate::a_inflate, 4096);
        for (std::size_t at = 0; at < data.size(); at += step) {
            const auto part = data.substr(at, step);
            flate.write(reinterpret_cast<const unsigned char*>(part.data()), part.size());
        }
        flate.finish();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
    }
    buffer.append(sink.bytes);
}

} // namespace

std::span<char> ContentBuffer::room(std::size_t count) {
    if (capacity_ - size_ < count) {
        const std::size_t capacity = std::max(size_ + count, capacity_ * 2);
        std::unique_ptr<char[]> data(new char[capacity]); // not cleared: all of it is written before it is read
        if (size_ > 0) {
            std::memcpy(data.get(), data_.get(), size_);
        }
        data_ = std::move(data);
        capacity_ = capacity;
    }
    return {data_.get() + size_, capacity_ - size_};
}

void ContentBuffer::append(std::string_view bytes) {
    if (!bytes.empty()) {
        std::memcpy(room(bytes.size()).data(), bytes.data(), bytes.size());
        size_ += bytes.size();
    }
}

void ContentBuffer::appendJoint() {
    joints_.push_back(size_);
    append("\n");
}

std::vector<StoredStream> storedStreams(const PDFSource& source, QPDFObjectHandle contents, std::size_t limit) {
    std::vector<StoredStream> streams;
    if (contents.isStream()) {
        streams.push_back(storedStream(source, contents, limit));
    } else if (contents.isArray()) {
        const int count = std::min(contents.getArrayNItems(), static_cast<int>(mostStreams));
        for (int i = 0; i < count && limit > 0; ++i) {
            if (auto item = contents.getArrayItem(i); item.isStream()) {
                streams.push_back(storedStream(source, item, limit));
                limit -= std::min(limit, streams.back().bytes.size());
            }
        }
    }
    return streams;
}

std::optional<std::vector<StoredStream>> storedStreams(const PDFSource& source, const StoredObject& page,
                                                       std::size_t limit) {
    std::vector<StoredStream> streams;
    const auto* contents = findEntry(page.entries, "/Contents");
    if (contents == nullptr) {
        return hasEntry(page.entries, "/Contents") ? std::nullopt : std::optional(std::move(streams));
    }
    const bool isArray = contents->kind == TextKind::array;
    TextScanner items(contents->text, isArray ? 1 : 0);
    StoredObject object;
    for (auto item = items.value(); item; item = items.value()) {
        auto stream = streamFrom(source, *item, object);
        if (!stream) {
            return std::nullopt;
        }
        if (limit > 0 && streams.size() < mostStreams) {
            limit -= std::min(limit, stream->bytes.size());
            streams.push_back(std::move(*stream));
        }
    }
    return streams;
}

void unpack(const std::vector<StoredStream>& streams, std::size_t limit, ContentBuffer& buffer) {
    buffer.clear();
    for (const auto& stream : streams) {
        if (&stream != &streams.front()) {
            buffer.appendJoint();
        }
        const std::size_t left = limit - std::min(limit, buffer.size());
        if (!stream.deflated) {
            buffer.append(stream.bytes.substr(0, left));
        } else if (!inflateWhole(stream.bytes, left, buffer)) {
            inflateDamaged(stream.bytes, left, buffer);
        }
    }
}

} // namespace orvex
