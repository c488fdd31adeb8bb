// Seen with the director of Eclipse 4.26. Of an archive, but not of a directory, it caches each file with metadata that it
// reads below the data directory of p2, in org.eclipse.equinox.p2.repository/cache:
//
//   content.jar, content.xml    contentHASH.jar, contentHASH.xml; HASH is that of the repository's URL
//   artifacts.jar, ...          likewise
//   content.xml.xz, ...         HASH, that of its own URL
//
// The URL of a repository has a slash at its end, that of the child of a composite has none. A cached file gets the time of the
// archive in whole seconds. It is read again as long as it has just that time, whatever the archive contains by then: when an
// archive is replaced by one with the same time, the director does not notice it. A time of 0 is never trusted, nor a file in
// another form than the archive now has; a .jar hides an .xml. Often, but not always, the director deletes the files when it
// ends.
#include "p2/metadata_cache.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "base/text.h"
#include "base/uri.h"
#include "p2/data_area.h"
#include "p2/instance_paths.h"
#include "p2/repository_url.h"

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

/// Java escapes what may not be in a URI; of the characters beyond ASCII the control characters and the spaces.
bool is_escaped(std::string_view character) {
  constexpr std::string_view escaped = " \"%<>\\^`{|}\x7F";
  constexpr std::array<std::string_view, 18> spaces = {"\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003",
                                                       "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009",
                                                       "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"};
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return first < 0x20 || escaped.find(character) != escaped.npos;
  const bool is_control = first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
  return is_control || std::find(spaces.begin(), spaces.end(), character) != spaces.end();
}

std::string as_java_writes(std::string_view path) {
  std::string url;
  while (!path.empty()) {
    const std::string_view character = path.substr(0, std::max<std::size_t>(eclipse_base::character_length(path), 1));
    path.remove_prefix(character.size());
    if (!is_escaped(character)) {
      url += character;
      continue;
    }
    for (const char byte : character) url += eclipse_base::percent_encoded(byte);
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

CachedFiles::CachedFiles(const fs::path& instance) : directory_(data_area_of(instance).directory) {
  if (directory_.empty()) return;
  directory_ = directory_ / repository_settings / "cache";
  std::error_code error;
  for (fs::directory_iterator entry(directory_, error), end; !error && entry != end; entry.increment(error)) {
    struct stat status = {};
    if (stat(entry->path().c_str(), &status) != 0) continue;
    constexpr long nanoseconds_in_millisecond = 1'000'000;
    const bool is_of_director = S_ISREG(status.st_mode) && status.st_mtim.tv_nsec < nanoseconds_in_millisecond;
    times_[entry->path().filename().string()] = is_of_director ? std::optional(status.st_mtim.tv_sec) : std::nullopt;
  }
}

bool CachedFiles::are_trusted(const fs::path& file, std::int64_t seconds) const {
  const auto found = times_.find(file.filename().string());
  return seconds > 0 && found != times_.end() && found->second == seconds;
}

bool CachedFiles::are_any_trusted(std::int64_t seconds) const {
  return std::any_of(times_.begin(), times_.end(), [&](const auto& file) { return seconds > 0 && file.second == seconds; });
}

MetadataCache::MetadataCache(std::shared_ptr<const CachedFiles> files, const fs::path& archive)
    : files_(std::move(files)),
      archive_(archive),
      seconds_(modified_in_seconds(archive)),
      url_(std::string(archive_scheme) + "file://" + as_java_writes(archive.string()) + std::string(archive_end)) {}

bool MetadataCache::is_trusted(const fs::path& file) const { return seconds_ && files_->are_trusted(file, *seconds_); }

bool MetadataCache::may_be_read(bool is_composite) const {
  if (!seconds_ || !files_->are_any_trusted(*seconds_)) return false;
  if (is_composite) return true;
  for (const char* const listing : {"content", "artifacts"}) {
    for (const char* const extension : {".jar", ".xml", ".xml.xz"}) {
      if (is_trusted(file_for("", std::string(listing) + extension))) return true;
    }
  }
  return false;
}

fs::path MetadataCache::file_for(const std::string& inside, const std::string& name) const {
  const std::string repository = url_ + as_java_writes(inside);
  if (name.ends_with(".xz")) {
    const std::string slash = inside.empty() ? "" : "/";
    return files_->directory() / std::to_string(java_hash_of_uri(repository + slash + name));
  }
  const std::size_t extension = name.rfind('.');
  return files_->directory() /
         (name.substr(0, extension) + std::to_string(java_hash_of_uri(repository)) + name.substr(extension));
}

std::optional<fs::path> MetadataCache::in_place_of(const std::string& inside, const std::string& name) const {
  const std::string child = inside.substr(0, inside.find_last_not_of('/') + 1);
  fs::path file = file_for(child, name);
  const bool is_hidden = name.ends_with(".xml") && files_->has(fs::path(file).replace_extension(".jar"));
  return is_hidden || !is_trusted(file) ? std::nullopt : std::optional(std::move(file));
}

}  // namespace eclipse_p2
