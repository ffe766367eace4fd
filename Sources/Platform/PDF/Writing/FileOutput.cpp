#include "Platform/PDF/Writing/FileOutput_p.h"

namespace orvex {

namespace {

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace

void FileOutput::write(std::string_view bytes) {
    position_ += bytes.size();
    if (sink_ == nullptr) {
        return;
    }
    if (buffer_.size() + bytes.size() > capacity) {
        flush();
    }
    if (bytes.size() >= capacity) {
        emit(bytes);
    } else {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    }
}

std::string FileOutput::id() {
    flush();
    return "<" + digest_.hex() + ">";
}

void FileOutput::flush() {
    emit({buffer_.data(), buffer_.size()});
    buffer_.clear();
}

/// Piece by piece: what the digest has just read is still in the processor's cache when it is copied.
void FileOutput::emit(std::string_view bytes) {
    while (sink_ != nullptr && !bytes.empty()) {
        const auto piece = bytesOf(bytes.substr(0, capacity));
        digest_.add(piece);
        sink_->write(piece);
        bytes.remove_prefix(piece.size());
    }
}

} // namespace orvex
