// Installable units as a descriptor or a director names them.
#ifndef ECLIPSE_INT_P2_UNIT_H
#define ECLIPSE_INT_P2_UNIT_H

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_p2 {

/// What the unit of a feature adds to the feature's id.
inline constexpr std::string_view group_suffix = ".feature.group";
/// What the unit of its jar adds to the id.
inline constexpr std::string_view feature_jar_suffix = ".feature.jar";

struct Unit {
  std::string id;
  std::string version;

  auto operator<=>(const Unit&) const = default;  // NOLINT(modernize-use-nullptr): clang-tidy 14 sees a null pointer here
};

/// "ID/VERSION", or "ID" without a version.
std::string text_of(const Unit& unit);
std::vector<std::string> texts_of(const std::vector<Unit>& units);

/// What the director takes such a text for: empty parts and what follows the version do not count, so "ID//1.0.0/2" is
/// "ID/1.0.0".
Unit unit_called(std::string_view text);

/// Whether only one version is meant, and not any: any is meant without a version, and with 0.0.0.
bool is_pinned(const Unit& unit);

/// Whether a unit that is installed is the wanted one. Versions are compared as the director reads them, "1.0" as "1.0.0".
bool is_wanted(const Unit& wanted, const Unit& installed);

}  // namespace eclipse_p2

#endif
