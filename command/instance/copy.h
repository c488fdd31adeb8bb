// A copy of what a director reads of an Eclipse instance and writes to, so that one can be asked without a trace in the
// instance.
#ifndef ECLIPSE_INT_INSTANCE_COPY_H
#define ECLIPSE_INT_INSTANCE_COPY_H

#include <filesystem>
#include <functional>
#include <memory>

#include "base/limits.h"
#include "base/temporary_directory.h"

namespace eclipse_instance {

/// The configuration and the newest state of the profile, in a temporary directory, which the destructor removes. A director of
/// the instance that is started with this configuration finds this profile, and writes its logs and caches here.
class InstanceCopy {
 public:
  /// False when the instance keeps its profile elsewhere than is usual, or has none: a director that is started with a copied
  /// configuration would look at another profile.
  static bool is_possible_for(const std::filesystem::path& instance);

  /// Null when it is not possible. Calls `on_file` before each file, which may throw to end it. Only regular files are copied.
  /// Throws InstanceError when one cannot be copied, or when all together are larger than largest::copy.
  static std::unique_ptr<InstanceCopy> of(
      const std::filesystem::path& instance, const std::function<void()>& on_file = [] {});

  /// Laid out as the instance is.
  const std::filesystem::path& directory() const { return directory_.path(); }
  std::filesystem::path configuration() const;

 private:
  InstanceCopy() = default;

  eclipse_base::TemporaryDirectory directory_;
};

}  // namespace eclipse_instance

#endif
