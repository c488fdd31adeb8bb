// Lets one allocation of a test's run fail.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_FAILING_ALLOCATION_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_FAILING_ALLOCATION_H

#include <cstddef>

namespace fake {

/// While it lives, the `nth` call of operator new (counted from 1) throws std::bad_alloc, in the plug-in as in the host.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t nth);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// False while fewer allocations than that were made.
  bool happened() const;
};

}  // namespace fake

#endif
