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

// The C library's own, behind malloc() and free(), and the linker's bounds of this program's code.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void __libc_free(void* memory);
extern "C" const char __executable_start;
extern "C" const char etext;
// NOLINTEND(bugprone-reserved-identifier)

namespace {

struct Buffer {
  void* memory;
  std::size_t frees;
};

// Fixed storage: what is called by malloc() and free() must not allocate.
std::array<Buffer, 64> buffers;
std::size_t buffer_count = 0;
bool buffer_expected = false;

bool is_code_of_this_program(const void* address) { return address >= &__executable_start && address < &etext; }

Buffer* find_buffer(const void* memory) {
  for (std::size_t i = 0; i < buffer_count; ++i) {
    if (buffers[i].memory == memory) return &buffers[i];
  }
  return nullptr;
}

}  // namespace

extern "C" void* malloc(std::size_t size) noexcept {
  void* const memory = __libc_malloc(size);
  // What the C++ library and the C library allocate on the way (texts, streams) comes from their code, not from this program's.
  if (buffer_expected && memory != nullptr && is_code_of_this_program(__builtin_return_address(0))) {
    if (buffer_count == buffers.size()) std::abort();
    buffers[buffer_count++] = {memory, 0};
    buffer_expected = false;
  }
  return memory;
}

extern "C" void free(void* memory) noexcept {
  if (memory == nullptr) return;
  if (Buffer* const buffer = find_buffer(memory)) {
    ++buffer->frees;
  } else {
    __libc_free(memory);
  }
}

namespace fake {

void expect_file_buffer(bool expected) { buffer_expected = expected; }

bool file_buffers_are_watched() { return true; }

BufferAccount settle_file_buffers() {
  buffer_expected = false;
  BufferAccount account{buffer_count, 0, 0};
  for (std::size_t i = 0; i < buffer_count; ++i) {
    if (buffers[i].frees == 0) ++account.never_freed;
    if (buffers[i].frees > 1) ++account.freed_again;
    __libc_free(buffers[i].memory);
  }
  buffer_count = 0;
  return account;
}

}  // namespace fake

#else

namespace fake {

void expect_file_buffer(bool) {}

bool file_buffers_are_watched() { return false; }

BufferAccount settle_file_buffers() { return {}; }

}  // namespace fake

#endif
