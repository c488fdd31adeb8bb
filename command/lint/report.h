// Findings and rules as text, for people and for programs.
#ifndef ECLIPSE_INT_LINT_REPORT_H
#define ECLIPSE_INT_LINT_REPORT_H

#include <ostream>
#include <string>

#include "lint/finding.h"
#include "lint/rule.h"

namespace eclipse_lint {

/// As compilers do: location, severity, message and rule, the line with a mark below it, then why and fix. A tab is shown as
/// "→". Suppressed findings are left out. Prints nothing when there are no others.
void print_text(std::ostream& out, const Findings& findings, bool in_colour);

/// {findings: [{rule, group, severity, file, line, column, length, text, message, why, fix, correction, override}], counts:
/// {error, warning, note, overridden}}. Columns, offsets and lengths are in bytes. What is not UTF-8 becomes U+FFFD.
void print_json(std::ostream& out, const Findings& findings);

/// SARIF 2.1.0, with columns in characters. Suppressed findings have the reason as justification. The tag of a rule is its
/// group.
void print_sarif(std::ostream& out, const Findings& findings, const std::string& version);

/// A rule with its samples.
void print_rule(std::ostream& out, const Rule& rule, bool in_colour);

/// The rules of a group below its heading, one line each.
void print_group(std::ostream& out, Group group);

/// All groups.
void print_groups(std::ostream& out);

/// The manual of all rules in Markdown, with one section for each group.
void print_manual(std::ostream& out);

}  // namespace eclipse_lint

#endif
