#include "p2/artifact_file.h"

#include <array>
#include <optional>
#include <utility>

#include "base/file.h"
#include "base/text.h"
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

}  // namespace

std::vector<Checksum> checksums_of(const pugi::xml_node& artifact) {
  std::vector<Checksum> checksums;
  for (const char* const beginning : {"download", "artifact"}) {
    if (auto checksum = strongest(artifact, beginning)) checksums.push_back(*std::move(checksum));
  }
  return checksums;
}

std::string checksum_error(const ArtifactFile& file) {
  const FileContent content = read_file(file.path, largest::artifact);
  if (!content.error.empty()) return "";
  for (const auto& [digest, hexadecimal] : file.checksums) {
    const std::string actual = digest_of(content.bytes, digest);
    if (actual == hexadecimal) continue;
    std::string error = lower_case(hexadecimal) == actual ? "is listed in capital letters, which the director does not accept: "
                                                          : "does not have the checksum that is listed: ";
    return error.append(name_of(digest)).append(" ").append(hexadecimal).append(", but ").append(actual);
  }
  return "";
}

}  // namespace eclipse_p2
