#include "shell/pathname_expansion.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace eclipse_shell {

namespace {

/// Without the backslashes; nothing for a name with a glob in it.
std::optional<std::string> literal_name(std::string_view pattern) {
  std::string name;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (std::string_view("*?[").find(pattern[i]) != std::string_view::npos) return std::nullopt;
    if (pattern[i] == '\\' && i + 1 < pattern.size()) ++i;
    name += pattern[i];
  }
  return name;
}

/// For fnmatch(), to which "^" at the beginning of a bracket expression is "!". To dash it is a character like others.
std::string for_fnmatch(std::string_view pattern) {
  std::string converted;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool is_escaped = pattern[i] == '\\' && i + 1 < pattern.size();
    const bool begins_bracket = pattern.substr(i).starts_with("[^");
    converted += pattern[i];
    if (begins_bracket) converted += '\\';
    if (is_escaped) converted += pattern[++i];
  }
  return converted;
}

bool is_there(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

bool is_directory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

class Expansion {
 public:
  explicit Expansion(std::size_t most) : left_(most) {}

  /// Adds the paths that begin with `path`, which has no glob, and go on as the pattern says.
  void expand(std::string path, std::string_view pattern) {
    while (!pattern.empty()) {
      if (pattern.front() == '/') {
        path += '/';
        pattern.remove_prefix(1);
        continue;
      }
      const std::string_view name = pattern.substr(0, pattern.find('/'));
      pattern.remove_prefix(name.size());
      const auto literal = literal_name(name);
      if (!literal) return expand_entries(path, for_fnmatch(name), pattern);
      path += *literal;
    }
    if (is_there(path)) paths_.push_back(std::move(path));
  }

  bool is_complete() const { return left_ > 0; }

  std::vector<std::string> sorted() {
    std::sort(paths_.begin(), paths_.end());
    return std::move(paths_);
  }

 private:
  /// A hidden file only matches a pattern that begins with a dot, as "." and ".." do then.
  void expand_entries(const std::string& path, const std::string& name, std::string_view rest) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.empty() ? "." : path.c_str()), closedir);
    if (!directory) return;
    while (const dirent* const entry = readdir(directory.get())) {
      if (left_ == 0 || --left_ == 0) return;
      if (fnmatch(name.c_str(), entry->d_name, FNM_PERIOD) != 0) continue;
      std::string longer = path + entry->d_name;
      if (rest.empty() || is_directory(longer)) expand(std::move(longer), rest);
    }
  }

  std::size_t left_;  ///< entries that may still be looked at
  std::vector<std::string> paths_;
};

}  // namespace

std::optional<std::vector<std::string>> expanded_pathnames(const std::string& pattern, std::size_t most) {
  Expansion expansion(most);
  expansion.expand("", pattern);
  return expansion.is_complete() ? std::optional(expansion.sorted()) : std::nullopt;
}

}  // namespace eclipse_shell
