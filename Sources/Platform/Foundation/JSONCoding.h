// Records as JSON objects: a record lists its fields once, and writing and reading both follow that table.
//
//     template <> struct JSONRecord<Box> {
//         static constexpr std::array fields{jsonField<&Box::x>("x"), jsonField<&Box::y>("y")};
//     };
//
// An optional field is left out when absent, and absent when missing or null; any other field is required. Fields are
// texts, numbers, Booleans, enumerations with raw texts, records and lists of these.
#pragma once

#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/Workers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvex {

/// Specialised with `static constexpr std::array fields` in declaration order.
template <class Record> struct JSONRecord;

/// Specialised with `static constexpr std::string_view name` and
/// `static constexpr std::array<std::pair<Enumeration, std::string_view>, N> cases`.
template <class Enumeration> struct JSONEnumeration;

template <class T>
concept JSONRecordType = requires {
    JSONRecord<T>::fields;
};
template <class T>
concept JSONEnumerationType = requires {
    JSONEnumeration<T>::cases;
};

/// One field of `Record`; the functions know its type.
template <class Record> struct JSONField {
    std::string_view key;
    bool required = false;
    void (*write)(JSONWriter&, std::string_view key, const Record&) = nullptr;
    void (*read)(JSONReader&, Record&) = nullptr;
};

template <JSONEnumerationType Enumeration> [[nodiscard]] constexpr std::string_view jsonRawValue(Enumeration value) {
    for (const auto& [candidate, raw] : JSONEnumeration<Enumeration>::cases) {
        if (candidate == value) {
            return raw;
        }
    }
    return {};
}

/// Exact and case-sensitive.
template <JSONEnumerationType Enumeration>
[[nodiscard]] constexpr std::optional<Enumeration> fromJSONRawValue(std::string_view text) {
    for (const auto& [value, raw] : JSONEnumeration<Enumeration>::cases) {
        if (raw == text) {
            return value;
        }
    }
    return std::nullopt;
}

inline void writeJSONValue(JSONWriter& writer, bool value) {
    writer.boolean(value);
}
inline void writeJSONValue(JSONWriter& writer, double value) {
    writer.number(value);
}
inline void writeJSONValue(JSONWriter& writer, std::int64_t value) {
    writer.integer(value);
}
inline void writeJSONValue(JSONWriter& writer, const std::string& value) {
    writer.string(value);
}

template <JSONEnumerationType Enumeration> void writeJSONValue(JSONWriter& writer, Enumeration value) {
    writer.string(jsonRawValue(value));
}

template <JSONRecordType Record> void writeJSONValue(JSONWriter& writer, const Record& record);

template <class Element> void writeJSONValue(JSONWriter& writer, const std::vector<Element>& elements) {
    writer.beginArray();
    for (const auto& element : elements) {
        writeJSONValue(writer, element);
    }
    writer.endArray();
}

inline void readJSONValue(JSONReader& reader, bool& value) {
    value = reader.readBool();
}
inline void readJSONValue(JSONReader& reader, double& value) {
    value = reader.readDouble();
}
inline void readJSONValue(JSONReader& reader, std::int64_t& value) {
    value = reader.readInt();
}
inline void readJSONValue(JSONReader& reader, std::string& value) {
    value = reader.readString();
}

template <JSONEnumerationType Enumeration> void readJSONValue(JSONReader& reader, Enumeration& value) {
    const std::string text = reader.readString();
    const auto found = fromJSONRawValue<Enumeration>(text);
    if (!found) {
        reader.failCorrupted("Cannot initialize " + std::string(JSONEnumeration<Enumeration>::name) +
                             " from invalid String value " + text);
    }
    value = *found;
}

template <JSONRecordType Record> void readJSONValue(JSONReader& reader, Record& record);

/// Specialised as true for records so large that lists of them are worth reading on all cores.
template <class Element> inline constexpr bool isReadSideBySide = false;

template <class Element> void readJSONElement(const JSONElements& elements, std::size_t index, Element& element) {
    JSONReader reader = elements.reader(index);
    readJSONValue(reader, element);
    reader.finish();
}

template <class Element> void readJSONValue(JSONReader& reader, std::vector<Element>& elements) {
    if constexpr (isReadSideBySide<Element>) {
        if (constexpr std::size_t worthIt = 100'000; reader.size() > worthIt) {
            const JSONElements places = reader.takeElements();
            elements.resize(places.size());
            forEachInParallel(places.size(), [&](std::size_t i) { readJSONElement(places, i, elements[i]); });
            return;
        }
    }
    reader.enterArray();
    const std::size_t start = reader.bytesLeft();
    while (reader.nextElement()) {
        if (elements.size() == 1) { // the first tells how many there may be
            constexpr std::size_t mostForeseen = 1024;
            const std::size_t length = start - reader.bytesLeft();
            elements.reserve(std::min(reader.bytesLeft() * 9 / 8 / length + 2, mostForeseen));
        }
        readJSONValue(reader, elements.emplace_back());
    }
    if (elements.capacity() / 2 > elements.size()) {
        elements.shrink_to_fit();
    }
}

template <class Field> inline constexpr bool isJSONOptional = false;
template <class T> inline constexpr bool isJSONOptional<std::optional<T>> = true;

template <class Field> void writeJSONMember(JSONWriter& writer, std::string_view key, const Field& field) {
    if constexpr (isJSONOptional<Field>) {
        if (field) {
            writeJSONMember(writer, key, *field);
        }
    } else {
        writer.key(key);
        writeJSONValue(writer, field);
    }
}

template <class Field> void readJSONMember(JSONReader& reader, Field& field) {
    if constexpr (isJSONOptional<Field>) {
        if (reader.kind() == JSONKind::null) {
            reader.skip();
        } else {
            readJSONValue(reader, field.emplace());
        }
    } else {
        readJSONValue(reader, field);
    }
}

inline void readJSONMember(JSONReader& reader, std::optional<JSONElements>& elements) {
    if (reader.kind() == JSONKind::null) {
        reader.skip();
    } else {
        elements = reader.takeElements();
    }
}

template <class Pointer> struct JSONMemberPointer;
template <class R, class F> struct JSONMemberPointer<F R::*> {
    using Record = R;
    using Field = F;
};

/// Of a record that is never written.
template <auto member> constexpr auto jsonFieldToRead(std::string_view key) {
    using Record = typename JSONMemberPointer<decltype(member)>::Record;
    using Field = typename JSONMemberPointer<decltype(member)>::Field;
    return JSONField<Record>{key, !isJSONOptional<Field>, nullptr,
                             [](JSONReader& reader, Record& record) { readJSONMember(reader, record.*member); }};
}

template <auto member> constexpr auto jsonField(std::string_view key) {
    auto field = jsonFieldToRead<member>(key);
    using Record = typename JSONMemberPointer<decltype(member)>::Record;
    field.write = [](JSONWriter& writer, std::string_view name, const Record& record) {
        writeJSONMember(writer, name, record.*member);
    };
    return field;
}

template <class Record> constexpr auto jsonFieldsSortedByKey() {
    auto fields = JSONRecord<Record>::fields;
    std::sort(fields.begin(), fields.end(), [](const auto& a, const auto& b) { return a.key < b.key; });
    return fields;
}

template <JSONRecordType Record> void writeJSONValue(JSONWriter& writer, const Record& record) {
    static constexpr auto sorted = jsonFieldsSortedByKey<Record>();
    writer.beginObject();
    for (const auto& field : writer.pretty() ? sorted : JSONRecord<Record>::fields) {
        field.write(writer, field.key, record);
    }
    writer.endObject();
}

/// Reads the value of `key` if it is the field's and none with that key came before.
template <std::size_t field, class Record, class Seen>
bool readJSONField(JSONReader& reader, Record& record, std::string_view key, Seen& seen) {
    constexpr auto& description = JSONRecord<Record>::fields[field];
    constexpr std::string_view wanted = description.key; // of a length that the compiler sees
    const bool same = key.size() == wanted.size() && std::memcmp(key.data(), wanted.data(), wanted.size()) == 0;
    if (!same || std::exchange(seen[field], true)) {
        return false;
    }
    description.read(reader, record);
    return true;
}

/// Of members with the same key the first counts; keys that the record does not list are passed over.
template <JSONRecordType Record> void readJSONValue(JSONReader& reader, Record& record) {
    constexpr auto& fields = JSONRecord<Record>::fields;
    std::array<bool, fields.size()> seen{};
    reader.enterObject();
    while (const auto key = reader.nextKey()) {
        const bool read = [&]<std::size_t... field>(std::index_sequence<field...> /*of all*/) {
            return (readJSONField<field>(reader, record, *key, seen) || ...);
        }
        (std::make_index_sequence<fields.size()>());
        if (!read) {
            reader.skip();
        }
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].required && !seen[i]) {
            reader.failMissingKey(fields[i].key);
        }
    }
}

/// Throws JSONError.
template <JSONRecordType Record> [[nodiscard]] std::string encodeJSON(const Record& record, bool pretty) {
    JSONWriter writer(pretty);
    writeJSONValue(writer, record);
    return writer.take();
}

/// Throws JSONError; there is no partial result. That a text is no JSON counts before anything else in it.
template <JSONRecordType Record> [[nodiscard]] Record decodeJSON(const Bytes& data) {
    JSONReader reader(data);
    try {
        Record record;
        readJSONValue(reader, record);
        reader.finish();
        return record;
    } catch (const JSONError&) {
        reader.checkStructure();
        throw;
    }
}

} // namespace orvex
