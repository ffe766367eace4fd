#include "Platform/PDF/Loading/StoredObjects_p.h"

#include <qpdf/Buffer.hh>
#include <qpdf/QPDFXRefEntry.hh>

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace orvex {

namespace {

constexpr int mostPacked = 1'000'000; // objects of one stream

std::string_view textOf(const Buffer& buffer) {
    return {reinterpret_cast<const char*>(const_cast<Buffer&>(buffer).getBuffer()), buffer.getSize()};
}

/// The pairs of number and offset that an object stream begins with. Empty unless all are plain.
std::vector<std::pair<int, std::size_t>> readPlaces(std::string_view data, int count, std::size_t first) {
    std::vector<std::pair<int, std::size_t>> places;
    TextScanner pairs(data.substr(0, first));
    for (int i = 0; i < count; ++i) {
        const auto number = pairs.value();
        const auto offset = pairs.value();
        const auto id = integerOf(number ? &*number : nullptr);
        const auto at = integerOf(offset ? &*offset : nullptr);
        if (!id || !at || *at < 0 || first + static_cast<std::size_t>(*at) >= data.size()) {
            return {};
        }
        places.emplace_back(*id, first + static_cast<std::size_t>(*at));
    }
    std::ranges::sort(places);
    const bool ambiguous = std::ranges::adjacent_find(places, {}, &std::pair<int, std::size_t>::first) != places.end();
    return ambiguous ? std::vector<std::pair<int, std::size_t>>{} : places;
}

bool readDictionary(TextScanner& scanner, StoredObject& object) {
    const char* const start = scanner.rest().data();
    if (!scanner.dictionary(object.entries)) {
        return false;
    }
    object.text = {start, static_cast<std::size_t>(scanner.position() - start)};
    return true;
}

} // namespace

std::size_t headerOffset(std::string_view file) {
    constexpr std::size_t window = 1024;
    const auto found = file.substr(0, window).find("%PDF-");
    return found == std::string_view::npos ? 0 : found;
}

ObjectTable::ObjectTable(QPDF& pdf) {
    const auto table = pdf.getXRefTable();
    places_.reserve(table.size());
    for (const auto& [id, entry] : table) {
        const auto generation = static_cast<std::uint16_t>(id.getGen());
        if (generation != id.getGen()) {
            continue;
        }
        if (entry.getType() == 1) {
            places_.push_back({entry.getOffset(), id.getObj(), generation, false});
        } else if (entry.getType() == 2) {
            places_.push_back({entry.getObjStreamNumber(), id.getObj(), generation, true});
            hasPacked_ = true;
        }
    }
}

std::optional<std::size_t> ObjectTable::position(QPDFObjGen id) const {
    const auto key = [](const Place& place) { return std::pair(place.number, static_cast<int>(place.generation)); };
    const std::pair wanted(id.getObj(), id.getGen());
    const auto found = std::ranges::lower_bound(places_, wanted, {}, key);
    const bool there = found != places_.end() && key(*found) == wanted;
    return there ? std::optional(static_cast<std::size_t>(found - places_.begin())) : std::nullopt;
}

StoredObjects::StoredObjects(const Bytes& file, const ObjectTable& table)
    : file_(file.text()), header_(headerOffset(file.text())), table_(table) {
    file_.remove_prefix(header_);
}

bool StoredObjects::read(QPDF& pdf, QPDFObjGen id, StoredObject& object) {
    object = {std::move(object.entries), {}, 0, nullptr};
    ++reads_;
    const auto position = table_.position(id);
    if (!position) {
        return false;
    }
    const auto& place = table_[*position];
    return place.packed ? readPacked(pdf, place, object) : readInFile(place, object);
}

std::optional<TextScanner> StoredObjects::begin(const ObjectTable::Place& place) const {
    if (place.packed || place.at <= 0 || static_cast<std::size_t>(place.at) >= file_.size()) {
        return std::nullopt;
    }
    TextScanner scanner(file_, static_cast<std::size_t>(place.at));
    const auto number = scanner.value();
    const auto generation = scanner.value();
    const bool found = integerOf(number ? &*number : nullptr) == place.number &&
                       integerOf(generation ? &*generation : nullptr) == place.generation && scanner.word("obj");
    return found ? std::optional(scanner) : std::nullopt;
}

std::optional<int> StoredObjects::integer(QPDFObjGen id) const {
    const auto position = table_.position(id);
    auto scanner = position ? begin(table_[*position]) : std::nullopt;
    const auto value = scanner ? scanner->value() : std::nullopt;
    return value && scanner->word("endobj") ? integerOf(&*value) : std::nullopt;
}

bool StoredObjects::readInFile(const ObjectTable::Place& place, StoredObject& object) const {
    auto scanner = begin(place);
    if (!scanner || !readDictionary(*scanner, object)) {
        return false;
    }
    if (scanner->word("endobj")) {
        return true;
    }
    const std::string_view rest = scanner->rest();
    const std::string_view begin = rest.starts_with("stream\r\n") ? "stream\r\n" : "stream\n";
    object.data = header_ + static_cast<std::size_t>(rest.data() - file_.data()) + begin.size();
    return rest.starts_with(begin);
}

bool StoredObjects::readPacked(QPDF& pdf, const ObjectTable::Place& place, StoredObject& object) {
    const Unpacked* const stream = unpacked(pdf, static_cast<int>(place.at));
    if (stream == nullptr || place.generation != 0) {
        return false;
    }
    const auto found = std::ranges::lower_bound(stream->places, place.number, {}, &std::pair<int, std::size_t>::first);
    if (found == stream->places.end() || found->first != place.number) {
        return false;
    }
    object.owner = stream->data;
    TextScanner scanner(textOf(*stream->data), found->second);
    return readDictionary(scanner, object);
}

const StoredObjects::Unpacked* StoredObjects::unpacked(QPDF& pdf, int stream) {
    if (const auto known = std::ranges::find(kept_, stream, &Unpacked::stream); known != kept_.end()) {
        return known->data ? &*known : nullptr;
    }
    if (const auto before = std::ranges::lower_bound(seen_, stream); before != seen_.end() && *before == stream) {
        ++repeats_;
    } else {
        seen_.insert(before, stream);
    }
    Unpacked& fresh = kept_[oldest_++ % kept_.size()] = {stream, nullptr, {}};
    try {
        auto object = pdf.getObjectByID(stream, 0);
        auto dictionary = object.isStream() ? object.getDict() : QPDFObjectHandle::newNull();
        int count = 0;
        int first = 0;
        if (!dictionary.isDictionaryOfType("/ObjStm") || !dictionary.getKey("/N").getValueAsInt(count) ||
            !dictionary.getKey("/First").getValueAsInt(first) || count < 0 || count > mostPacked || first < 0) {
            return nullptr;
        }
        const std::shared_ptr<const Buffer> data = object.getStreamData(qpdf_dl_specialized);
        fresh.places = readPlaces(textOf(*data), count, static_cast<std::size_t>(first));
        fresh.data = data;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) { // damaged: the parser will say so, or mend it
        return nullptr;
    }
    return &fresh;
}

} // namespace orvex
