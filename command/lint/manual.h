// What people read about the rules: a rule with its samples, lists of rules, and the manual of all.
#ifndef ECLIPSE_INT_LINT_MANUAL_H
#define ECLIPSE_INT_LINT_MANUAL_H

#include <ostream>

#include "lint/rule.h"

namespace eclipse_lint {

/// A rule with its samples.
void print_rule(std::ostream& out, const Rule& rule, bool in_colour);

/// A rule without its samples, in Markdown below a heading of the third level.
void print_rule_in_markdown(std::ostream& out, const Rule& rule);

/// The rules of a group below its heading, one line each.
void print_group(std::ostream& out, Group group);

/// All groups.
void print_groups(std::ostream& out);

/// The manual of all rules in Markdown, with one section for each group.
void print_manual(std::ostream& out);

}  // namespace eclipse_lint

#endif
