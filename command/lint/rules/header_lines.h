// Lines that people mean as the header of a descriptor file.
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

/// "Repository" in other letters, or other words that people write above the columns.
bool is_odd_header(const Record& record);

}  // namespace eclipse_lint

#endif
