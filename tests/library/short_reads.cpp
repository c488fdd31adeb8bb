#include "short_reads.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::size_t everything = SIZE_MAX;
std::size_t left = everything;

}  // namespace

// Holds for the C++ library too, which takes the function from the program when it has one.
extern "C" ssize_t read(int file, void* buffer, std::size_t size) {
  const ssize_t count = syscall(SYS_read, file, buffer, std::min(size, left));
  if (left != everything && count > 0) left -= static_cast<std::size_t>(count);
  return count;
}

ShortReads::ShortReads(std::size_t bytes) { left = bytes; }

ShortReads::~ShortReads() { left = everything; }
