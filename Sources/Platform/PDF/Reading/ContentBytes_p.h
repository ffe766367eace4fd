// The bytes of content streams: taken as they are stored while the file is held, unpacked after it was let go.
#pragma once

#include "Platform/PDF/PDFSource_p.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace orvex {

/// Bytes that grow and are used again; what lies beyond `size` is not cleared.
class ContentBuffer {
public:
    void clear() {
        size_ = 0;
        joints_.clear();
    }
    /// Room for `count` more bytes behind the last one.
    [[nodiscard]] std::span<char> room(std::size_t count);
    void grow(std::size_t count) { size_ += count; }
    void append(std::string_view bytes);
    /// A blank that the content itself does not have.
    void appendJoint();
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] std::string_view text() const { return {data_.get(), size_}; }
    [[nodiscard]] std::span<const std::size_t> joints() const { return joints_; }

private:
    std::unique_ptr<char[]> data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::vector<std::size_t> joints_;
};

/// A stream as it is stored.
struct StoredStream {
    std::shared_ptr<const void> owner; ///< null where the bytes are the file's own
    std::string_view bytes;
    bool deflated = false;
};

/// The streams of a page's /Contents or of a form; what is none is passed over. No more than `limit` bytes are unpacked
/// here. Hold the source's mutex.
[[nodiscard]] std::vector<StoredStream> storedStreams(const PDFSource& source, QPDFObjectHandle contents,
                                                      std::size_t limit);
/// The same of the /Contents that a page's text has. None where only the parser can tell what they are.
[[nodiscard]] std::optional<std::vector<StoredStream>> storedStreams(const PDFSource& source, const StoredObject& page,
                                                                     std::size_t limit);
/// Unpacks one behind the other, up to `limit` bytes in all; of a damaged one what can be unpacked. Threads: any.
void unpack(const std::vector<StoredStream>& streams, std::size_t limit, ContentBuffer& buffer);

/// Inflates behind the buffer's last byte. False, with the buffer as it was, for damaged data and for more than `limit`
/// bytes.
[[nodiscard]] bool inflateWhole(std::string_view data, std::size_t limit, ContentBuffer& buffer);

} // namespace orvex
