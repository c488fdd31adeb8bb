// Findings as text, for people and for programs.
#ifndef ECLIPSE_INT_LINT_REPORT_H
#define ECLIPSE_INT_LINT_REPORT_H

#include <ostream>
#include <string>
#include <vector>

#include "base/file_error.h"
#include "lint/finding.h"

namespace eclipse_lint {

/// As compilers do: location, severity, message and rule, the line with a mark below it, then why and fix. Why is printed once
/// for each rule. A tab is shown as "→". Suppressed findings are left out here and in the next three. Prints nothing when there
/// are no others.
void print_text(std::ostream& out, const Findings& findings, bool in_colour);

/// One line for each: location, severity, message and rule.
void print_brief(std::ostream& out, const Findings& findings, bool in_colour);

/// What made linting impossible, in the inputs where it was.
using Errors = std::vector<eclipse_base::FileError>;

/// Annotations, as GitHub Actions read them from the output of a step.
void print_github(std::ostream& out, const Findings& findings, const Errors& errors = {});

/// "2 errors, 1 warning in 3 files; --fix corrects 2". Nothing when there are none.
void print_summary(std::ostream& out, const Findings& findings);

/// {findings: [{rule, group, severity, file, line, column, length, text, message, why, fix, correction, suppression}], counts:
/// {error, warning, note, suppressed}, errors: [{file, line, column, message}]}, the last only if there are any. Columns,
/// offsets and lengths are in bytes, but the columns of errors in characters. What is not UTF-8 becomes U+FFFD.
void print_json(std::ostream& out, const Findings& findings, const Errors& errors = {});

/// SARIF 2.1.0, with columns in characters. Suppressed findings have the reason as justification. The tag of a rule is its
/// group. Errors are notifications.
void print_sarif(std::ostream& out, const Findings& findings, const std::string& version, const Errors& errors = {});

}  // namespace eclipse_lint

#endif
