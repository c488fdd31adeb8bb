#include "base/files_below.h"

#include <algorithm>

#include "base/file_error.h"

namespace fs = std::filesystem;

namespace eclipse_base {

namespace {

/// False for a directory that cannot be read. The function of the standard library ends the program when memory runs out.
bool has_no_entries(const fs::path& directory) {
  std::error_code error;
  const fs::directory_iterator first(directory, error);
  return !error && first == fs::directory_iterator();
}

}  // namespace

std::vector<std::string> files_below(const fs::path& directory, fs::directory_options options, std::error_code& error) {
  const std::size_t start = (directory / "").string().size();
  std::vector<std::string> names;
  const fs::recursive_directory_iterator end;
  for (fs::recursive_directory_iterator entry(directory, options, error); !error && entry != end; entry.increment(error)) {
    std::error_code unknown;
    if (!entry->is_directory(unknown) || has_no_entries(entry->path())) names.push_back(entry->path().string().substr(start));
  }
  std::sort(names.begin(), names.end());
  return names;
}

void fail_search(const fs::path& directory, const std::error_code& error) {
  throw FileError(directory, "cannot be searched: " + error.message() + "; make it and the directories in it readable");
}

}  // namespace eclipse_base
