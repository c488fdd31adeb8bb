// Lists of units with commas between them, which the director gets after "-i" and "-u", and the second column of a descriptor.
#ifndef ECLIPSE_INT_P2_UNIT_LIST_H
#define ECLIPSE_INT_P2_UNIT_LIST_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "p2/unit.h"

namespace eclipse_p2 {

/// Units as the director lists them.
std::string list_of(const std::vector<Unit>& units);

/// The units that the director makes of the list that it gets.
std::vector<Unit> units_named(std::string_view list);

/// A unit of a list as it is written.
struct WrittenUnit {
  Unit unit;
  std::string text;                  ///< as the director gets it
  std::optional<std::size_t> start;  ///< of the text in the list; nothing if it is not written like this
};

/// The units of a list as a descriptor or a command of the plug-in has it: quotes and backslashes that the shell removes are no
/// part of a unit. If the shell makes anything else than one word of the list, those that it would name as it is written.
std::vector<WrittenUnit> units_written_in(std::string_view list);

/// Whether the director takes such a list for an option.
bool is_read_as_option(std::string_view list);

/// Whether the director reads such a list as one unit, which begins with a comma and which no repository has.
bool begins_with_comma(std::string_view list);

}  // namespace eclipse_p2

#endif
