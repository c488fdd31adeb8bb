#include "fake_host/allocations.h"

#include <cstdlib>
#include <new>

namespace {

// How many allocations are still to be made up to the one that fails; 0 from then on. Nothing fails without an extent.
std::size_t left = 0;
bool is_failing = false;
fake::Extent extent = fake::Extent::once;
std::size_t uncounted_scopes = 0;
std::size_t held = 0;

bool fails_now() {
  if (!is_failing || uncounted_scopes > 0) return false;
  if (left == 0) return extent == fake::Extent::from_then_on;
  return --left == 0;
}

}  // namespace

// The replacements hold for the shared libraries too, which take these operators from the program when it has them.
void* operator new(std::size_t size) {
  if (fails_now()) throw std::bad_alloc();
  void* const memory = std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  ++held;
  return memory;
}

/// The sanitizers have one of their own, whose memory the functions below must not release.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) --held;
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { ::operator delete(memory); }

namespace fake {

FailingAllocations::FailingAllocations(std::size_t nth, Extent chosen) {
  left = nth;
  extent = chosen;
  is_failing = true;
}

FailingAllocations::~FailingAllocations() { is_failing = false; }

bool FailingAllocations::happened() const { return left == 0; }

UncountedAllocations::UncountedAllocations() { ++uncounted_scopes; }

UncountedAllocations::~UncountedAllocations() { --uncounted_scopes; }

std::size_t held_allocations() { return held; }

}  // namespace fake
