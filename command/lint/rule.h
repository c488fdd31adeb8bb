// The rules of lint. Each rule is declared once, with its check: reports, explanations, the manual and the tests are made from
// that declaration.
#ifndef ECLIPSE_INT_LINT_RULE_H
#define ECLIPSE_INT_LINT_RULE_H

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lint/finding.h"

namespace eclipse_lint {

struct Input;
struct Record;

/// Takes the findings of one rule.
class Reporter {
 public:
  Reporter(const Rule& rule, Findings& findings) : rule_(rule), findings_(findings) {}

  /// Adds a finding that says how many others were left out, if any were. To be called at the end.
  void report_left_out();

  bool has_reported() const { return count_ != 0; }

  /// Says of the last finding that the director does not install the features of these records because of it.
  void fails(const std::vector<const Record*>& records);

  void report(Location location, std::string message, std::optional<Correction> correction = {});
  /// With a better fix than the rule's own.
  void report(Location location, std::string message, std::string fix, std::optional<Correction> correction = {});
  /// With another severity than the rule's own.
  void report(Severity severity, Location location, std::string message, std::optional<Correction> correction = {});
  void report(Severity severity, Location location, std::string message, std::string fix,
              std::optional<Correction> correction = {});

 private:
  const Rule& rule_;
  Findings& findings_;
  std::size_t count_ = 0;
  std::string file_left_out_ = {};  ///< the first one with findings that are left out
};

struct SampleFile {
  std::string name;  ///< with a "/" at its end for a directory
  std::string content = {};
  int permissions = 0644;
  std::string link_to = {};                         ///< for a symbolic link
  std::map<std::string, std::string> entries = {};  ///< of a zip archive, by their names
  /// For a file that a director has kept of an archive: that archive, whose modification time it has. In its place stands a
  /// name with the hash of the archive's URL.
  std::string cached_of = {};
};

/// Something to lint: `input` names the one of `files` that is given to lint, or the directory that holds them.
struct Sample {
  std::string input;
  std::vector<SampleFile> files;
};

/// How much of the file a finding supersedes: other findings there would only mislead.
enum class Supersedes { nothing, line, file };

/// Whether the findings of a rule have corrections, at least where one can tell what is meant.
enum class Corrects { no, safely, unsafely, both };

/// Which option of lint applies the corrections of a rule, as a sentence in Markdown or, without its marks, as plain text;
/// empty when it has none.
std::string options_for(Corrects corrects);

/// What a rule is about.
enum class Group { files, lines, repositories, features, orders, eclipse, session, removal };

/// In the order of the manual.
inline constexpr std::array groups = {Group::files,  Group::lines,   Group::repositories, Group::features,
                                      Group::orders, Group::eclipse, Group::session,      Group::removal};

/// The name of a group, a single word.
std::string_view name_of(Group group);
/// What the rules of a group are about, as a heading.
std::string_view heading_of(Group group);

struct Rule {
  std::string_view name;
  Group group;
  Severity severity;
  std::string_view title;  ///< what is wrong
  std::string_view why;    ///< what the plug-in, the shell or the director does with it
  std::string_view fix;    ///< what to do
  Sample bad;              ///< has a finding of this rule
  Sample good;             ///< has none of any rule's
  void (*check)(const Input& input, Reporter& reporter);
  /// False for a rule that is skipped when features are removed, since the director then gets no repositories.
  bool concerns_removals = true;
  /// Of two rules that supersede the same, both report their findings.
  Supersedes supersedes = Supersedes::nothing;
  Corrects corrects = Corrects::no;
};

/// All rules, in the order of their groups.
const std::vector<Rule>& rules();

/// Null when there is no such rule.
const Rule* find_rule(std::string_view name);

/// Nothing when there is no such group.
std::optional<Group> find_group(std::string_view name);

/// The rule of that name, or all rules of the group of that name; empty when there is neither.
std::vector<const Rule*> rules_named(std::string_view rule_or_group);

/// That there is no rule of this name, and which one is probably meant.
std::string unknown_rule(std::string_view name);
/// The same where the name of a group would do as well.
std::string unknown_rule_or_group(std::string_view name);

// The rules of FILE.cpp in lint/rules/ are FILE_rules(). The name of a file begins with the group of all its rules.
std::vector<Rule> files_rules();
std::vector<Rule> lines_ignored_rules();
std::vector<Rule> lines_unintended_rules();
std::vector<Rule> lines_encoding_rules();
std::vector<Rule> lines_columns_rules();
std::vector<Rule> lines_leftovers_rules();
std::vector<Rule> repositories_paths_rules();
std::vector<Rule> repositories_characters_rules();
std::vector<Rule> repositories_contents_rules();
std::vector<Rule> repositories_places_rules();
std::vector<Rule> repositories_artifacts_rules();
std::vector<Rule> repositories_units_rules();
std::vector<Rule> features_rules();
std::vector<Rule> features_units_rules();
std::vector<Rule> features_singletons_rules();
std::vector<Rule> orders_rules();
std::vector<Rule> eclipse_rules();
std::vector<Rule> eclipse_instance_rules();
std::vector<Rule> eclipse_metadata_cache_rules();
std::vector<Rule> session_rules();
std::vector<Rule> removal_rules();

}  // namespace eclipse_lint

#endif
