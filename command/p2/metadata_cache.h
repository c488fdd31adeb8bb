// What a director keeps of the metadata of archives, and reads again in place of theirs.
#ifndef ECLIPSE_INT_P2_METADATA_CACHE_H
#define ECLIPSE_INT_P2_METADATA_CACHE_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace eclipse_p2 {

/// The hash that Java has of a URI such as "jar:file:///opt/a.zip!/", whose text is UTF-8.
std::int32_t java_hash_of_uri(std::string_view uri);

/// That of an instance, for one archive.
class MetadataCache {
 public:
  /// The archive is at the path that is in the URL which the director gets.
  MetadataCache(const std::filesystem::path& instance, const std::filesystem::path& archive);

  /// Whether a file in it has the time of the archive, so that the director may read it.
  bool may_be_read() const;

  /// The name of the file that is for a file of the archive, which is in the directory `inside`, as in "content.jar" or in
  /// "content.jar" and "child".
  std::filesystem::path file_for(const std::string& inside, const std::string& name) const;

  /// The file that the director reads in place of one of the archive, which has it; nothing when it reads that of the archive.
  std::optional<std::filesystem::path> in_place_of(const std::string& inside, const std::string& name) const;

  const std::filesystem::path& archive() const { return archive_; }

 private:
  bool has_time_of_archive(const std::filesystem::path& file) const;

  std::filesystem::path archive_;
  std::filesystem::path directory_;      ///< empty when it is not known which one it is
  std::optional<std::int64_t> seconds_;  ///< when the archive was modified
  std::string url_;                      ///< as Java writes it
};

}  // namespace eclipse_p2

#endif
