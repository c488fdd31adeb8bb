#include "p2/artifact_name.h"

#include "base/text.h"

namespace eclipse_p2 {

Unit unit_of_artifact(const std::string& artifact) {
  const auto parts = eclipse_base::split(artifact, ',');
  const bool is_feature = parts.front() == "org.eclipse.update.feature";
  return {parts.at(1) + std::string(is_feature ? feature_jar_suffix : ""), parts.back()};
}

bool is_bundle(const std::string& artifact) { return artifact.starts_with("osgi.bundle,"); }

std::string jar_of_bundle(const std::string& artifact) {
  const Unit unit = unit_of_artifact(artifact);
  return is_bundle(artifact) ? unit.id + "_" + unit.version + ".jar" : "";
}

}  // namespace eclipse_p2
