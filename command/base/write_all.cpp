#include "base/write_all.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace eclipse_base {

bool write_all(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace eclipse_base
