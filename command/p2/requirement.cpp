#include "p2/requirement.h"

#include <string_view>
#include <utility>

#include "base/text.h"
#include "p2/names.h"
#include "p2/version.h"

using eclipse_base::trimmed;

namespace eclipse_p2 {

namespace {

bool is_hard(const pugi::xml_node& required) {
  return !required.attribute("optional").as_bool() && required.attribute("greedy").as_bool(true) &&
         required.attribute("min").as_int(1) != 0;
}

}  // namespace

std::vector<Requirement> requirements_of(const pugi::xml_node& unit) {
  std::vector<Requirement> requirements;
  for (const pugi::xml_node required : unit.child("requires").children("required")) {
    const std::string name_space = required.attribute("namespace").value();
    const std::string name = required.attribute("name").value();
    if (!is_of_units(name_space) || name.empty() || required.attribute("max").as_int(1) == 0) continue;
    requirements.push_back({name_space, name, std::string(trimmed(required.attribute("range").value())),
                            std::string(trimmed(required.child("filter").text().get())), is_hard(required)});
  }
  return requirements;
}

std::vector<Capability> further_capabilities_of(const pugi::xml_node& unit) {
  std::vector<Capability> capabilities;
  const std::string_view id = unit.attribute("id").value();
  const std::string version = whole_version(unit.attribute("version").value());
  for (const pugi::xml_node provided : unit.child("provides").children("provided")) {
    Capability capability{provided.attribute("namespace").value(), provided.attribute("name").value(),
                          provided.attribute("version").value()};
    const bool is_own = capability.name == id && whole_version(capability.version) == version;
    if (is_of_units(capability.name_space) && !is_own) capabilities.push_back(std::move(capability));
  }
  return capabilities;
}

std::set<std::string> names_patched_by(const pugi::xml_node& unit) {
  std::set<std::string> names;
  for (const pugi::xml_node change : unit.child("changes").children("change")) {
    for (const pugi::xml_node required : change.child("from").children("required")) {
      names.insert(required.attribute("name").value());
    }
  }
  return names;
}

bool is_exact(const std::string& range) {
  const std::size_t comma = range.find(',');
  if (!range.starts_with('[') || !range.ends_with(']') || comma == range.npos) return false;
  const std::string_view text = range;
  return whole_version(trimmed(text.substr(1, comma - 1))) ==
         whole_version(trimmed(text.substr(comma + 1, text.size() - comma - 2)));
}

std::string text_of_range(const std::string& range) {
  if (is_exact(range)) return "version " + range.substr(1, range.find(',') - 1);
  if (range.empty() || range == "0.0.0") return "any version";
  return range.starts_with('[') || range.starts_with('(') ? "a version in " + range : "version " + range + " or later";
}

}  // namespace eclipse_p2
