#include "fake_host/file_buffers.h"

#include <array>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#define WATCHES_FILE_BUFFERS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WATCHES_FILE_BUFFERS 0
#endif
#endif
#ifndef WATCHES_FILE_BUFFERS
#define WATCHES_FILE_BUFFERS 1
#endif

#if WATCHES_FILE_BUFFERS

// The C library's own, which free() calls.
extern "C" void __libc_free(void* memory);  // NOLINT(bugprone-reserved-identifier)

namespace {

struct Buffer {
  const void* memory;
  std::size_t frees;
};

// Fixed storage: what free() calls must not free anything itself.
std::array<Buffer, 64> buffers;
std::size_t buffer_count = 0;

Buffer* find_buffer(const void* memory) {
  for (std::size_t i = 0; i < buffer_count; ++i) {
    if (buffers[i].memory == memory) return &buffers[i];
  }
  return nullptr;
}

}  // namespace

extern "C" void free(void* memory) noexcept {
  if (memory == nullptr) return;
  if (Buffer* const buffer = find_buffer(memory)) {
    ++buffer->frees;
  } else {
    __libc_free(memory);
  }
}

namespace fake {

void watch_file_buffer(const void* buffer) {
  if (buffer_count == buffers.size()) std::abort();
  buffers[buffer_count++] = {buffer, 0};
}

bool file_buffers_are_watched() { return true; }

BufferAccount settle_file_buffers() {
  BufferAccount account{buffer_count, 0, 0};
  for (std::size_t i = 0; i < buffer_count; ++i) {
    if (buffers[i].frees == 0) ++account.never_freed;
    if (buffers[i].frees > 1) ++account.freed_again;
    __libc_free(const_cast<void*>(buffers[i].memory));
  }
  buffer_count = 0;
  return account;
}

}  // namespace fake

#else

namespace fake {

void watch_file_buffer(const void*) {}

bool file_buffers_are_watched() { return false; }

BufferAccount settle_file_buffers() { return {}; }

}  // namespace fake

#endif
