// Artifacts by their names, "CLASSIFIER,ID,VERSION".
#ifndef ECLIPSE_INT_P2_ARTIFACT_NAME_H
#define ECLIPSE_INT_P2_ARTIFACT_NAME_H

#include <string>

#include "p2/unit.h"

namespace eclipse_p2 {

/// The unit that an artifact belongs to.
Unit unit_of_artifact(const std::string& artifact);

bool is_bundle(const std::string& artifact);

/// "bundle ID VERSION", "feature ID VERSION", or with the classifier of another artifact.
std::string kind_and_unit(const std::string& artifact);

/// The artifact of a bundle.
std::string name_of_bundle(const Unit& unit);

/// "ID_VERSION": what a director calls the directory of a bundle in an instance, and its jar without ".jar".
std::string name_in_instance(const Unit& unit);

/// "ID_VERSION": the directory of a feature in an instance; empty for another artifact.
std::string directory_of_feature(const std::string& artifact);

/// The file of a bundle in the directory plugins of an instance, "ID_VERSION.jar"; empty for another artifact.
std::string jar_of_bundle(const std::string& artifact);

}  // namespace eclipse_p2

#endif
