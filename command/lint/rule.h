// The rules of lint. Everything about a rule stands in its one entry: reports, explanations, the manual's list and the tests
// are made from it.
#ifndef ECLIPSE_INT_LINT_RULE_H
#define ECLIPSE_INT_LINT_RULE_H

#include <string>
#include <string_view>
#include <vector>

#include "lint/finding.h"

namespace eclipse_lint {

struct Input;

/// Takes the findings of one rule.
class Reporter {
 public:
  Reporter(const Rule& rule, Findings& findings) : rule_(rule), findings_(findings) {}

  void report(Location location, std::string message);
  /// With a better fix than the rule's own.
  void report(Location location, std::string message, std::string fix);
  void report(Severity severity, Location location, std::string message, std::string fix);

 private:
  const Rule& rule_;
  Findings& findings_;
};

struct SampleFile {
  std::string name;  ///< with a "/" at its end for a directory
  std::string content = {};
  int permissions = 0644;
  std::string link_to = {};  ///< for a symbolic link
};

/// Something to lint: `input` names the one of `files` that is given to lint, or the directory that holds them.
struct Sample {
  std::string input;
  std::vector<SampleFile> files;
};

/// How much of the file a finding supersedes: what other rules find there would only mislead.
enum class Supersedes { nothing, line, file };

/// What a rule is about.
enum class Group { files, lines, repositories, features, orders, eclipse, session, removal };

struct Rule {
  std::string_view name;
  Group group;
  Severity severity;
  std::string_view title;  ///< what is wrong
  std::string_view why;    ///< what the plug-in, the shell or the director makes of it
  std::string_view fix;    ///< what to do
  Sample bad;              ///< has a finding of this rule
  Sample good;             ///< has none of any rule's
  void (*check)(const Input& input, Reporter& reporter);
  /// Otherwise it is left out when features are removed, for which the director is given no repositories.
  bool concerns_removals = true;
  /// Of two rules that supersede as much, both are heard.
  Supersedes supersedes = Supersedes::nothing;
};

/// All rules, in the order of the manual.
const std::vector<Rule>& rules();

/// Null when there is no such rule.
const Rule* find_rule(std::string_view name);

/// That there is no rule of this name, and which one may be meant.
std::string no_rule_called(std::string_view name);

// Each in the file of its name, with the checks beside the entries.
std::vector<Rule> rules_for_files();
std::vector<Rule> rules_for_lines();
std::vector<Rule> rules_for_repositories();
std::vector<Rule> rules_for_features();
std::vector<Rule> rules_for_orders();
std::vector<Rule> rules_for_eclipse_choice();
std::vector<Rule> rules_for_sessions();
std::vector<Rule> rules_for_removals();

}  // namespace eclipse_lint

#endif
