#include "p2/artifact_location.h"

#include <optional>
#include <string_view>

#include "base/text.h"
#include "base/uri.h"
#include "p2/filter.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

/// What the filters of rules are about.
Environment attributes_of(const pugi::xml_node& artifact) {
  Environment attributes;
  for (const pugi::xml_node property : artifact.child("properties").children("property")) {
    attributes.emplace(lower_case(property.attribute("name").value()), property.attribute("value").value());
  }
  for (const char* const name : {"id", "version", "classifier"}) attributes[name] = artifact.attribute(name).value();
  return attributes;
}

std::string with_values(std::string output, const pugi::xml_node& artifact) {
  for (const char* const name : {"id", "version", "classifier"}) {
    output = replaced(output, std::string("${") + name + "}", artifact.attribute(name).value());
  }
  return output;
}

ArtifactLocation location_in(const std::string& output) {
  constexpr std::string_view repository = "${repoUrl}/";
  const bool is_inside = output.starts_with(repository);
  const std::string rest = output.substr(is_inside ? repository.size() : 0);
  if (rest.find("${") != rest.npos) return {};
  if (is_inside) return {rest, ""};
  const auto file = file_of_uri(output);
  return file ? ArtifactLocation{file->string(), ""} : ArtifactLocation{"", output};
}

/// Whether an artifact is kept in another form than as a file of its own, or in a directory.
bool is_kept_otherwise(const pugi::xml_node& artifact) {
  if (artifact.child("processing") || artifact.child("repositoryProperties")) return true;
  return static_cast<bool>(artifact.child("properties").find_child_by_attribute("property", "name", "format"));
}

}  // namespace

std::string name_of_artifact(const pugi::xml_node& artifact) {
  return std::string(artifact.attribute("classifier").value()) + "," + artifact.attribute("id").value() + "," +
         artifact.attribute("version").value();
}

ArtifactLocation location_of(const pugi::xml_node& artifact, const pugi::xml_node& repository) {
  if (is_kept_otherwise(artifact)) return {};
  const Environment attributes = attributes_of(artifact);
  for (const pugi::xml_node rule : repository.child("mappings").children("rule")) {
    const auto is_fulfilled = fulfils(attributes, rule.attribute("filter").value(), Missing::none);
    if (!is_fulfilled) return {};
    if (*is_fulfilled) return location_in(with_values(rule.attribute("output").value(), artifact));
  }
  return {};
}

}  // namespace eclipse_p2
