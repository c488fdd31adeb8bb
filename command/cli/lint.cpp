#include "lint/lint.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>

#include "base/file_error.h"
#include "cli/session_options.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "lint/report.h"
#include "standalone_host/installation.h"

using namespace eclipse_p2;

using namespace eclipse_lint;

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int lint tools/etc/eclipse/tools.txt\n"
    "      Check a descriptor file by itself.\n"
    "  eclipse-int lint tools\n"
    "      Check a component in its directory, and look into the update sites below it. In a directory of components,\n"
    "      check each of them by itself.\n"
    "  eclipse-int lint install.json --overrides lint-overrides.json\n"
    "      Check a whole session, and set aside what is right as it is, each with its reason:\n"
    "      [{\"rule\": \"feature-pinned\", \"file\": \"tools.txt\", \"line\": 2, \"reason\": \"...\"}]\n"
    "  eclipse-int lint --format sarif install.json > findings.sarif\n"
    "      Leave the findings to a program.\n"
    "  eclipse-int explain line-without-tab\n"
    "      Read the whole story of a rule.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  no finding of the severity asked for, or a higher one\n"
    "  1  at least one\n"
    "  2  an input or the arguments are at fault, or standard output cannot be written\n";

struct LintOptions {
  std::vector<std::string> inputs;
  std::string format = "text";
  std::string severity = "error";
  std::vector<std::string> disabled;
  std::optional<std::string> overrides;
  std::optional<std::string> plugin;
};

Settings settings_from(const LintOptions& options) {
  Settings settings;
  for (const std::string& name : options.disabled) {
    if (find_rule(name) == nullptr) throw CLI::ValidationError("--disable", no_rule_called(name));
    settings.disabled.insert(name);
  }
  if (options.overrides) settings.overrides = read_overrides(*options.overrides);
  return settings;
}

void print(const Findings& findings, const std::string& format) {
  if (format == "json") return print_json(std::cout, findings);
  if (format == "sarif") return print_sarif(std::cout, findings, std::string(eclipse_host::version));
  print_text(std::cout, findings, output_is_coloured());
}

/// Overrides outlive what they were written for, and then hide the next finding of their rule.
void mention_unused(const Settings& settings, const Findings& findings) {
  for (const Override& entry : settings.overrides) {
    const auto is_for = [&](const Finding& finding) { return applies(entry, finding); };
    if (settings.disabled.count(entry.rule) != 0 || std::any_of(findings.begin(), findings.end(), is_for)) continue;
    print_message(entry.location + ": note: no finding of " + entry.rule + " in these inputs is set aside by this override");
  }
}

int perform(const LintOptions& options) {
  const Settings settings = settings_from(options);
  const auto plugin = options.plugin ? eclipse_host::Plugin(*options.plugin) : eclipse_host::Plugin::beside_this_program();
  const eclipse_dry_run::Library library(plugin);
  Sites sites;
  Findings findings;
  int status = 0;
  for (const std::string& input : options.inputs) {
    try {
      const Findings more = lint(library, sites, input, settings);
      findings.insert(findings.end(), more.begin(), more.end());
    } catch (const eclipse_base::FileError& fault) {
      print_message(fault.what());
      status = 2;
    }
  }
  print(findings, options.format);
  if (status == 0) mention_unused(settings, findings);
  const Severity wanted = severity_called(options.severity).value();
  const auto counts = [&](const Finding& finding) { return !finding.reason && finding.severity >= wanted; };
  if (status == 0 && std::any_of(findings.begin(), findings.end(), counts)) status = 1;
  return status;
}

}  // namespace

Subcommand add_lint(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand(
      "lint", "Find mistakes in descriptor files, components and sessions, which the plug-in passes over in silence");
  const auto options = std::make_shared<LintOptions>();
  parser->add_option("INPUT", options->inputs, "Descriptor files, directories of components, session files (.json)")
      ->required()
      ->option_text("...");
  parser->add_option("--format", options->format, "How to print the findings: text, json or sarif; text without it")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "json", "sarif"}).description(""));
  parser
      ->add_option("--severity", options->severity,
                   "The lowest severity that counts for the exit status: error, warning\nor note; error without it")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"error", "warning", "note"}).description(""));
  parser->add_option("--disable", options->disabled, "Leave a rule out; may be given many times")
      ->type_name("RULE")
      ->allow_extra_args(false);
  parser
      ->add_option("--overrides", options->overrides,
                   "Set findings aside: a JSON list in which each entry has \"rule\" and \"reason\",\nand may have \"file\" "
                   "and \"line\"")
      ->type_name("FILE");
  parser->add_option("--plugin", options->plugin, "Load this plug-in; otherwise the one that came with this command")
      ->type_name("LIBRARY");
  set_help(*parser, "eclipse-int lint INPUT... [OPTIONS]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
