// What a director keeps of the metadata of archives, and reads again in place of theirs.
#ifndef ECLIPSE_INT_P2_METADATA_CACHE_H
#define ECLIPSE_INT_P2_METADATA_CACHE_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace eclipse_p2 {

/// The hash that Java has of a URI such as "jar:file:///opt/a.zip!/", whose text is UTF-8.
std::int32_t java_hash_of_uri(std::string_view uri);

/// The files in the cache of an instance, as they are when it is made.
class CachedFiles {
 public:
  explicit CachedFiles(const std::filesystem::path& instance);

  /// Empty when it is not known where the cache is.
  const std::filesystem::path& directory() const { return directory_; }
  bool has(const std::filesystem::path& file) const { return times_.contains(file.filename().string()); }
  /// Whether a director trusts a file for an archive that was modified at this time, in seconds.
  bool are_trusted(const std::filesystem::path& file, std::int64_t seconds) const;
  bool are_any_trusted(std::int64_t seconds) const;

 private:
  std::filesystem::path directory_;
  /// By name; in seconds, and nothing for those that no director has made.
  std::unordered_map<std::string, std::optional<std::int64_t>> times_;
};

/// The cache of an instance, for one archive.
class MetadataCache {
 public:
  /// The archive is at the path that is in the URL which the director gets.
  MetadataCache(std::shared_ptr<const CachedFiles> files, const std::filesystem::path& archive);
  MetadataCache(const std::filesystem::path& instance, const std::filesystem::path& archive)
      : MetadataCache(std::make_shared<const CachedFiles>(instance), archive) {}

  /// Whether the director may read a file in it. Of a composite, any file may be that of a child in the archive.
  bool may_be_read(bool is_composite) const;

  /// The path of the cached copy of the file `name` in the directory `inside` of the archive; "" is the archive itself.
  std::filesystem::path file_for(const std::string& inside, const std::string& name) const;

  /// The file that the director reads in place of one of the archive, which has it; nothing when it reads that of the archive.
  std::optional<std::filesystem::path> in_place_of(const std::string& inside, const std::string& name) const;

  const std::filesystem::path& archive() const { return archive_; }

 private:
  bool is_trusted(const std::filesystem::path& file) const;

  std::shared_ptr<const CachedFiles> files_;
  std::filesystem::path archive_;
  std::optional<std::int64_t> seconds_;  ///< when the archive was modified
  std::string url_;                      ///< as Java writes it
};

}  // namespace eclipse_p2

#endif
