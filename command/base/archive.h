// Reading zip archives, of which jar files are a kind, and what gzip or xz compressed, by libarchive.
#ifndef ECLIPSE_INT_BASE_ARCHIVE_H
#define ECLIPSE_INT_BASE_ARCHIVE_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/file.h"
#include "base/open_file.h"

namespace eclipse_base {

/// What the errors of archives begin with that have fixes of their own.
namespace archive_error {
inline constexpr const char* not_zip = "is not a zip archive";
inline constexpr const char* encrypted = "is encrypted";
inline constexpr const char* other_compression = "is compressed by ";
}  // namespace archive_error

/// What was decompressed. Errors are those of files and archives, and "is damaged", "is not gzip data" and "is not xz data".
using Unpacked = FileContent;

enum class Compression { gzip, xz };
Unpacked decompress(const std::string& compressed, Compression compression, std::size_t limit);

/// What a zip archive, its central directory and its end begin with.
inline constexpr std::string_view zip_mark = "PK";
inline constexpr std::string_view zip_directory_mark = "PK\1\2";
inline constexpr std::string_view zip_end_mark = "PK\5\6";

/// One entry of a zip archive that is in memory. Reads the archive from its beginning, as a Java stream does, and needs no
/// central directory. Nothing when it has no such entry.
std::optional<Unpacked> zip_entry(const std::string& archive, const std::string& name, std::size_t limit);

/// Why a file that begins like a zip archive does not end like one, to be read after its name; empty when it does, and when
/// it cannot be read. An archive that was cut has lost its central directory, which is at its end; the end of an archive that
/// is stored in it may be left.
std::string zip_end_error(const OpenFile& file);

/// A zip archive in a file or in memory, read by its central directory.
class Archive {
 public:
  /// Whether an entry of this name is to be read while the names are, so that read() need not open the archive again. A few
  /// mebibytes are kept; read() reads the others as it does without this.
  using IsKept = std::function<bool(const std::string& name)>;

  explicit Archive(std::filesystem::path file, const IsKept& is_kept = nullptr);
  /// The content of a file, which must outlive it.
  static Archive in_memory(std::string_view content, const IsKept& is_kept = nullptr) { return Archive("", content, is_kept); }

  /// Why the archive cannot be used; empty when it can.
  const std::string& error() const { return error_; }
  bool exceeds_limit() const { return exceeds_limit_; }

  const std::set<std::string>& names() const { return names_; }
  bool has(const std::string& name) const { return names_.contains(name); }
  /// The content of an entry that it has.
  Unpacked read(const std::string& name, std::size_t limit) const;
  /// Calls use(NAME, CONTENT) once for each of these entries that it has, in the order of the archive, up to one after which it
  /// cannot be read.
  void read_each(const std::set<std::string>& names, std::size_t limit,
                 const std::function<void(const std::string& name, const Unpacked& content)>& use) const;
  /// Calls use(NAME, BYTES) for each entry, of which none may be larger than the limit. Returns why not all could be read, to
  /// be read after the name of the archive; empty when all could.
  std::string for_each(std::size_t limit,
                       const std::function<void(const std::string& name, const std::string& bytes)>& use) const;

 private:
  struct Entries;

  Archive(std::filesystem::path file, std::optional<std::string_view> content, const IsKept& is_kept);

  OpenFile opened() const { return content_ ? OpenFile::in_memory(*content_) : OpenFile(file_); }
  static Entries entries_of(const OpenFile& file, const IsKept& is_kept);

  std::filesystem::path file_;
  std::optional<std::string_view> content_;
  std::set<std::string> names_;
  std::map<std::string, std::string> kept_;  ///< what these entries contain
  std::string error_;
  bool exceeds_limit_ = false;
};

}  // namespace eclipse_base

#endif
