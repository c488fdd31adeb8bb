// Where the shell changes what a descriptor or a session says on its way to the director.
#ifndef ECLIPSE_INT_LINT_RULES_SHELL_CHANGES_H
#define ECLIPSE_INT_LINT_RULES_SHELL_CHANGES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lint/input.h"

namespace eclipse_lint {

/// Offsets, in their order; none when the director gets the text as it is. Those that take a record ask for one that is not
/// passed over.
using ShellChanges = std::vector<std::size_t>;

/// In a feature that is tried alone, as each may be.
ShellChanges changes_in_feature(std::string_view feature);
/// In column 1 of the record.
ShellChanges changes_in_repository(const Record& record);
/// In the directory of the record's component.
ShellChanges changes_in_directory(const Record& record);

/// True for spaces at the ends of a column and for a quote that it begins with.
bool is_around_column(std::string_view column, std::size_t offset);

/// "space" or "shell metacharacter ';'".
std::string name_of_change(std::string_view text, std::size_t offset);

}  // namespace eclipse_lint

#endif
