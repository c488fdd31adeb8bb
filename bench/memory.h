// How much memory a call holds at its height.
#ifndef ECLIPSE_INT_BENCH_MEMORY_H
#define ECLIPSE_INT_BENCH_MEMORY_H

#include <cstddef>
#include <functional>

namespace bench {

/// The most bytes that were allocated with operator new and not yet released at one time while `run` ran, by whichever library,
/// not counting what was there before. As the allocator rounds them up.
std::size_t peak_bytes(const std::function<void()>& run);

}  // namespace bench

#endif
