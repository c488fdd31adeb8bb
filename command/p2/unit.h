// Installable units as a descriptor or a director names them.
#ifndef ECLIPSE_INT_P2_UNIT_H
#define ECLIPSE_INT_P2_UNIT_H

#include <compare>
#include <string>
#include <string_view>

namespace eclipse_p2 {

/// What the unit of a feature adds to the feature's id.
inline constexpr std::string_view group_suffix = ".feature.group";

struct Unit {
  std::string id;
  std::string version;  ///< empty when any is meant

  auto operator<=>(const Unit&) const = default;  // NOLINT(modernize-use-nullptr): clang-tidy 14 sees a null pointer here
};

/// "ID/VERSION", or "ID" without a version.
std::string text_of(const Unit& unit);
Unit unit_called(std::string_view text);

/// Whether a unit that is installed is the wanted one. Versions are compared as the director reads them, "1.0" as "1.0.0".
bool is_wanted(const Unit& wanted, const Unit& installed);

}  // namespace eclipse_p2

#endif
