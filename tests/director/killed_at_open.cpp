// Preloaded into all programs of a run: kills a director when it opens a file to write it anew, once the old content is gone or
// just before. ECLIPSE_INT_TEST_KILL_AT is the end of the file's name; ECLIPSE_INT_TEST_KILL_ONCE is a file that is there until
// it has happened, and "before" in it leaves the old content.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace {

bool is_meant(const char* path, int flags) {
  const char* const end = std::getenv("ECLIPSE_INT_TEST_KILL_AT");
  const bool is_director = std::string_view(program_invocation_short_name) == "java";
  return is_director && end != nullptr && (flags & O_TRUNC) != 0 && std::string_view(path).ends_with(end);
}

using Open = int (*)(const char*, int, ...);

int open_or_die(Open real_open, const char* path, int flags, mode_t mode) {
  const char* const once = std::getenv("ECLIPSE_INT_TEST_KILL_ONCE");
  if (!is_meant(path, flags) || once == nullptr) return real_open(path, flags, mode);
  const int order = real_open(once, O_RDONLY, 0);
  if (order < 0) return real_open(path, flags, mode);
  std::array<char, 6> when{};
  const bool is_before = read(order, when.data(), when.size()) > 0;
  unlink(once);
  if (!is_before) real_open(path, flags, mode);
  std::raise(SIGKILL);
  return -1;
}

Open real(const char* name) {
  return reinterpret_cast<Open>(dlsym(RTLD_NEXT, name));  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
}

}  // namespace

// The names that libjava calls. Without a mode the argument is not read.
extern "C" int open64(const char* path, int flags, ...) {
  static const Open next = real("open64");
  return open_or_die(next, path, flags, 0666);
}
extern "C" int open(const char* path, int flags, ...) {
  static const Open next = real("open");
  return open_or_die(next, path, flags, 0666);
}
