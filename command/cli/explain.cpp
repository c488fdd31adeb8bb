#include <iostream>
#include <memory>

#include "cli/session_options.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "lint/report.h"

using namespace eclipse_lint;

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int explain line-without-tab\n"
    "      What happens, what to do, and an example of both.\n"
    "  eclipse-int explain\n"
    "      All rules, a line each.\n"
    "  eclipse-int explain --manual > lint-rules.md\n"
    "      All rules as the manual has them.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  done\n"
    "  2  there is no such rule\n";

struct ExplainOptions {
  std::vector<std::string> names;
  bool manual = false;
};

const Rule& rule_called(const std::string& name) {
  if (const Rule* const rule = find_rule(name)) return *rule;
  throw CLI::ValidationError("RULE", no_rule_called(name));
}

int perform(const ExplainOptions& options) {
  if (options.manual) {
    print_manual(std::cout);
  } else if (options.names.empty()) {
    print_rules(std::cout);
  }
  for (const std::string& name : options.names) {
    const Rule& rule = rule_called(name);
    if (&name != &options.names.front()) std::cout << "\n";
    print_rule(std::cout, rule, output_is_coloured());
  }
  return 0;
}

}  // namespace

Subcommand add_explain(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand("explain", "Tell the whole story of a rule of lint, or list all rules");
  const auto options = std::make_shared<ExplainOptions>();
  CLI::Option* const names =
      parser->add_option("RULE", options->names, "The rules; without one, all are listed")->option_text("...");
  parser->add_flag("--manual", options->manual, "Print all rules in Markdown")->excludes(names);
  set_help(*parser, "eclipse-int explain [RULE...] [--manual]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
