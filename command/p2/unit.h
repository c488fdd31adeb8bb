// Installable units as a descriptor or a director names them.
#ifndef ECLIPSE_INT_P2_UNIT_H
#define ECLIPSE_INT_P2_UNIT_H

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_p2 {

struct Unit {
  std::string id;
  std::string version;  ///< empty when any is meant

  auto operator<=>(const Unit&) const = default;  // NOLINT(modernize-use-nullptr): clang-tidy 14 sees a null pointer here
};

/// "ID/VERSION", or "ID" without a version.
std::string text_of(const Unit& unit);
Unit unit_called(std::string_view text);

/// What the director drops at both ends of a name.
inline constexpr std::string_view white_space = " \t\r\n\v\f";
std::string_view without_white_space(std::string_view text);

/// The units that the director makes of the text behind "-i" or "-u".
std::vector<Unit> units_named(std::string_view list);

/// Whether a unit that is installed is the wanted one. Versions are compared as the director reads them, "1.0" as "1.0.0".
bool is_wanted(const Unit& wanted, const Unit& installed);

}  // namespace eclipse_p2

#endif
