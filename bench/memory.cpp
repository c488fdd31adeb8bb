// The program's operator new replaces that of the libraries that it loads, too.
#include "bench/memory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

bool counting = false;
std::size_t live = 0;
std::size_t peak = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  if (counting) {
    live += malloc_usable_size(block);
    peak = std::max(peak, live);
  }
  return block;
}

void operator delete(void* block) noexcept {
  // Releasing a block that was allocated before the count began must not make the sum negative.
  if (counting) live -= std::min(live, malloc_usable_size(block));
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace bench {

std::size_t peak_bytes(const std::function<void()>& run) {
  live = peak = 0;
  counting = true;
  run();
  counting = false;
  return peak;
}

}  // namespace bench
