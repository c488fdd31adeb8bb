
#include "lint/lint.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>

#include "base/file.h"
#include "base/file_error.h"
#include "base/file_replacement.h"
#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"
#include "base/unified_diff.h"
#include "cli/configuration_options.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "dry_run/component_directories.h"
#include "dry_run/descriptor_paths.h"
#include "eclipse_int/version.h"
#include "lint/fix.h"
#include "lint/report.h"
#include "lint/rule.h"
#include "run/session_options.h"
#include "run/session_source.h"
#include "run/session_variables.h"
#include "run/usage_error.h"
#include "standalone_host/session_file.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_lint;
using namespace eclipse_p2;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* lint_examples =
    "  eclipse-int lint tools/etc/eclipse/tools.txt\n"
    "      Check a single descriptor file.\n"
    "  eclipse-int lint tools\n"
    "      Check the component in this directory, with its repositories; if the directory has several components, check\n"
    "      each of them separately.\n"
    "  eclipse-int lint tools --diff\n"
    "      Show what --fix would change.\n"
    "  eclipse-int lint tools --fix\n"
    "      Apply the safe fixes to the descriptor files, and print the findings that remain.\n"
    "  eclipse-int lint install.json --set USER_DEFINED_ECLIPSE_PATH=/opt/ide/eclipse\n"
    "      Check a session as \"eclipse-int run\" would run it with this variable.\n"
    "  eclipse-int lint --select orders --disable order-as-dependency install.json\n"
    "      Check the rules of one group, except for one rule.\n"
    "  eclipse-int lint install.json --suppressions lint-suppressions.json\n"
    "      Suppress findings that you accept, each with a reason:\n"
    "      [{\"rule\": \"feature-pinned\", \"file\": \"tools.txt\", \"line\": 2, \"reason\": \"...\"}]\n"
    "  eclipse-int lint --format sarif install.json > findings.sarif\n"
    "      Write the findings for a code review tool.\n"
    "  git show :tools/etc/eclipse/tools.txt | eclipse-int lint - --stdin-name tools/etc/eclipse/tools.txt\n"
    "      Check what is about to be committed.\n"
    "  eclipse-int explain line-without-tab\n"
    "      Explain a rule.\n";

constexpr const char* lint_exit_status =
    "Exit status:\n"
    "  0  no shown finding is an error, or as severe as --fail-on says\n"
    "  1  at least one shown finding is; with --diff: at least one file would change\n"
    "  2  an error in an input or the arguments, or standard output cannot be written\n";

struct LintOptions {
  std::vector<std::string> inputs;
  std::string format = "text";
  std::string severity = "note";
  std::string fail_on = "error";
  std::vector<std::string> selected;
  std::vector<std::string> disabled;
  std::optional<std::string> suppressions;
  bool is_update = false;
  bool fixes = false;
  bool shows_diff = false;
  bool with_unsafe = false;
  std::string input_name = "-";
  ConfigurationOptions configuration;
  SessionOptions session;
};

std::set<std::string> checked_names(const std::string& option, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (rules_named(name).empty()) throw UsageError(option + ": " + unknown_rule_or_group(name));
  }
  return {names.begin(), names.end()};
}

constexpr std::string_view standard_input = "-";

void check_fix_options(const LintOptions& options) {
  const bool reads_input = std::find(options.inputs.begin(), options.inputs.end(), standard_input) != options.inputs.end();
  if (reads_input && (options.fixes || options.shows_diff)) {
    throw UsageError("--fix and --diff: not for standard input; give a file");
  }
  if (options.with_unsafe && !options.fixes && !options.shows_diff) {
    throw UsageError("--unsafe-fixes: only with --fix or --diff");
  }
  if (options.shows_diff && options.format != "text") throw UsageError("--diff: only with --format text");
}

Settings settings_from(const LintOptions& options) {
  Settings settings;
  settings.selected = checked_names("--select", options.selected);
  settings.disabled = checked_names("--disable", options.disabled);
  if (options.suppressions) settings.suppressions = read_suppressions(*options.suppressions);
  settings.configuration = configuration_choice(options.configuration);
  if (options.is_update) settings.replaces = eclipse_p2::Replaces::older;
  const SessionVariables variables(options.session.settings, options.session.variables);
  variables.check_mode();
  settings.add_variables = [variables](eclipse_host::Session& session) { variables.add_to(session); };
  return settings;
}

void print(const Findings& findings, const Errors& errors, const std::string& format) {
  if (format == "json") return print_json(std::cout, findings, errors);
  if (format == "sarif") return print_sarif(std::cout, findings, ECLIPSE_INT_VERSION, errors);
  if (format == "github") return print_github(std::cout, findings, errors);
  (format == "brief" ? print_brief : print_text)(std::cout, findings, output_is_coloured());
  print_summary(std::cout, findings);
}

/// For a person, since silence may also mean that nothing was looked at; other programs get nothing, as from a compiler.
void print_no_findings(std::size_t descriptor_files, const std::string& format) {
  if (!output_is_terminal() || (format != "text" && format != "brief")) return;
  std::cout << "No findings in " << eclipse_base::counted(descriptor_files, "descriptor file") << "\n";
}

/// A suppression that is no longer needed would hide the next finding of its rule.
void warn_of_unused(const Settings& settings, const Findings& findings) {
  for (const Suppression& entry : settings.suppressions) {
    const auto is_for = [&](const Finding& finding) { return applies(entry, finding); };
    if (!is_enabled(*find_rule(entry.rule), settings) || std::any_of(findings.begin(), findings.end(), is_for)) continue;
    print_message(eclipse_base::printable(entry.location) + ": note: this suppression matches no finding of " + entry.rule +
                  " in these inputs");
  }
}

/// The changed files as a diff, which a program gets as it is.
void print_diff(const std::vector<FixedFile>& files) {
  for (const FixedFile& file : files) {
    const std::string diff = eclipse_base::unified_diff(file.file.string(), file.before, file.after);
    std::cout << (output_is_coloured()
                      ? eclipse_base::printable(diff, {.tab = "\t", .line_feed = "\n", .longest = eclipse_base::no_limit})
                      : diff);
  }
}

/// Throws FileError when the file is not the one that was linted.
void write(const FixedFile& file) {
  constexpr const char* advice = "run the command again";
  if (eclipse_base::content_of(file.file, eclipse_base::largest::descriptor, advice) != file.before) {
    throw eclipse_base::FileError(file.file, std::string("was changed by another program meanwhile; ") + advice);
  }
  // A file in etc/eclipse would be a descriptor, complete or not.
  eclipse_base::FileReplacement replacement(file.file, eclipse_dry_run::directory_for_replacement(file.file));
  replacement.check_target();
  replacement.replace_target_with(file.after);
}

/// Writes those files that can be written, each whole. The errors of the others.
Errors write(const std::vector<FixedFile>& files) {
  Errors errors;
  std::size_t written = 0;
  std::size_t corrections = 0;
  for (const FixedFile& file : files) {
    try {
      write(file);
      ++written;
      corrections += file.corrections;
    } catch (const eclipse_base::FileError& error) {
      errors.push_back(error);
    }
  }
  if (written != 0) {
    print_message("fixed " + eclipse_base::counted(corrections, "finding") + " in " + eclipse_base::counted(written, "file"));
  }
  return errors;
}

/// Throws FileError when there is more than any file may contain.
std::string read_standard_input(const std::string& name) {
  std::string text;
  std::array<char, 65536> piece;
  while (text.size() <= eclipse_base::largest::descriptor && std::cin) {
    std::cin.read(piece.data(), piece.size());
    text.append(piece.data(), static_cast<std::size_t>(std::cin.gcount()));
  }
  eclipse_base::FileContent content = eclipse_base::limited_content(std::move(text), eclipse_base::largest::descriptor);
  if (!content.error.empty()) throw eclipse_base::FileError(name, content.error + "; give a descriptor or a session");
  return std::move(content.bytes);
}

/// All inputs, with the settings of a command line.
class InputLinter {
 public:
  InputLinter(const LintOptions& options, const Settings& settings, const eclipse_dry_run::PluginFunctions& library)
      : options_(options), settings_(settings), library_(library) {}

  Findings lint(const eclipse_dry_run::DescriptorFiles& files) {
    errors_.clear();
    count_ = 0;
    Findings findings;
    for (const std::string& input : options_.inputs) {
      try {
        const Findings more = lint_input(input, files);
        findings.insert(findings.end(), more.begin(), more.end());
      } catch (const eclipse_base::FileError& error) {
        for (const eclipse_base::FileError& each : error.each()) add(each);
      }
    }
    return findings;
  }

  /// The descriptor files that were read the last time.
  std::size_t count() const { return count_; }

  /// Of the inputs that could not be linted the last time.
  const Errors& errors() const { return errors_; }

 private:
  /// An error in the configuration of several inputs is one.
  void add(const eclipse_base::FileError& error) {
    const auto is_same = [&](const eclipse_base::FileError& each) { return std::string_view(each.what()) == error.what(); };
    if (std::none_of(errors_.begin(), errors_.end(), is_same)) errors_.push_back(error);
  }

  /// With files of which none has been read, so that one can tell whether there was any.
  Findings lint_input(const std::string& input, eclipse_dry_run::DescriptorFiles files) {
    if (input == standard_input) return lint_standard_input(files);
    const bool is_drafted = options_.session.eclipse || options_.session.removes;
    Findings findings = is_drafted ? eclipse_lint::lint_session(library_, sites_, states_, files,
                                                                session_document(input, options_.session), settings_)
                                   : eclipse_lint::lint(library_, sites_, states_, files, input, settings_);
    count_ += files.count();
    if (findings.empty() && files.count() == 0 && is_component_directory(input)) {
      throw eclipse_base::FileError(input, eclipse_dry_run::no_descriptor_file);
    }
    return findings;
  }

  Findings lint_standard_input(eclipse_dry_run::DescriptorFiles& files) {
    const std::string& name = options_.input_name;
    std::string text = read_standard_input(name);
    if (eclipse_host::is_session(name, text)) {
      const auto document = std::make_shared<const eclipse_base::JsonDocument>(name, std::move(text));
      Findings findings = eclipse_lint::lint_session(library_, sites_, states_, files, document, settings_);
      count_ += files.count();
      return findings;
    }
    files.set_unsaved(name, std::move(text));
    ++count_;
    return eclipse_lint::lint(library_, sites_, states_, files, name, settings_);
  }

  const LintOptions& options_;
  const Settings& settings_;
  const eclipse_dry_run::PluginFunctions& library_;
  Repositories sites_;
  eclipse_p2::ProfileStates states_;
  Errors errors_;
  std::size_t count_ = 0;
};

Findings at_least(Findings findings, const std::string& lowest_severity) {
  const Severity lowest = severity_named(lowest_severity).value();
  std::erase_if(findings, [&](const Finding& finding) { return finding.severity < lowest; });
  return findings;
}

int status_of(const Findings& findings, const std::string& lowest_severity) {
  const Severity wanted = severity_named(lowest_severity).value();
  const auto counts = [&](const Finding& finding) { return !finding.reason && finding.severity >= wanted; };
  return std::any_of(findings.begin(), findings.end(), counts) ? exit_failure : exit_success;
}

int lint_command(const LintOptions& options) {
  check_fix_options(options);
  const Settings settings = settings_from(options);
  const eclipse_host::Plugin plugin = load_plugin(options.session);
  const eclipse_dry_run::PluginFunctions library(plugin);
  InputLinter linter(options, settings, library);
  const auto lint_all = [&](eclipse_dry_run::DescriptorFiles& files) { return linter.lint(files); };
  FixResult result;
  if (options.fixes || options.shows_diff) {
    result = fix(lint_all, options.with_unsafe);
  } else {
    result.remaining = linter.lint({});
  }
  Errors errors = linter.errors();
  if (options.shows_diff) {
    print_diff(result.files);
  } else {
    const auto more = write(result.files);
    errors.insert(errors.end(), more.begin(), more.end());
    print(at_least(result.remaining, options.severity), errors, options.format);
    if (result.remaining.empty() && errors.empty()) print_no_findings(linter.count(), options.format);
  }
  if (!errors.empty()) {
    print_errors(eclipse_base::FileErrors(errors));
    return exit_trouble;
  }
  warn_of_unused(settings, result.remaining);
  if (options.shows_diff) return result.files.empty() ? exit_success : exit_failure;
  return status_of(at_least(result.remaining, options.severity), options.fail_on);
}

void add_report_options(const Parser& parser, LintOptions& options) {
  parser.add_option("--format", options.format, "Print the findings as text, brief, json, sarif or github\n[default: text]")
      .type_name("FORMAT")
      .one_of({"text", "brief", "json", "sarif", "github"});
  parser
      .add_option("--severity", options.severity,
                  "Show findings of this severity and higher: error, warning or\nnote [default: note]")
      .type_name("LEVEL")
      .one_of({"error", "warning", "note"});
  parser
      .add_option("--fail-on", options.fail_on,
                  "End with exit status 1 if a shown finding has this severity or a\n"
                  "higher one: error, warning or note [default: error]")
      .type_name("LEVEL")
      .one_of({"error", "warning", "note"});
}

void add_rule_options(const Parser& parser, LintOptions& options) {
  parser
      .add_option("--select", options.selected,
                  "Check only these rules and groups of rules, with commas between\nthem; may be repeated [default: all rules]")
      .type_name("RULE")
      .with_commas()
      .one_value_each();
  parser
      .add_option("--disable", options.disabled,
                  "Skip these rules and groups of rules, with commas between them;\nmay be repeated")
      .type_name("RULE")
      .with_commas()
      .one_value_each();
  parser
      .add_option("--suppressions", options.suppressions,
                  "Suppress findings: a JSON list of entries with \"rule\" and \"reason\",\nand optionally \"file\" and "
                  "\"line\"")
      .type_name("FILE");
}

void add_fix_options(const Parser& parser, LintOptions& options) {
  parser.add_flag("--fix", options.fixes, "Apply the safe fixes to descriptor files");
  parser.add_flag("--diff", options.shows_diff, "Show what --fix would change, and write nothing; not with --fix")
      .excludes("--fix");
  parser.add_flag("--unsafe-fixes", options.with_unsafe,
                  "With --fix or --diff: also apply the fixes whose result you should check");
}

}  // namespace

Subcommand add_lint(const Parser& program) {
  const Parser parser = program.add_subcommand(
      "lint", "Find mistakes in descriptor files, components and sessions that the plug-in ignores silently");
  const auto options = std::make_shared<LintOptions>();
  parser
      .add_option("INPUT", options->inputs, "Descriptor files, directories of components, session files; - for\nstandard input")
      .required()
      .option_text("...");
  add_report_options(parser, *options);
  add_rule_options(parser, *options);
  add_configuration_options(parser, options->configuration);
  parser.add_flag("--update", options->is_update, "Check sessions as \"run --update\" would run them");
  parser
      .add_option("--stdin-name", options->input_name,
                  "Treat standard input as a file with this path, in the output and for the\n"
                  "relative paths of a session [default: -]")
      .type_name("PATH");
  add_fix_options(parser, *options);
  add_directory_options(parser, options->session);
  add_input_options(parser, options->session);
  parser.set_help("eclipse-int lint INPUT... [OPTIONS]", lint_examples, lint_exit_status);
  return {parser, [options] { return lint_command(*options); }};
}

}  // namespace eclipse_cli
