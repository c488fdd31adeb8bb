// The lock is one of flock(2), on the file configuration/.eclipse-int.lock in the instance, which says who has it:
//
//   1234
//   eclipse-int run session.json
//
// The file is never removed: one process could lock the removed file, and another one a new file of the same name. Where it
// cannot be made, as in an instance that may only be read, the lock is on the instance's directory itself. A file that this
// user may not read is no reason to take that one: those who may read it would not see it.
#include "instance/lock.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <sstream>
#include <thread>

#include "base/file_error.h"
#include "base/printable.h"
#include "instance/owner.h"
#include "p2/instance_paths.h"
#include "shell/own_command.h"

namespace fs = std::filesystem;

namespace eclipse_instance {

namespace {

constexpr std::chrono::milliseconds time_between_attempts(50);

fs::path lock_file(const fs::path& instance) { return instance / eclipse_p2::configuration_directory / ".eclipse-int.lock"; }

bool is_regular(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Another user may own the file. Reading it is enough for a lock. The descriptor is not close-on-exec, so that directors
/// inherit it.
int open_lock(const fs::path& instance, std::initializer_list<int> accesses = {O_RDWR | O_CREAT, O_RDONLY}) {
  const fs::path file = lock_file(instance);
  const fs::path directory = file.parent_path();
  for (const int access : accesses) {
    const int descriptor = open(file.c_str(), access | O_NOFOLLOW | O_NONBLOCK, 0666);
    if (descriptor < 0) continue;
    if (is_regular(descriptor)) {
      share_with_users_of(directory, descriptor);
      give_to_owner_of(directory, descriptor);
      return descriptor;
    }
    close(descriptor);
  }
  return open(instance.c_str(), O_RDONLY | O_DIRECTORY);
}

/// Without write access, nobody learns who has the lock.
void write_holder(int descriptor) {
  const std::string text = std::to_string(getpid()) + "\n" + eclipse_shell::own_command() + "\n";
  if (ftruncate(descriptor, 0) == 0) static_cast<void>(!pwrite(descriptor, text.data(), text.size(), 0));
}

std::string text_in(int descriptor) {
  std::array<char, eclipse_shell::longest_own_command + 100> text;
  const ssize_t length = pread(descriptor, text.data(), text.size(), 0);
  return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

/// One that was killed has left its director at work.
std::string about_holder(int descriptor) {
  std::istringstream lines(text_in(descriptor));
  pid_t process = 0;
  std::string command;
  if (!(lines >> process >> std::ws) || !std::getline(lines, command) || process <= 0) return "";
  const bool has_ended = kill(process, 0) != 0 && errno == ESRCH;
  return " (started by process " + std::to_string(process) + (has_ended ? ", which has ended" : "") + ", " +
         eclipse_base::printable(command) + ")";
}

std::string at_work_on(const fs::path& instance, int descriptor) {
  return "another director is at work on " + eclipse_base::printable(instance.string()) + about_holder(descriptor);
}

/// Another file in its place would be another lock.
void check_is_readable(const fs::path& file) {
  if (faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) == 0 || errno != EACCES) return;
  throw eclipse_base::FileError(file,
                                "cannot be read by this user, so it is not known whether another director is at work; make "
                                "it readable, for example with chmod a+r");
}

enum class Attempt { in_use, taken, impossible };

Attempt attempt(int descriptor) {
  if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) return Attempt::taken;
  return errno == EWOULDBLOCK ? Attempt::in_use : Attempt::impossible;
}

}  // namespace

InstanceLock::InstanceLock(const fs::path& instance, std::chrono::duration<double> patience,
                           const std::function<void(const std::string& who)>& on_wait) {
  check_is_readable(lock_file(instance));
  descriptor_ = open_lock(instance);
  if (descriptor_ < 0) {
    problem_ = std::strerror(errno);
    return;
  }
  try {
    take(instance, patience, on_wait);
  } catch (...) {
    close(descriptor_);
    throw;
  }
}

InstanceLock::~InstanceLock() {
  if (descriptor_ < 0) return;
  if (problem_.empty()) static_cast<void>(!ftruncate(descriptor_, 0));
  close(descriptor_);
}

void InstanceLock::take(const fs::path& instance, std::chrono::duration<double> patience,
                        const std::function<void(const std::string& who)>& on_wait) {
  const auto start = std::chrono::steady_clock::now();
  for (bool waits = false;; waits = true) {
    const Attempt result = attempt(descriptor_);
    if (result == Attempt::taken) return write_holder(descriptor_);
    if (result == Attempt::impossible) {
      problem_ = std::strerror(errno);
      return;
    }
    const std::string who = at_work_on(instance, descriptor_);
    if (std::chrono::steady_clock::now() - start >= patience) throw InstanceInUse(who);
    if (!waits) on_wait(who);
    std::this_thread::sleep_for(time_between_attempts);
  }
}

bool is_in_use(const fs::path& instance) { return !who_uses(instance).empty(); }

std::string who_uses(const fs::path& instance) {
  const int descriptor = open_lock(instance, {O_RDONLY});
  if (descriptor < 0) return "";
  const bool in_use = flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  std::string who = in_use ? at_work_on(instance, descriptor) : "";
  close(descriptor);
  return who;
}

}  // namespace eclipse_instance
