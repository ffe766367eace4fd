#include "Platform/PDF/Objects/KeyOrder_p.h"

#include <qpdf/Buffer.hh>
#include <qpdf/BufferInputSource.hh>
#include <qpdf/QPDFTokenizer.hh>

#include <algorithm>
#include <optional>
#include <set>

namespace orvex {

namespace {

using Keys = std::vector<std::string>;
using TokenType = QPDFTokenizer::token_type_e;

constexpr int depthLimit = 500;

/// Tokens of bytes that somebody else keeps.
class Tokens {
public:
    Tokens(std::span<const std::uint8_t> bytes, std::size_t offset)
        // The buffer is only read; its type knows no const.
        : buffer_(const_cast<unsigned char*>(bytes.data()), bytes.size()),
          input_(std::make_shared<BufferInputSource>("input", &buffer_)) {
        tokenizer_.allowEOF(); // the end is a token, which ends the search
        input_->seek(static_cast<qpdf_offset_t>(std::min(offset, bytes.size())), SEEK_SET);
    }

    QPDFTokenizer::Token next() { return tokenizer_.readToken(input_, "dictionary", true); }
    /// Passes over the value that `token` begins. False at the end of the bytes or of the enclosing container.
    bool skipValue(const QPDFTokenizer::Token& token) {
        int depth = 0;
        for (auto at = token;; at = next()) {
            switch (at.getType()) {
            case TokenType::tt_dict_open:
            case TokenType::tt_array_open:
                ++depth;
                break;
            case TokenType::tt_dict_close:
            case TokenType::tt_array_close:
                --depth;
                break;
            case TokenType::tt_eof:
                return false;
            default:
                break;
            }
            if (depth <= 0) {
                return depth == 0;
            }
            if (depth > depthLimit) {
                return false;
            }
        }
    }

private:
    Buffer buffer_;
    std::shared_ptr<InputSource> input_;
    QPDFTokenizer tokenizer_;
};

/// Of a key that stands twice, the later place is that of the value that counts.
void append(Keys& keys, const std::string& key) {
    keys.erase(std::remove(keys.begin(), keys.end(), key), keys.end());
    keys.push_back(key);
}

/// The keys of the dictionary whose text begins at `offset`. References are several tokens; only a name can be a key.
Keys readKeys(std::span<const std::uint8_t> bytes, std::size_t offset) {
    Keys keys;
    Tokens tokens(bytes, offset);
    if (offset >= bytes.size() || tokens.next().getType() != TokenType::tt_dict_open) {
        return keys;
    }
    bool value = false;
    for (auto token = tokens.next(); token.getType() != TokenType::tt_dict_close; token = tokens.next()) {
        if (token.getType() == TokenType::tt_name && !value) {
            append(keys, token.getValue());
            value = true;
            continue;
        }
        if (!tokens.skipValue(token)) {
            break;
        }
        value = false;
    }
    return keys;
}

bool holds(const Keys& keys, const std::set<std::string>& wanted) {
    return std::all_of(wanted.begin(), wanted.end(),
                       [&](const std::string& key) { return std::find(keys.begin(), keys.end(), key) != keys.end(); });
}

/// The number of the object stream that holds an object; none for one that stands in the file itself.
std::optional<int> streamThatHolds(const PDFSource& source, QPDFObjGen object) {
    if (const auto* const table = source.objectTable()) {
        const auto position = table->position(object);
        const bool isPacked = position && (*table)[*position].packed;
        return isPacked ? std::optional(static_cast<int>((*table)[*position].at)) : std::nullopt;
    }
    const auto table = source.pdf().getXRefTable(); // a copy
    const auto entry = table.find(object);
    const bool isPacked = entry != table.end() && entry->second.getType() == 2;
    return isPacked ? std::optional(entry->second.getObjStreamNumber()) : std::nullopt;
}

/// The decoded object stream that holds an object. Empty for an object that stands in the file itself.
std::shared_ptr<Buffer> objectStream(const PDFSource& source, QPDFObjGen object) {
    const auto stream = streamThatHolds(source, object);
    return stream ? source.pdf().getObjectByID(*stream, 0).getStreamData() : nullptr;
}

Keys keysInText(const PDFSource& source, const QPDFObjectHandle& dictionary, QPDFObjGen owner,
                const std::set<std::string>& wanted) {
    const auto offset = QPDFObjectHandle(dictionary).getParsedOffset();
    if (offset < 0) {
        return {};
    }
    const auto place = static_cast<std::size_t>(offset);
    Keys keys = readKeys(source.bytes().span(), headerOffset(source.bytes().text()) + place);
    if (holds(keys, wanted)) {
        return keys;
    }
    const auto stream = objectStream(source, owner);
    return stream ? readKeys({stream->getBuffer(), stream->getSize()}, place) : Keys{};
}

} // namespace

std::vector<std::string> keysInFileOrder(const PDFSource& source, QPDFObjectHandle dictionary, QPDFObjGen owner) {
    const std::set<std::string> present = dictionary.getKeys();
    if (present.size() < 2) {
        return {present.begin(), present.end()};
    }
    Keys keys = keysInText(source, dictionary, owner, present);
    std::erase_if(keys, [&](const std::string& key) { return !present.contains(key); });
    std::copy_if(
        present.begin(), present.end(), std::back_inserter(keys),
        [sorted = std::set(keys.begin(), keys.end())](const std::string& key) { return !sorted.contains(key); });
    return keys;
}

} // namespace orvex
