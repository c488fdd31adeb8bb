#include "p2/artifact_name.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "p2/names.h"

namespace eclipse_p2 {

Unit unit_of_artifact(const std::string& artifact) {
  const std::string_view text = artifact;
  const std::size_t end_of_kind = text.find(',');
  const std::string_view rest = text.substr(end_of_kind + 1);
  std::string id(rest.substr(0, rest.find(',')));
  if (text.substr(0, end_of_kind) == feature_name_space) id += feature_jar_suffix;
  return {std::move(id), std::string(text.substr(text.rfind(',') + 1))};
}

bool is_bundle(const std::string& artifact) { return artifact.starts_with(std::string(bundle_name_space) + ","); }

std::string kind_and_unit(const std::string& artifact) {
  const auto parts = eclipse_base::split(artifact, ',');
  const std::string kind = is_bundle(artifact) ? "bundle" : parts.at(0) == feature_name_space ? "feature" : parts.at(0);
  return kind + " " + parts.at(1) + " " + parts.at(2);
}

std::string name_of_bundle(const Unit& unit) { return std::string(bundle_name_space) + "," + unit.id + "," + unit.version; }

std::string name_in_instance(const Unit& unit) { return unit.id + "_" + unit.version; }

std::string jar_of_bundle(const std::string& artifact) {
  const Unit unit = unit_of_artifact(artifact);
  return is_bundle(artifact) ? name_in_instance(unit) + ".jar" : "";
}

std::string directory_of_feature(const std::string& artifact) {
  const auto parts = eclipse_base::split(artifact, ',');
  return parts.front() == feature_name_space ? name_in_instance({parts.at(1), parts.back()}) : "";
}

}  // namespace eclipse_p2
