// Signed jar files, and whether the director accepts them. Seen with the director of Eclipse 4.26 on Java 17.
#ifndef ECLIPSE_INT_P2_SIGNED_JAR_H
#define ECLIPSE_INT_P2_SIGNED_JAR_H

#include <filesystem>
#include <string>
#include <string_view>

#include "base/archive.h"

namespace eclipse_p2 {

/// A jar file, or the content of one, which must outlive it: its manifest and signature files are read while the names of its
/// entries are.
eclipse_base::Archive jar_file(std::filesystem::path file);
eclipse_base::Archive jar_in_memory(std::string_view content);

/// How a signed jar was altered after signing, so that the director does not accept it, to be read after its name: by digests
/// of SHA-256 and SHA-512. Empty when this does not show, when the jar is not signed, which needs both the signature file (.SF)
/// and its block, and when it cannot be read. Entries that were added or removed do not matter to the director.
std::string signature_error(const eclipse_base::Archive& jar);

}  // namespace eclipse_p2

#endif
