// What an artifact is called, and where a repository says that its file is.
#ifndef ECLIPSE_INT_P2_ARTIFACT_LOCATION_H
#define ECLIPSE_INT_P2_ARTIFACT_LOCATION_H

#include <pugixml.hpp>
#include <string>

namespace eclipse_p2 {

/// An <artifact> as the director names it: "osgi.bundle,ID,VERSION".
std::string name_of_artifact(const pugi::xml_node& artifact);

struct ArtifactLocation {
  std::string file;  ///< its path in the repository, or an absolute path on this disk; empty when it is not known
  /// What the repository says when that is neither: the URL of another machine, or a path without "${repoUrl}", which is one
  /// from the working directory.
  std::string elsewhere;
};

/// By the first of the mapping rules in a <repository> of artifacts whose filter the <artifact> fulfils. Not known for an
/// artifact that is not a file as it is, or with a filter other than "(& (a=b) (c=d))". Seen with the director of Eclipse 4.26.
ArtifactLocation location_of(const pugi::xml_node& artifact, const pugi::xml_node& repository);

}  // namespace eclipse_p2

#endif
