// The file of an artifact, and whether the director accepts it by what its repository lists of it.
#ifndef ECLIPSE_INT_P2_ARTIFACT_FILE_H
#define ECLIPSE_INT_P2_ARTIFACT_FILE_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "base/digest.h"
#include "base/file.h"
#include "base/limits.h"
#include "base/open_file.h"

namespace eclipse_p2 {

struct Checksum {
  eclipse_base::Digest digest;
  std::string hexadecimal;  ///< as it is listed
};

struct ArtifactFile {
  std::string name;                                   ///< its path in the repository
  std::filesystem::path path;                         ///< of the file, or of the archive that it is in
  std::vector<Checksum> checksums = {};               ///< those that the director compares
  std::optional<std::uintmax_t> size = {};            ///< that it must have, if any
  std::string entry = {};                             ///< its name in that archive; empty for a file of its own
  std::optional<eclipse_base::FileFacts> facts = {};  ///< of a file of its own, unless they are not known
};

/// Up to largest::artifact bytes of it.
eclipse_base::FileContent content_of(const ArtifactFile& file);

/// Whether two files of one artifact, of two repositories, are different: by a kind of checksum that both repositories list, or
/// else by their bytes. Files that cannot be read, or are too large to be read here, are not called different.
bool are_different(const ArtifactFile& one, const ArtifactFile& other);

/// The checksums of an artifact in an artifacts.xml that the director compares: of those for the download the strongest one,
/// and of those for the artifact the strongest one. It ignores empty ones and other algorithms.
std::vector<Checksum> checksums_of(const pugi::xml_node& artifact);

/// How large the file of an artifact must be. Nothing without a checksum: then the director accepts any size.
std::optional<std::uintmax_t> fixed_size_of(const pugi::xml_node& artifact);

/// Why a jar is not a whole one, or not of the size that it must have, to be read after its name; empty when nothing at its
/// beginning and at its end shows it.
std::string jar_damage(const eclipse_base::OpenFile& jar, std::optional<std::uintmax_t> size);

/// Why the director does not accept a file with these bytes, to be read after its name; empty when it does. Digits are compared
/// as text, as the director does.
std::string checksum_error(const std::vector<Checksum>& checksums, std::string_view bytes);
/// The same of a file that is read first; empty also when it cannot be read, or is too large to be read here.
std::string checksum_error(const ArtifactFile& file);

}  // namespace eclipse_p2

#endif
