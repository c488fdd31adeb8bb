// The files at the top of a p2 repository, wherever it is kept, and which of them the director reads.
//
// Metadata is in one of three forms, and so is the list of artifacts ("artifacts" in place of "content"):
//
//   content.xml            in content.jar, or plain; the director prefers the jar
//   content.xml.xz         compressed with xz
//   compositeContent.xml   in compositeContent.jar, or plain: names other repositories that it consists of
//
// The director tries them in this order and reads the first one that is there. If that one is damaged, it tries no other. A
// file p2.index can name another order, for metadata and artifacts separately: its forms come first, and after "!" no other is
// tried. It is the same in archives. Seen with the director of Eclipse 4.26.
#ifndef ECLIPSE_INT_P2_REPOSITORY_FILES_H
#define ECLIPSE_INT_P2_REPOSITORY_FILES_H

#include <compare>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/archive.h"
#include "p2/metadata_cache.h"

namespace eclipse_p2 {

/// What the errors of repositories begin with, after the name of a file, that have fixes of their own.
namespace repository_error {
inline constexpr const char* pack200 = "is packed by Pack200";
inline constexpr const char* backslashes = "has backslashes in its name";
inline constexpr const char* excluded = "p2.index excludes every ";
}  // namespace repository_error

/// Where a repository is: a directory, or an archive, or a directory in an archive.
struct RepositoryPlace {
  std::filesystem::path path;
  std::string inside = {};  ///< the directory in the archive, with a slash at its end; empty for the top

  // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 sees a null pointer here
  auto operator<=>(const RepositoryPlace&) const = default;
};

enum class Listing { content, artifacts };

/// Metadata that the director ignores, for what it reads in its place.
struct IgnoredMetadata {
  std::string name;          ///< "content.xml", or "the second <units> in content.xml"
  std::string read_instead;  ///< "content.jar", or "the first one"
  std::string child = {};    ///< the child of a composite that has it, by its location; empty for the repository itself
};

/// A metadata file that was read.
struct Metadata {
  bool is_composite = false;
  pugi::xml_document document;
  std::string error;                     ///< why it cannot be read, with its name; empty when it can
  bool is_unreadable = false;            ///< the error is a lack of permission
  bool exceeds_limit = false;            ///< the error is that it is larger than is read here; a director may well read it
  std::vector<IgnoredMetadata> ignored;  ///< that has another content
};

class RepositoryFiles {
 public:
  /// With what a director reads in place of the archive of the cache, if there is one, which must outlive this object.
  explicit RepositoryFiles(RepositoryPlace place, const MetadataCache* cache = nullptr);

  /// Whether a file of this name is one of the forms.
  static bool is_form(Listing listing, std::string_view name);

  bool are_in_archive() const { return archive_.has_value(); }
  /// Of the directory or the archive.
  const std::filesystem::path& path() const { return place_.path; }
  /// Why what is at this place cannot be looked into, to be read after its name; empty when it can.
  const std::string& error() const { return error_; }
  bool exceeds_limit() const { return archive_ && archive_->exceeds_limit(); }

  /// A file or, in an archive, a directory.
  bool has(const std::string& name) const;
  /// Whether an archive has a file under this name only with backslashes for slashes.
  bool has_with_backslashes(const std::string& name) const;
  /// Whether there is a file in any of the forms.
  bool has_any(Listing listing) const;
  /// The name in the archive of a file in the repository.
  std::string entry(const std::string& name) const { return place_.inside + name; }
  /// The file that the director reads. Nothing when there is none.
  std::optional<Metadata> read(Listing listing) const;
  /// The path of a directory inside that has metadata, with a slash at its end; empty when there is none.
  std::string nested_metadata() const;
  /// The path of a zip archive that is the only file in an archive, or the only zip archive directly in a directory; else
  /// empty.
  std::string inner_archive() const;

 private:
  struct Form;
  static const std::vector<Form>& forms_of(Listing listing);

  eclipse_base::Unpacked read_in_archive(const std::string& name, std::size_t limit) const;
  eclipse_base::Unpacked read_file(const std::string& name, std::size_t limit) const;
  bool has_metadata(const std::string& name) const;
  bool is_unreadable_file(const std::string& name) const;
  static std::vector<const Form*> order_of(Listing listing, const std::string& index_text);
  static eclipse_base::Unpacked unpacked(std::string packed, const Form& form, std::string& name);
  Metadata read_form(const Form& form, const std::string& file) const;
  void note_ignored_files(Listing listing, const std::string& read, Metadata& metadata) const;
  std::set<std::string> names() const;

  RepositoryPlace place_;
  const MetadataCache* cache_;
  std::optional<eclipse_base::Archive> archive_;
  std::string error_;
};

/// True when something is there that may not be read.
bool is_unreadable(const std::filesystem::path& path);

}  // namespace eclipse_p2

#endif
