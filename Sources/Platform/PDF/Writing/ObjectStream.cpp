#include "Platform/PDF/Writing/ObjectStream_p.h"

namespace orvex {

namespace {

constexpr std::size_t mostObjects = 100; // a byte holds their places
constexpr std::size_t enoughBytes = std::size_t{64} * 1024;

} // namespace

void ObjectStream::add(std::size_t number, std::string_view value) {
    places_.append(std::to_string(number)).append(" ").append(std::to_string(values_.size())).append(" ");
    values_.append(value).append("\n");
    ++count_;
}

bool ObjectStream::isFull() const {
    return count_ == mostObjects || values_.size() >= enoughBytes;
}

std::string ObjectStream::entries() const {
    return " /Type /ObjStm /N " + std::to_string(count_) + " /First " + std::to_string(places_.size()) +
           " /Filter /FlateDecode";
}

} // namespace orvex
