// Making sure of memory before anything is changed.
#pragma once

#include <vector>

namespace orvex {

/// Room for one more, which can then be added without a failure. Grows as adding does.
template <class Value> void makeRoom(std::vector<Value>& values) {
    if (values.size() == values.capacity()) {
        values.reserve(2 * values.size() + 1);
    }
}

} // namespace orvex
