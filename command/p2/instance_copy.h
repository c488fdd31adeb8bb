// A copy of what a director reads of an Eclipse instance and writes to, so that one can be asked without a trace in the
// instance.
#ifndef ECLIPSE_INT_P2_INSTANCE_COPY_H
#define ECLIPSE_INT_P2_INSTANCE_COPY_H

#include <filesystem>
#include <memory>

#include "base/temporary_directory.h"

namespace eclipse_p2 {

/// The configuration and the newest state of the profile, in a temporary directory, which the destructor removes. A director of
/// the instance that is started with this configuration finds this profile, and writes its logs and caches here.
class InstanceCopy {
 public:
  /// False when the instance keeps its profile elsewhere than is usual, or has none: a director that is started with a copied
  /// configuration would look at another profile.
  static bool is_possible_for(const std::filesystem::path& instance);

  /// Null when it is not possible. Throws InstanceError when something cannot be copied.
  static std::unique_ptr<InstanceCopy> of(const std::filesystem::path& instance);

  /// Laid out as the instance is.
  const std::filesystem::path& directory() const { return directory_.path(); }
  std::filesystem::path configuration() const;

 private:
  InstanceCopy() = default;

  eclipse_base::TemporaryDirectory directory_;
};

}  // namespace eclipse_p2

#endif
