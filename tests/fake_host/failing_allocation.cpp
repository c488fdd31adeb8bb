#include "fake_host/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace {

// How many allocations there are still to be up to the one that fails; 0 when none is to fail.
std::size_t allocations_left = 0;

// Memory must not come from malloc(), among whose calls the buffers of get_file() are looked for. Volatile, since otherwise the
// compiler knows that a realloc() of null is a malloc(), and makes one of it.
void* volatile no_memory = nullptr;

}  // namespace

// The replacement holds for the shared libraries too, which take these operators from the program when it has them.
void* operator new(std::size_t size) {
  if (allocations_left > 0 && --allocations_left == 0) throw std::bad_alloc();
  void* const memory = std::realloc(no_memory, size > 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace fake {

FailingAllocation::FailingAllocation(std::size_t nth) { allocations_left = nth; }

FailingAllocation::~FailingAllocation() { allocations_left = 0; }

bool FailingAllocation::happened() const { return allocations_left == 0; }

}  // namespace fake
