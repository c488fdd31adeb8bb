// The memory that a test program and the libraries in it get from operator new: it can fail, and it is counted.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_ALLOCATIONS_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_ALLOCATIONS_H

#include <cstddef>

namespace fake {

enum class Extent { once, from_then_on };

/// While it lives, the `nth` allocation (counted from 1), or each from that one on, throws std::bad_alloc, in the libraries as
/// in the host. There is one at a time.
class FailingAllocations {
 public:
  FailingAllocations(std::size_t nth, Extent extent);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;

  /// False while fewer allocations than that were made.
  bool happened() const;
};

/// While it lives, no allocation fails or counts: for what a test does for itself in the midst of a run.
class UncountedAllocations {
 public:
  UncountedAllocations();
  ~UncountedAllocations();
  UncountedAllocations(const UncountedAllocations&) = delete;
  UncountedAllocations& operator=(const UncountedAllocations&) = delete;
};

/// How many allocations are held at present.
std::size_t held_allocations();

}  // namespace fake

#endif
