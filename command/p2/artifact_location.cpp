#include "p2/artifact_location.h"

#include <optional>
#include <string_view>

#include "base/text.h"
#include "base/uri.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

std::string value_in(const pugi::xml_node& artifact, const std::string& name) {
  if (name == "id" || name == "version" || name == "classifier") return artifact.attribute(name.c_str()).value();
  return property_of(artifact, name);
}

/// Whether an artifact fulfils a filter; nothing when that is not known.
std::optional<bool> fulfils(const pugi::xml_node& artifact, std::string_view filter) {
  filter = trimmed(filter);
  if (filter.starts_with("(&") && filter.ends_with(')')) filter = trimmed(filter.substr(2, filter.size() - 3));
  while (!filter.empty()) {
    const std::size_t end = filter.find(')');
    if (filter.front() != '(' || end == filter.npos) return std::nullopt;
    const std::string_view condition = filter.substr(1, end - 1);
    const std::size_t equals = condition.find('=');
    if (equals == condition.npos || condition.find_first_of("(*~<>!|&") != condition.npos) return std::nullopt;
    if (value_in(artifact, std::string(trimmed(condition.substr(0, equals)))) != condition.substr(equals + 1)) return false;
    filter = trimmed(filter.substr(end + 1));
  }
  return true;
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
  for (const pugi::xml_node rule : repository.child("mappings").children("rule")) {
    const auto is_fulfilled = fulfils(artifact, rule.attribute("filter").value());
    if (!is_fulfilled) return {};
    if (*is_fulfilled) return location_in(with_values(rule.attribute("output").value(), artifact));
  }
  return {};
}

}  // namespace eclipse_p2
