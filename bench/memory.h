// The peak memory of a call.
#ifndef ECLIPSE_INT_BENCH_MEMORY_H
#define ECLIPSE_INT_BENCH_MEMORY_H

#include <cstddef>
#include <functional>

namespace bench {

/// The peak number of bytes that were allocated with operator new, by any library, while `run` ran, as the allocator rounds
/// them up. Memory that was allocated before is not counted.
std::size_t peak_bytes(const std::function<void()>& run);

}  // namespace bench

#endif
