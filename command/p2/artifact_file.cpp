#include "p2/artifact_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <system_error>
#include <utility>

#include "base/archive.h"
#include "base/text.h"
#include "p2/git_lfs_pointer.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

/// Of those whose names begin like this. MD5 has an older name, too.
std::optional<Checksum> strongest(const pugi::xml_node& artifact, const std::string& beginning) {
  constexpr std::array<std::pair<Digest, const char*>, 5> names = {{{Digest::sha_512, ".checksum.sha-512"},
                                                                    {Digest::sha_256, ".checksum.sha-256"},
                                                                    {Digest::sha_1, ".checksum.sha-1"},
                                                                    {Digest::md5, ".checksum.md5"},
                                                                    {Digest::md5, ".md5"}}};
  for (const auto& [digest, end] : names) {
    std::string hexadecimal = property_of(artifact, beginning + end);
    if (!hexadecimal.empty()) return Checksum{digest, std::move(hexadecimal)};
  }
  return std::nullopt;
}

/// Nothing when the two have no kind of checksum in common.
std::optional<bool> differ_by_checksum(const ArtifactFile& one, const ArtifactFile& other) {
  for (const Checksum& checksum : one.checksums) {
    for (const Checksum& another : other.checksums) {
      if (checksum.digest == another.digest) return lower_case(checksum.hexadecimal) != lower_case(another.hexadecimal);
    }
  }
  return std::nullopt;
}

bool differ_by_bytes(const ArtifactFile& one, const ArtifactFile& other) {
  if (one.entry.empty() && other.entry.empty()) {
    std::error_code error;
    const auto size = std::filesystem::file_size(one.path, error);
    const auto other_size = error ? size : std::filesystem::file_size(other.path, error);
    if (error || size != other_size) return !error;
  }
  const FileContent content = content_of(one);
  const FileContent another = content_of(other);
  return content.error.empty() && another.error.empty() && content.bytes != another.bytes;
}

}  // namespace

FileContent content_of(const ArtifactFile& file) {
  if (file.entry.empty()) return read_file(file.path, largest::artifact);
  const Archive archive(file.path);
  return archive.error().empty() ? archive.read(file.entry, largest::artifact) : FileContent{"", archive.error()};
}

bool are_different(const ArtifactFile& one, const ArtifactFile& other) {
  const auto differ = differ_by_checksum(one, other);
  return differ ? *differ : differ_by_bytes(one, other);
}

std::vector<Checksum> checksums_of(const pugi::xml_node& artifact) {
  std::vector<Checksum> checksums;
  for (const char* const beginning : {"download", "artifact"}) {
    if (auto checksum = strongest(artifact, beginning)) checksums.push_back(*std::move(checksum));
  }
  return checksums;
}

std::optional<std::uintmax_t> fixed_size_of(const pugi::xml_node& artifact) {
  const auto properties = artifact.child("properties").children("property");
  const bool has_checksum = std::any_of(properties.begin(), properties.end(), [](const pugi::xml_node& property) {
    const std::string_view name = property.attribute("name").value();
    return name.starts_with("download.checksum.") || name == "download.md5";
  });
  const std::string size = property_of(artifact, "download.size");
  std::uintmax_t bytes = 0;
  const auto [end, error] = std::from_chars(size.data(), size.data() + size.size(), bytes);
  const bool is_number = error == std::errc() && end == size.data() + size.size();
  return has_checksum && is_number ? std::optional(bytes) : std::nullopt;
}

std::string jar_damage(const OpenFile& jar, std::optional<std::uintmax_t> size) {
  const FileContent beginning = jar.beginning(git_lfs::beginning_of_pointer.size());
  if (!beginning.error.empty()) return beginning.error;
  if (git_lfs::is_pointer(beginning.bytes)) return git_lfs::pointer_error;
  if (!beginning.bytes.starts_with(zip_mark)) return archive_error::not_zip;
  if (!size || jar.size() == *size) return zip_end_error(jar);
  return "has " + std::to_string(jar.size()) + " bytes, but the repository lists it with " + std::to_string(*size);
}

std::string checksum_error(const std::vector<Checksum>& checksums, std::string_view bytes) {
  for (const auto& [digest, hexadecimal] : checksums) {
    const std::string actual = digest_of(bytes, digest);
    if (actual == hexadecimal) continue;
    std::string error = lower_case(hexadecimal) == actual ? "is listed in capital letters, which the director does not accept: "
                                                          : "does not have the listed checksum: ";
    return error.append(name_of(digest)).append(" ").append(hexadecimal).append(", but ").append(actual);
  }
  return "";
}

std::string checksum_error(const ArtifactFile& file) {
  if (file.checksums.empty()) return "";
  const FileContent content = content_of(file);
  return content.error.empty() ? checksum_error(file.checksums, content.bytes) : "";
}

}  // namespace eclipse_p2
