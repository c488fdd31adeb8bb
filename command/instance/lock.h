// At most one director works on an Eclipse instance at a time: two of them destroy its p2 profile.
#ifndef ECLIPSE_INT_INSTANCE_LOCK_H
#define ECLIPSE_INT_INSTANCE_LOCK_H

#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

namespace eclipse_instance {

/// Another process works on the instance. The message is one printable line and names the instance and, if it is known, the
/// process.
class InstanceInUse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The right to run directors on one instance. It is advisory: it counts among the programs that ask for it. Directors that are
/// started meanwhile inherit it, so it stays taken until the last of them has ended, even if this program is killed.
class InstanceLock {
 public:
  /// Locks the instance in this directory, which several paths may name. Waits for the process that has the lock as long as
  /// `patience`, after a call of `on_wait` with the sentence that InstanceInUse has. Throws InstanceInUse, and FileError when
  /// this user may not read the file of the lock.
  InstanceLock(const std::filesystem::path& instance, std::chrono::duration<double> patience,
               const std::function<void(const std::string& who)>& on_wait);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  /// Why the instance could not be locked at all, as on a file system without locks; empty when it was.
  const std::string& problem() const { return problem_; }

 private:
  void take(const std::filesystem::path& instance, std::chrono::duration<double> patience,
            const std::function<void(const std::string& who)>& on_wait);

  int descriptor_ = -1;
  std::string problem_;
};

/// Whether another process has the lock of the instance in this directory. Changes nothing there.
bool is_in_use(const std::filesystem::path& instance);

/// That it has, as InstanceInUse says it; empty when none has.
std::string who_uses(const std::filesystem::path& instance);

}  // namespace eclipse_instance

#endif
