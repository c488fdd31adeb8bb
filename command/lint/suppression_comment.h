// Comments in a descriptor file that suppress findings: the plug-in ignores every line without a tab.
#ifndef ECLIPSE_INT_LINT_SUPPRESSION_COMMENT_H
#define ECLIPSE_INT_LINT_SUPPRESSION_COMMENT_H

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lint/finding.h"
#include "lint/input.h"

namespace eclipse_lint {

/// "# eclipse-int: disable-next-line=RULE,RULE REASON", or disable-file for the whole file.
struct SuppressionComment {
  bool is_understood = false;
  bool is_for_file = false;
  std::vector<std::string> rules;
  std::string reason;  ///< never empty
};

/// Nothing for a line that is not addressed to eclipse-int.
std::optional<SuppressionComment> suppression_in(const Line& line);

/// Sets the reason in the findings that a comment in these files suppresses.
void suppress(const std::deque<Descriptor>& descriptors, Findings& findings);

}  // namespace eclipse_lint

#endif
