// Descriptor files, each read once, however many ask for it.
#ifndef ECLIPSE_INT_DRY_RUN_DESCRIPTOR_FILES_H
#define ECLIPSE_INT_DRY_RUN_DESCRIPTOR_FILES_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "base/file.h"

namespace eclipse_dry_run {

/// Reads a descriptor file: the bytes as the plug-in gets them, which are as many as the file's size, with NUL bytes for those
/// that cannot be read. The plug-in ignores errors, so whoever reports what it reads must report the error, too.
eclipse_base::FileContent descriptor_content(const std::string& path);

/// What descriptor files contained when they were first asked for. All that is derived from them agrees, even if a file is
/// replaced meanwhile.
class DescriptorFiles {
 public:
  /// Takes a text for the content of a file, which need not exist: an editor has it and has not saved it yet. To be called
  /// before the file is asked for, by whatever path.
  void set_unsaved(const std::filesystem::path& file, std::string text);
  bool has_unsaved(const std::filesystem::path& file) const;

  /// How many have been asked for.
  std::size_t count() const { return contents_.size(); }

  /// The result stays where it is.
  const eclipse_base::FileContent& at(const std::string& path);

 private:
  using Unsaved = std::map<std::filesystem::path, eclipse_base::FileContent>;
  Unsaved::const_iterator find_unsaved(const std::filesystem::path& file) const;

  Unsaved unsaved_;
  std::map<std::string, eclipse_base::FileContent, std::less<>> contents_;
};

}  // namespace eclipse_dry_run

#endif
