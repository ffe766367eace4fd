// Independent pieces of work, spread over the machine's cores.
#pragma once

#include <cstddef>
#include <functional>

namespace orvex::tool {

/// Calls work(0) to work(count - 1), several at a time, and returns when all are done. After a failure no new piece is
/// started; the failure of the first piece, in their order, is thrown.
void forEachInParallel(std::size_t count, const std::function<void(std::size_t)>& work);

} // namespace orvex::tool
