// The file of an artifact, and whether the director accepts it by the checksums that its repository lists.
#ifndef ECLIPSE_INT_P2_ARTIFACT_FILE_H
#define ECLIPSE_INT_P2_ARTIFACT_FILE_H

#include <filesystem>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "base/digest.h"

namespace eclipse_p2 {

struct Checksum {
  eclipse_base::Digest digest;
  std::string hexadecimal;  ///< as it is listed
};

struct ArtifactFile {
  std::string name;  ///< its path in the repository
  std::filesystem::path path;
  std::vector<Checksum> checksums;  ///< those that the director compares
};

/// The checksums of an artifact in an artifacts.xml that the director compares: of those for the download the strongest one,
/// and of those for the artifact the strongest one. It ignores empty ones and other algorithms.
std::vector<Checksum> checksums_of(const pugi::xml_node& artifact);

/// Why the director does not accept the file, to be read after its name; empty when it does, or the file cannot be read or is
/// too large to be read here. Digits are compared as text, as the director does.
std::string checksum_error(const ArtifactFile& file);

}  // namespace eclipse_p2

#endif
