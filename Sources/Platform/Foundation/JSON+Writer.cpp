#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

/// The letter behind the backslash for bytes that have a short escape, 0 for others.
char shortEscape(char c) {
    switch (c) {
    case '"':
    case '\\':
    case '/':
        return c;
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

bool needsEscape(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' || c == '/';
}

void appendEscape(std::string& text, char c) {
    constexpr std::string_view hex = "0123456789abcdef";
    text += '\\';
    if (const char letter = shortEscape(c); letter != 0) {
        text += letter;
        return;
    }
    const auto byte = static_cast<unsigned char>(c);
    text += "u00";
    text += hex[byte >> 4U];
    text += hex[byte & 15U];
}

void write(JSONWriter& writer, const JSONValue& value);

void write(JSONWriter& writer, const JSONValue::Array& elements) {
    writer.beginArray();
    for (const auto& element : elements) {
        write(writer, element);
    }
    writer.endArray();
}

void write(JSONWriter& writer, const JSONValue::Object& members) {
    std::vector<const JSONValue::Member*> order;
    order.reserve(members.size());
    for (const auto& member : members) {
        order.push_back(&member);
    }
    if (writer.pretty()) {
        std::stable_sort(order.begin(), order.end(), [](auto* a, auto* b) { return a->first < b->first; });
    }
    writer.beginObject();
    for (const auto* member : order) {
        writer.key(member->first);
        write(writer, member->second);
    }
    writer.endObject();
}

struct ScalarWriter {
    JSONWriter& writer;
    void operator()(std::nullptr_t) const { writer.null(); }
    void operator()(bool value) const { writer.boolean(value); }
    void operator()(std::int64_t value) const { writer.integer(value); }
    void operator()(double value) const { writer.number(value); }
    void operator()(const std::string& value) const { writer.string(value); }
    void operator()(const JSONValue::Array& elements) const { write(writer, elements); }
    void operator()(const JSONValue::Object& members) const { write(writer, members); }
};

void write(JSONWriter& writer, const JSONValue& value) {
    std::visit(ScalarWriter{writer}, value.storage());
}

} // namespace

std::string writeJSON(const JSONValue& value, bool pretty) {
    JSONWriter writer(pretty);
    write(writer, value);
    return writer.take();
}

void JSONWriter::key(std::string_view name) {
    startLine();
    levels_.back().key = name;
    appendString(name);
    text_ += pretty_ ? " : " : ":";
}

void JSONWriter::null() {
    startValue();
    text_ += "null";
}

void JSONWriter::boolean(bool value) {
    startValue();
    text_ += value ? "true" : "false";
}

void JSONWriter::integer(std::int64_t value) {
    startValue();
    text_ += std::to_string(value);
}

void JSONWriter::number(double value) {
    startValue();
    if (!std::isfinite(value)) {
        refuse(describe(value), "Unable to encode Double." + describe(value) + " directly in JSON.");
    }
    appendDescription(text_, value);
    if (text_.ends_with(".0")) {
        text_.resize(text_.size() - 2);
    }
}

void JSONWriter::string(std::string_view value) {
    startValue();
    appendString(value);
}

void JSONWriter::appendString(std::string_view value) {
    if (!isValidUTF8(value)) {
        refuse("String", "Unable to encode a String that is not valid UTF-8.");
    }
    text_ += '"';
    while (!value.empty()) {
        const auto special = std::find_if(value.begin(), value.end(), needsEscape);
        text_.append(value.begin(), special);
        value.remove_prefix(static_cast<std::size_t>(special - value.begin()));
        if (!value.empty()) {
            appendEscape(text_, value.front());
            value.remove_prefix(1);
        }
    }
    text_ += '"';
}

void JSONWriter::open(char bracket) {
    startValue();
    if (levels_.size() == jsonDepthLimit) {
        refuse("nesting", "Unable to encode more than " + std::to_string(jsonDepthLimit) + " nested levels.");
    }
    text_ += bracket;
    levels_.push_back({bracket == '[', true, 0, {}});
}

void JSONWriter::close(char bracket) {
    const bool empty = levels_.back().first;
    levels_.pop_back();
    if (pretty_) {
        text_.append(empty ? "\n\n" : "\n").append(2 * levels_.size(), ' ');
    }
    text_ += bracket;
}

void JSONWriter::startValue() {
    if (!levels_.empty() && levels_.back().array) {
        startLine();
    }
}

/// The comma and the line of the next member or element.
void JSONWriter::startLine() {
    Level& level = levels_.back();
    text_ += level.first ? "" : ",";
    level.index += level.first ? 0 : 1;
    level.first = false;
    if (pretty_) {
        text_.append("\n").append(2 * levels_.size(), ' ');
    }
}

void JSONWriter::refuse(const std::string& value, const std::string& detail) const {
    JSONPath path;
    for (const Level& level : levels_) {
        path.push_back(level.array ? JSONPathStep(level.index) : JSONPathStep(std::string(level.key)));
    }
    throw JSONError(JSONErrorKind::invalidValue, value, std::move(path), detail);
}

} // namespace orvex
