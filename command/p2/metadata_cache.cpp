// Seen with the director of Eclipse 4.26. Of an archive, but not of a directory, it keeps each file with metadata that it reads
// below the data directory of p2, in org.eclipse.equinox.p2.repository/cache:
//
//   content.jar, content.xml    contentHASH.jar, contentHASH.xml, with the hash of the repository's URL, which has a slash at
//   its
//                               end, but none for the child of a composite; likewise artifacts, compositeContent, ...
//   content.xml.xz              HASH, that of its own URL
//
// A kept file gets the time of the archive in whole seconds. It is read again as long as it has just that time, whatever the
// archive contains by then: when an archive is replaced by one with the same time, the director does not notice it. A time of
// 0 is never trusted, nor a file in another form than the archive now has; a .jar hides an .xml. Often, but not always, the
// director deletes the files when it ends.
#include "p2/metadata_cache.h"

#include <sys/stat.h>

#include <chrono>
#include <system_error>

#include "p2/data_area.h"
#include "p2/instance_paths.h"

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

std::uint32_t java_hash(std::uint32_t hash, std::uint32_t unit) { return 31 * hash + unit; }

/// Of UTF-8, by its UTF-16 code units.
std::uint32_t java_hash_of(std::string_view text) {
  std::uint32_t hash = 0;
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at++]);
    const int further = first < 0xC0 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    std::uint32_t code = further == 0 ? first : first & (0x3FU >> static_cast<unsigned>(further));
    for (int i = 0; i < further && at < text.size(); ++i)
      code = (code << 6U) | (static_cast<unsigned char>(text[at++]) & 0x3FU);
    if (code < 0x10000) {
      hash = java_hash(hash, code);
    } else {
      hash = java_hash(java_hash(hash, 0xD7C0 + (code >> 10U)), 0xDC00 + (code & 0x3FFU));
    }
  }
  return hash;
}

/// Java escapes what may not be in a URI, but nothing beyond ASCII.
std::string as_java_writes(std::string_view path) {
  constexpr std::string_view hexadecimal = "0123456789ABCDEF";
  constexpr std::string_view escaped = " \"%<>\\^`{|}\x7F";
  std::string url;
  for (const char byte : path) {
    const auto code = static_cast<unsigned char>(byte);
    if (code >= 0x20 && escaped.find(byte) == escaped.npos) {
      url += byte;
    } else {
      url.append(1, '%').append(1, hexadecimal[code / 16]).append(1, hexadecimal[code % 16]);
    }
  }
  return url;
}

std::optional<std::int64_t> modified_in_seconds(const fs::path& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) return std::nullopt;
  return status.st_mtim.tv_sec;
}

}  // namespace

std::int32_t java_hash_of_uri(std::string_view uri) {
  const std::size_t colon = uri.find(':');
  return static_cast<std::int32_t>(java_hash_of(uri.substr(0, colon)) * 127 + java_hash_of(uri.substr(colon + 1)));
}

MetadataCache::MetadataCache(const fs::path& instance, const fs::path& archive)
    : archive_(archive),
      directory_(data_area_of(instance).directory),
      seconds_(modified_in_seconds(archive)),
      url_("jar:file://" + as_java_writes(archive.string()) + "!/") {
  if (!directory_.empty()) directory_ = directory_ / repository_settings / "cache";
}

bool MetadataCache::has_time_of_archive(const fs::path& file) const {
  struct stat status = {};
  if (!seconds_ || *seconds_ <= 0 || stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  constexpr long nanoseconds_in_millisecond = 1'000'000;
  return status.st_mtim.tv_sec == *seconds_ && status.st_mtim.tv_nsec < nanoseconds_in_millisecond;
}

bool MetadataCache::may_be_read() const {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory_, error)) {
    if (has_time_of_archive(entry.path())) return true;
  }
  return false;
}

fs::path MetadataCache::file_for(const std::string& inside, const std::string& name) const {
  const std::string repository = url_ + as_java_writes(inside);
  if (name.ends_with(".xz")) {
    const std::string slash = inside.empty() ? "" : "/";
    return directory_ / std::to_string(java_hash_of_uri(repository + slash + name));
  }
  const std::size_t extension = name.rfind('.');
  return directory_ / (name.substr(0, extension) + std::to_string(java_hash_of_uri(repository)) + name.substr(extension));
}

std::optional<fs::path> MetadataCache::in_place_of(const std::string& inside, const std::string& name) const {
  if (directory_.empty()) return std::nullopt;
  const std::string child = inside.substr(0, inside.find_last_not_of('/') + 1);
  fs::path file = file_for(child, name);
  std::error_code error;
  const bool is_hidden = name.ends_with(".xml") && fs::exists(fs::path(file).replace_extension(".jar"), error);
  return is_hidden || !has_time_of_archive(file) ? std::nullopt : std::optional(std::move(file));
}

}  // namespace eclipse_p2
