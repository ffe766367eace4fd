// Allocations that fail on demand: this program's operator new stands before the standard library's.
#pragma once

namespace orvex::test {

/// From here on the `number`-th allocation of this thread throws std::bad_alloc, once; 0: none does.
void failAllocation(long number);
/// The same, and so does every one after it.
void failAllocationsFrom(long number);
/// Nothing fails any more. How many allocations there were since failAllocation().
long stopFailing();

} // namespace orvex::test
