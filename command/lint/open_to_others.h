// What other users than the owner may read, by the permissions alone.
#ifndef ECLIPSE_INT_LINT_OPEN_TO_OTHERS_H
#define ECLIPSE_INT_LINT_OPEN_TO_OTHERS_H

#include <filesystem>
#include <map>
#include <string>
#include <unordered_map>

#include "lint/input.h"

namespace eclipse_lint {

/// Each path and each descriptor file is looked at once, however many lead through it or name it.
class OpenToOthers {
 public:
  /// The first of a directory, the directories in it on the way to a path, and this path that others may not read; empty when
  /// they may read all.
  std::filesystem::path closed_part(const std::filesystem::path& directory, const std::filesystem::path& path);
  /// Likewise, of the directory of a component and a descriptor file in it.
  const std::filesystem::path& closed_part(const Descriptor& descriptor, const std::filesystem::path& component);
  /// Likewise, of what the director reads of the repository of a record. Of a repository that is open, but not all that is in
  /// it, the path of the repository.
  std::filesystem::path closed_part(const Record& record);

  bool has(const std::filesystem::path& path);

 private:
  std::unordered_map<std::string, bool> open_;
  std::map<const Descriptor*, std::filesystem::path> closed_parts_;
};

}  // namespace eclipse_lint

#endif
