// What units require of each other.
#ifndef ECLIPSE_INT_P2_REQUIREMENT_H
#define ECLIPSE_INT_P2_REQUIREMENT_H

#include <pugixml.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_p2 {

/// A requirement of a unit or a bundle by its name. The director may need others as well, such as packages.
struct Requirement {
  std::string name_space;  ///< "org.eclipse.equinox.p2.iu" or "osgi.bundle"
  std::string name;
  std::string range;    ///< of versions; any when it is empty
  std::string filter;   ///< of the environments in which it counts; empty for all
  bool is_hard = true;  ///< it is neither optional nor only for what is installed anyway

  bool operator==(const Requirement&) const = default;
};

/// Those of a <unit>, without prohibitions, which require that something is not there.
std::vector<Requirement> requirements_of(const pugi::xml_node& unit);

/// What a unit provides as a unit or a bundle under another name or version than its own.
struct Capability {
  std::string name_space;
  std::string name;
  std::string version;

  bool operator==(const Capability&) const = default;
};

std::vector<Capability> further_capabilities_of(const pugi::xml_node& unit);

/// Of a patch: the names in the requirements of other units that it replaces.
std::set<std::string> names_patched_by(const pugi::xml_node& unit);

/// "[4.0.0,5.0.0)" as a person reads it, such as "version 1.0.0.v1" for "[1.0.0.v1,1.0.0.v1]".
std::string text_of_range(const std::string& range);

/// Whether a range is met by one version only.
bool is_exact(const std::string& range);

}  // namespace eclipse_p2

#endif
