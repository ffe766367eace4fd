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

void FileOutput::emit(std::string_view bytes) {
    if (sink_ != nullptr && !bytes.empty()) {
        digest_.add(bytesOf(bytes));
        sink_->write(bytesOf(bytes));
    }
}

} // namespace orvex
