// Lets files shrink while they are read.
#ifndef ECLIPSE_INT_TESTS_LIBRARY_SHORT_READS_H
#define ECLIPSE_INT_TESTS_LIBRARY_SHORT_READS_H

#include <cstddef>

/// While it lives, read() gives this program and the libraries in it no more than so many bytes in all.
class ShortReads {
 public:
  explicit ShortReads(std::size_t bytes);
  ~ShortReads();
  ShortReads(const ShortReads&) = delete;
  ShortReads& operator=(const ShortReads&) = delete;
};

#endif
