#include "base/canonical_paths.h"

#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace eclipse_base {

namespace {

bool is_in_directory(const fs::path& path) {
  const std::string& text = path.native();
  const std::size_t slash = text.rfind('/');
  if (slash == text.npos || slash == 0) return false;
  const std::string_view name = std::string_view(text).substr(slash + 1);
  return !name.empty() && name != "." && name != "..";
}

}  // namespace

const fs::path& CanonicalPaths::of(const fs::path& path) {
  const auto [known, is_new] = known_.try_emplace(path.native());
  fs::path& canonical = known->second;
  if (!is_new) return canonical;
  std::error_code error;
  const fs::file_status status = fs::symlink_status(path, error);
  if (is_in_directory(path) && fs::exists(status) && !fs::is_symlink(status)) {
    const fs::path& directory = of(path.parent_path());
    if (!directory.empty()) canonical = directory / path.filename();
  } else {
    canonical = fs::canonical(path, error);
  }
  return canonical;
}

}  // namespace eclipse_base
