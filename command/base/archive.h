// Reading zip archives, of which jar files are a kind.
#ifndef ECLIPSE_INT_BASE_ARCHIVE_H
#define ECLIPSE_INT_BASE_ARCHIVE_H

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct zip;

namespace eclipse_base {

class Archive {
 public:
  /// Opens an archive file; nothing when it is none.
  static std::optional<Archive> open(const std::filesystem::path& file);
  /// Opens an archive that is held in memory.
  static std::optional<Archive> open_content(std::string content);

  std::vector<std::string> names() const;
  bool has(const std::string& name) const;
  /// Whether an entry is larger than any metadata is.
  bool is_too_large(const std::string& name) const;
  /// The content of an entry; nothing when there is no such entry, or when it is damaged or too large.
  std::optional<std::string> read(const std::string& name) const;

 private:
  struct Close {
    void operator()(zip* archive) const;
  };

  Archive(zip* archive, std::unique_ptr<std::string> content) : content_(std::move(content)), archive_(archive) {}

  std::unique_ptr<std::string> content_;  ///< the archive refers to it
  std::unique_ptr<zip, Close> archive_;
};

}  // namespace eclipse_base

#endif
