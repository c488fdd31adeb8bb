#include "base/files_below.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace eclipse_base {

std::vector<std::string> files_below(const fs::path& directory, fs::directory_options options, std::error_code& error) {
  const std::size_t start = (directory / "").string().size();
  std::vector<std::string> names;
  const fs::recursive_directory_iterator end;
  for (fs::recursive_directory_iterator entry(directory, options, error); !error && entry != end; entry.increment(error)) {
    std::error_code unknown;
    if (!entry->is_directory(unknown) || fs::is_empty(entry->path(), unknown))
      names.push_back(entry->path().string().substr(start));
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace eclipse_base
