// What is wrong with the jars of a repository, as far as their bytes show it.
#ifndef ECLIPSE_INT_P2_JAR_ERRORS_H
#define ECLIPSE_INT_P2_JAR_ERRORS_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "p2/artifact_file.h"

namespace eclipse_p2 {

/// At most one of these is not empty. Each is to be read after the name of the jar.
struct JarErrors {
  std::string damage = {};     ///< it is not a whole jar, or not of the size that its repository lists
  std::string checksum = {};   ///< it does not have the checksum that its repository lists
  std::string signature = {};  ///< it was altered after it was signed
  std::string identity = {};   ///< it is another bundle than its repository says, or in another version
  std::string limit = {};      ///< it is larger than is read here, so that nothing else is known

  bool operator==(const JarErrors&) const = default;
};

/// An artifact "CLASSIFIER,ID,VERSION" and its file.
using Jar = std::pair<const std::string, ArtifactFile>;

/// Reads the jars one by one, those in an archive together, and calls use(JAR, ERRORS) for each. One that cannot be read has no
/// errors.
void examine(const std::vector<const Jar*>& jars, const std::function<void(const Jar& jar, const JarErrors& errors)>& use);

}  // namespace eclipse_p2

#endif
