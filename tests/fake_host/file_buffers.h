// Watches that each buffer which get_file() hands to the plug-in is freed exactly once.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_FILE_BUFFERS_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_FILE_BUFFERS_H

#include <cstddef>

namespace fake {

/// Begins to watch a buffer; see Session::on_file_buffer. In a build with the address sanitizer nothing is watched here: its
/// own free() reports what is wrong.
void watch_file_buffer(const void* buffer);

/// What became of the buffers since the last settlement.
struct BufferAccount {
  std::size_t handed_out = 0;
  std::size_t never_freed = 0;
  std::size_t freed_again = 0;
  bool operator==(const BufferAccount&) const = default;
};

/// False in a build with the address sanitizer.
bool file_buffers_are_watched();

/// Ends the account and gives the memory back. Until then a freed buffer is kept, so that a second free() of it is known as
/// such.
BufferAccount settle_file_buffers();

}  // namespace fake

#endif
