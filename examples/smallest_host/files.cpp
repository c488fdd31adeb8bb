// The operations on paths, files and texts, which need no session.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "eclipse_int/host.h"

namespace {

bool status_of(const std::string& path, struct stat& status) { return stat(path.c_str(), &status) == 0; }

template <typename Items>
std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  bool is_first = true;
  for (const std::string& item : items) {
    if (!is_first) text += separator;
    text += item;
    is_first = false;
  }
  return text;
}

std::string without_trailing_slashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

std::string path(std::string text) {
  for (std::size_t found; (found = text.find("//")) != std::string::npos;) text.erase(found, 1);
  return without_trailing_slashes(text);
}
std::string resolved_path(std::string text) {
  char* const resolved = realpath(text.c_str(), nullptr);
  const std::string result = resolved != nullptr ? resolved : "";
  std::free(resolved);
  return result;
}
bool path_is_relative(std::string text) { return text.empty() || text[0] != '/'; }
std::string get_basename(const std::string& path) {
  const std::string name = without_trailing_slashes(path);
  return name.substr(name.rfind('/') + 1);
}
std::string get_dirname(const std::string& path) {
  const std::string name = without_trailing_slashes(path);
  const std::size_t slash = name.rfind('/');
  return slash == std::string::npos ? "" : without_trailing_slashes(name.substr(0, slash + 1));
}
bool is_file(const std::string& path) {
  struct stat status;
  return status_of(path, status) && S_ISREG(status.st_mode);
}
bool file_exists(const std::string& path, bool) {
  struct stat status;
  return status_of(path, status);
}
char* get_file(const std::string& path, int, long long* size) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return nullptr;
  std::string content;
  for (int c; (c = std::fgetc(file)) != EOF;) content += static_cast<char>(c);
  const bool is_whole = std::ferror(file) == 0;  // a directory can be opened, but not read
  std::fclose(file);
  char* const buffer = is_whole ? static_cast<char*>(std::malloc(content.size() + 1)) : nullptr;
  if (buffer == nullptr) return nullptr;
  std::memcpy(buffer, content.c_str(), content.size() + 1);
  if (size != nullptr) *size = static_cast<long long>(content.size());
  return buffer;
}

std::string join(std::vector<std::string> items, std::string separator) { return joined(items, separator); }
std::string join(std::set<std::string> items, std::string separator) { return joined(items, separator); }
std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) return text;
  std::string replaced;
  std::size_t start = 0;
  for (std::size_t found; (found = text.find(from, start)) != std::string::npos; start = found + from.size()) {
    replaced += text.substr(start, found - start) + to;
  }
  return replaced + text.substr(start);
}
