// The samples of the rules as files.
#ifndef ECLIPSE_INT_TESTS_LINT_SAMPLES_H
#define ECLIPSE_INT_TESTS_LINT_SAMPLES_H

#include <string>
#include <vector>

#include "base/file_error.h"
#include "fake_host/temporary_directory.h"
#include "lint/lint.h"
#include "lint/rule.h"

namespace lint_test {

/// For suites with a test for each rule: the rules, and the name of a rule as that of a test.
std::vector<const eclipse_lint::Rule*> every_rule();
std::string test_name_of(const eclipse_lint::Rule& rule);

/// Writes the files of a sample into the working directory.
void write_sample(const eclipse_lint::Sample& sample);

/// The plug-in as it is delivered.
const eclipse_dry_run::PluginFunctions& library();

/// The findings in an input below the working directory, as a user without special rights gets them.
eclipse_lint::Findings findings_in(const std::string& input, const eclipse_lint::Settings& settings = {});

/// Each finding as "FILE:LINE:COLUMN+LENGTH RULE".
std::vector<std::string> summary_of(const eclipse_lint::Findings& findings);

/// For as long as this lives, the process has no special rights, which would open every file to it.
class WithoutRights {
 public:
  WithoutRights();
  ~WithoutRights();
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;
};

}  // namespace lint_test

#endif
