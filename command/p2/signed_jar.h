// Signed jar files, and whether the director accepts them. Seen with the director of Eclipse 4.26 on Java 17.
#ifndef ECLIPSE_INT_P2_SIGNED_JAR_H
#define ECLIPSE_INT_P2_SIGNED_JAR_H

#include <filesystem>
#include <string>

#include "base/archive.h"

namespace eclipse_p2 {

/// Whether an entry is the manifest of a jar or, if it is signed, one of its signature files.
bool is_manifest_or_signature(const std::string& entry);

/// How a signed jar was altered after signing, so that the director does not accept it, to be read after its name: by digests
/// of SHA-256 and SHA-512. Empty when this does not show, when the jar is not signed, which needs both the signature file (.SF)
/// and its block, and when it cannot be read. Entries that were added or removed do not matter to the director.
std::string signature_error(const std::filesystem::path& jar);
std::string signature_error(const eclipse_base::Archive& jar);

}  // namespace eclipse_p2

#endif
