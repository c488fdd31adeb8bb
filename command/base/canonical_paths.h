// Where paths lead to, without symbolic links.
#ifndef ECLIPSE_INT_BASE_CANONICAL_PATHS_H
#define ECLIPSE_INT_BASE_CANONICAL_PATHS_H

#include <filesystem>
#include <string>
#include <unordered_map>

namespace eclipse_base {

/// Each part of a path is looked at once, however many paths have it.
class CanonicalPaths {
 public:
  /// As std::filesystem::canonical() has it; empty when there is an error. The result stays where it is.
  const std::filesystem::path& of(const std::filesystem::path& path);

 private:
  std::unordered_map<std::string, std::filesystem::path> known_;
};

}  // namespace eclipse_base

#endif
