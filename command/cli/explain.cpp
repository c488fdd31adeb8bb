#include <iostream>
#include <memory>

#include "cli/subcommands.h"
#include "lint/manual.h"
#include "run/usage_error.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_lint;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* explain_examples =
    "  eclipse-int explain line-without-tab\n"
    "      Explain a rule, with a bad and a good example.\n"
    "  eclipse-int explain orders\n"
    "      List the rules of a group.\n"
    "  eclipse-int explain\n"
    "      List all rules by group.\n"
    "  eclipse-int explain --manual > lint-rules.md\n"
    "      Print the manual of all rules.\n";

constexpr const char* explain_exit_status =
    "Exit status:\n"
    "  0  success\n"
    "  2  there is no such rule or group\n";

struct ExplainOptions {
  std::vector<std::string> names;
  bool manual = false;
};

void check(const std::string& name) {
  if (rules_named(name).empty()) throw UsageError("RULE: " + unknown_rule_or_group(name));
}

void explain(const std::string& name) {
  if (const auto group = find_group(name)) {
    print_group(std::cout, *group);
  } else {
    print_rule(std::cout, *find_rule(name), output_is_coloured());
  }
}

int explain_command(const ExplainOptions& options) {
  for (const std::string& name : options.names) check(name);
  if (options.manual) {
    print_manual(std::cout);
  } else if (options.names.empty()) {
    print_groups(std::cout);
  }
  for (const std::string& name : options.names) {
    if (&name != &options.names.front()) std::cout << "\n";
    explain(name);
  }
  return exit_success;
}

}  // namespace

Subcommand add_explain(const Parser& program) {
  const Parser parser = program.add_subcommand("explain", "Explain lint rules, or list them by group");
  const auto options = std::make_shared<ExplainOptions>();
  parser.add_option("RULE", options->names, "Rules or groups of rules [default: all rules, one line each]").option_text("...");
  parser.add_flag("--manual", options->manual, "Print the manual of all rules in Markdown; not with RULE").excludes("RULE");
  parser.set_help("eclipse-int explain [RULE...] [--manual]", explain_examples, explain_exit_status);
  return {parser, [options] { return explain_command(*options); }};
}

}  // namespace eclipse_cli
