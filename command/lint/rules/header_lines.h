// Lines that people mean as the header of a descriptor file, and lines in the order of a wrong header.
#ifndef ECLIPSE_INT_LINT_RULES_HEADER_LINES_H
#define ECLIPSE_INT_LINT_RULES_HEADER_LINES_H

#include <string>
#include <string_view>

#include "lint/input.h"

namespace eclipse_lint {

/// The first column of a line that the plug-in takes for a header.
constexpr std::string_view header = "Repository";

/// A column without what people put around a header by mistake.
std::string bare(std::string_view text);

/// What the two texts of a header are called that people write above the columns.
enum class HeaderWords { none, in_order, exchanged };

/// "Repository" in other letters before anything but a feature, or other words for a repository and a feature.
HeaderWords header_words(std::string_view first, std::string_view second);

/// A header that the plug-in reads as data.
bool is_odd_header(const Record& record);

/// A header or data after a tab at the beginning of the line.
bool is_shifted(const Record& record);

/// A feature before its repository.
bool are_swapped(const Record& record);

}  // namespace eclipse_lint

#endif
