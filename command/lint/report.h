// Findings and rules as texts, for people and for programs.
#ifndef ECLIPSE_INT_LINT_REPORT_H
#define ECLIPSE_INT_LINT_REPORT_H

#include <ostream>
#include <string>

#include "lint/finding.h"
#include "lint/rule.h"

namespace eclipse_lint {

/// As compilers do: location, severity, message and rule, the line with a mark below it, then effect and fix. A tab shows as
/// "→". Findings that are set aside are left out. Prints nothing when there are no others.
void print_text(std::ostream& out, const Findings& findings, bool in_colour);

/// {findings: [{rule, severity, file, line, column, length, text, message, effect, fix, override}], counts: {error, warning,
/// note, overridden}}. Columns and lengths are in bytes. What is not UTF-8 becomes U+FFFD.
void print_json(std::ostream& out, const Findings& findings);

/// SARIF 2.1.0, with columns in characters. Findings that are set aside are suppressed, with the reason as justification.
void print_sarif(std::ostream& out, const Findings& findings, const std::string& version);

/// The whole story of a rule.
void print_rule(std::ostream& out, const Rule& rule, bool in_colour);

/// All rules, a line each.
void print_rules(std::ostream& out);

/// All rules as the manual has them, in Markdown.
void print_manual(std::ostream& out);

}  // namespace eclipse_lint

#endif
