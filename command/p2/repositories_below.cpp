#include "p2/repositories_below.h"

#include <algorithm>
#include <system_error>

#include "base/file_error.h"
#include "base/files_below.h"
#include "p2/repository_files.h"

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

bool is_repository(const fs::directory_entry& entry) {
  std::error_code error;
  const bool is_archive = entry.is_regular_file(error) && entry.path().extension() == ".zip";
  if (!is_archive && !entry.is_directory(error)) return false;
  const RepositoryFiles files({entry.path()});
  return files.has_any(Listing::content) || (is_archive && !files.error().empty());
}

}  // namespace

std::vector<fs::path> repositories_below(const fs::path& directory) {
  std::vector<fs::path> found;
  std::error_code error;
  const fs::recursive_directory_iterator end;
  fs::recursive_directory_iterator entry(directory, error);
  for (; !error && entry != end; entry.increment(error)) {
    if (!is_repository(*entry)) continue;
    found.push_back(entry->path());
    entry.disable_recursion_pending();
  }
  if (error) eclipse_base::fail_search(directory, error);
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace eclipse_p2
