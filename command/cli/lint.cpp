#include "lint/lint.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <iostream>
#include <memory>

#include "base/file_error.h"
#include "base/printable.h"
#include "cli/session_options.h"
#include "cli/session_source.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/usage_error.h"
#include "eclipse_int/version.h"
#include "lint/report.h"

using namespace eclipse_lint;
using namespace eclipse_p2;

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int lint tools/etc/eclipse/tools.txt\n"
    "      Check a single descriptor file.\n"
    "  eclipse-int lint tools\n"
    "      Check a component in its directory, with the update sites in it. In a directory of components, check each of\n"
    "      them separately.\n"
    "  eclipse-int lint install.json --set USER_DEFINED_ECLIPSE_PATH=/opt/ide/eclipse\n"
    "      Check a session as it would be run with these variables.\n"
    "  eclipse-int lint --select orders --disable order-as-dependency install.json\n"
    "      Check the rules of one group, except for one rule.\n"
    "  eclipse-int lint install.json --overrides lint-overrides.json\n"
    "      Suppress acceptable findings, each with a reason:\n"
    "      [{\"rule\": \"feature-pinned\", \"file\": \"tools.txt\", \"line\": 2, \"reason\": \"...\"}]\n"
    "  eclipse-int lint --format sarif install.json > findings.sarif\n"
    "      Write the findings for another program.\n"
    "  eclipse-int explain line-without-tab\n"
    "      Explain a rule.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  no finding of the given severity or higher\n"
    "  1  at least one such finding\n"
    "  2  an input or the arguments are invalid, or standard output cannot be written\n";

struct LintOptions {
  std::vector<std::string> inputs;
  std::string format = "text";
  std::string severity = "error";
  std::vector<std::string> selected;
  std::vector<std::string> disabled;
  std::optional<std::string> overrides;
  SessionOptions session;
};

std::set<std::string> checked_names(const std::string& option, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (rules_named(name).empty()) throw UsageError(option + ": " + unknown_rule_or_group(name));
  }
  return {names.begin(), names.end()};
}

Settings settings_from(const LintOptions& options) {
  Settings settings;
  settings.selected = checked_names("--select", options.selected);
  settings.disabled = checked_names("--disable", options.disabled);
  if (options.overrides) settings.overrides = read_overrides(*options.overrides);
  const SessionVariables variables(options.session.settings, options.session.variables);
  settings.add_variables = [variables](eclipse_host::Session& session) {
    variables.add_to(session);
    check_mode(session);
  };
  return settings;
}

void print(const Findings& findings, const std::string& format) {
  if (format == "json") return print_json(std::cout, findings);
  if (format == "sarif") return print_sarif(std::cout, findings, ECLIPSE_INT_VERSION);
  print_text(std::cout, findings, output_is_coloured());
}

/// An override that is no longer needed would hide the next finding of its rule.
void warn_of_unused(const Settings& settings, const Findings& findings) {
  for (const Override& entry : settings.overrides) {
    const auto is_for = [&](const Finding& finding) { return applies(entry, finding); };
    if (!is_enabled(*find_rule(entry.rule), settings) || std::any_of(findings.begin(), findings.end(), is_for)) continue;
    print_message(eclipse_base::printable(entry.location) + ": note: this override suppresses no finding of " + entry.rule +
                  " in these inputs");
  }
}

/// What is found in a drafted session itself is about the directory as a whole.
Findings lint_drafted_session(const std::string& input, const eclipse_dry_run::PluginFunctions& library, Repositories& sites,
                              const Settings& settings, const SessionOptions& options) {
  Findings findings = eclipse_lint::lint_session(library, sites, session_document(input, options), settings);
  for (Finding& finding : findings) {
    if (finding.location.file == input) finding.location = {input};
  }
  return findings;
}

int perform(const LintOptions& options) {
  const Settings settings = settings_from(options);
  const eclipse_host::Plugin plugin = load_plugin(options.session);
  const eclipse_dry_run::PluginFunctions library(plugin);
  Repositories sites;
  Findings findings;
  int status = 0;
  for (const std::string& input : options.inputs) {
    try {
      const bool is_drafted = options.session.eclipse || options.session.removes;
      const Findings more = is_drafted ? lint_drafted_session(input, library, sites, settings, options.session)
                                       : lint(library, sites, input, settings);
      findings.insert(findings.end(), more.begin(), more.end());
    } catch (const eclipse_base::FileError& error) {
      print_message(error.what());
      status = 2;
    }
  }
  print(findings, options.format);
  if (status == 0) warn_of_unused(settings, findings);
  const Severity wanted = severity_named(options.severity).value();
  const auto counts = [&](const Finding& finding) { return !finding.reason && finding.severity >= wanted; };
  if (status == 0 && std::any_of(findings.begin(), findings.end(), counts)) status = 1;
  return status;
}

}  // namespace

Subcommand add_lint(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand(
      "lint", "Find mistakes in descriptor files, components and sessions that the plug-in ignores silently");
  const auto options = std::make_shared<LintOptions>();
  parser->add_option("INPUT", options->inputs, "Descriptor files, directories of components, session files (.json)")
      ->required()
      ->option_text("...");
  parser->add_option("--format", options->format, "Output format: text, json or sarif [text]")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "json", "sarif"}).description(""));
  parser
      ->add_option("--severity", options->severity,
                   "Lowest severity that makes the exit status 1: error, warning\nor note [error]")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"error", "warning", "note"}).description(""));
  parser->add_option("--select", options->selected, "Check only this rule or group of rules; may be repeated [all rules]")
      ->type_name("RULE")
      ->allow_extra_args(false);
  parser->add_option("--disable", options->disabled, "Skip this rule or group of rules; may be repeated")
      ->type_name("RULE")
      ->allow_extra_args(false);
  parser
      ->add_option("--overrides", options->overrides,
                   "Suppress findings: a JSON list of entries with \"rule\" and \"reason\",\nand optionally \"file\" and "
                   "\"line\"")
      ->type_name("FILE");
  add_directory_options(*parser, options->session);
  add_input_options(*parser, options->session, "Read session variables from FILE; the session file overrides them");
  set_help(*parser, "eclipse-int lint INPUT... [OPTIONS]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
