// Small objects of a file being written, which are compressed together.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvex {

class ObjectStream {
public:
    /// `value` is anything but a stream or a reference.
    void add(std::size_t number, std::string_view value);
    [[nodiscard]] std::size_t count() const { return count_; }
    /// Whether another object had better go into another stream: a reader unpacks all for one.
    [[nodiscard]] bool isFull() const;

    /// A stream's dictionary, without its brackets, and data of the same.
    [[nodiscard]] std::string entries() const;
    [[nodiscard]] std::string data() const { return places_ + values_; }

private:
    std::string places_;
    std::string values_;
    std::size_t count_ = 0;
};

} // namespace orvex
