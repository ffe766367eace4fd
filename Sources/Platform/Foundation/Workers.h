// Independent pieces of work, spread over the machine's cores.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace orvex {

/// Calls work(0) to work(count - 1), several at a time, and returns when all are done. After a failure no new piece is
/// started; the failure of the first piece, in their order, is thrown.
void forEachInParallel(std::size_t count, const std::function<void(std::size_t)>& work);

/// Hands produce(0) to produce(count - 1) to consume(), in this order and on the calling thread; several are produced
/// at a time, no more than `ahead` (1 or more) beyond what was consumed. What either throws ends the work and is thrown
/// again.
void forEachInOrder(std::size_t count, const std::function<std::string(std::size_t)>& produce,
                    const std::function<void(const std::string&)>& consume, std::size_t ahead = 256);

} // namespace orvex
