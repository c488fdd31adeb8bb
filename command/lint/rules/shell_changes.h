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

/// Offsets of glob characters that match no file name in the working directory, so that the director gets them as they are.
/// Somewhere else they may match.
ShellChanges idle_globs_in_feature(std::string_view feature);
ShellChanges idle_globs_in_repository(const Record& record);
ShellChanges idle_globs_in_directory(const Record& record);

/// How bad it is that the shell changes a feature: a warning when it removes nothing but quotes, backslashes and spaces, or
/// when the run tries all features at once and that command is passed on. Otherwise an error: the feature does not go in, or is
/// not removed.
Severity severity_of_changed_feature(const Input& input, std::string_view feature);
/// The same of column 1 or the component's directory: a warning when the director gets the path of something that it can load.
Severity severity_of_changed_repository(const Input& input, const Record& record);

/// True for spaces at the ends of a column and for a quote that it begins with.
bool is_around_column(std::string_view column, std::size_t offset);

/// "space" or "shell metacharacter ';'".
std::string name_of_change(std::string_view text, std::size_t offset);

}  // namespace eclipse_lint

#endif
