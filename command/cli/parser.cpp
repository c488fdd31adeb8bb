#include "cli/parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "run/usage_error.h"

using namespace eclipse_base;
using namespace eclipse_run;

namespace eclipse_cli {

namespace {

/// The library's own usage line does not show the order of the arguments, and it says of an option which others it needs and
/// excludes, which its description says better.
class HelpText : public CLI::Formatter {
 public:
  explicit HelpText(std::string usage) : usage_(std::move(usage)) {
    column_width(32);
    label("Positionals", "Arguments");
  }

  std::string make_usage(const CLI::App*, std::string) const override { return "Usage: " + usage_ + "\n"; }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (!option->get_option_text().empty()) return " " + option->get_option_text();
    if (option->get_type_name().empty()) return "";
    const bool is_list = option->get_expected_max() == CLI::detail::expected_max_vector_size;
    return " " + option->get_type_name() + (is_list ? " ..." : "");
  }

 private:
  std::string usage_;
};

std::vector<std::string> subcommands_of(const CLI::App& program) {
  std::vector<std::string> names;
  for (const CLI::App* const subcommand : program.get_subcommands({})) names.push_back(subcommand->get_name());
  return names;
}

std::vector<std::string> options_of(const CLI::App& parser) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : parser.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::string with_suggestion(const std::string& message, const std::string& word, const std::vector<std::string>& known) {
  const auto similar = similar_word(word, known);
  return message + (similar ? "; " + did_you_mean(*similar) : "");
}

std::string about_unknown_subcommand(const CLI::App& program, const std::string& name) {
  return with_suggestion("unknown subcommand " + in_quotes(name), name, subcommands_of(program));
}

/// The parser of the subcommand that was given, or that of the program.
const CLI::App& given_parser(const CLI::App& program) {
  const auto given = program.get_subcommands();
  return given.empty() ? program : *given.front();
}

/// The message about the first argument that was not expected, with the subcommand or option that was probably meant.
std::string about_unexpected_argument(const CLI::App& program) {
  const CLI::App& parser = given_parser(program);
  const std::vector<std::string> unexpected = parser.remaining(true);
  const std::string argument = unexpected.empty() ? "" : unexpected.front();
  if (argument.starts_with('-')) {
    const std::string option = argument.substr(0, argument.find('='));
    return with_suggestion("unknown option " + in_quotes(option), option, options_of(parser));
  }
  if (&parser != &program) return "unexpected argument " + in_quotes(argument);
  return about_unknown_subcommand(program, argument);
}

/// What to give for an argument, as the help describes it: in one line, and within a sentence.
std::string within_sentence(std::string description) {
  std::replace(description.begin(), description.end(), '\n', ' ');
  return lower_case(description.substr(0, 1)) + description.substr(1);
}

/// The message about the first option or argument that is missing, or that is without what it needs or beside what it excludes.
std::string about_unmet_requirement(const CLI::App& parser) {
  for (const CLI::Option* const option : parser.get_options()) {
    const std::string name = option->get_name();
    if (option->get_required() && option->count() == 0)
      return name + ": missing; give " + within_sentence(option->get_description());
    if (option->count() == 0) continue;
    for (const CLI::Option* const other : option->get_needs())
      if (other->count() == 0) return name + " needs " + other->get_name() + "; add it";
    for (const CLI::Option* const other : option->get_excludes())
      if (other->count() != 0) return name + " cannot be combined with " + other->get_name() + "; leave one out";
  }
  return "";
}

std::string about_missing_value(const std::string& name, const std::string& value) {
  return name + ": " + value + " is missing; write it after " + name;
}

/// The message about an option without its value, or with more than it takes. The error names it, but has no other members.
std::string about_number_of_values(const CLI::App& program, const CLI::ParseError& error) {
  for (const CLI::App* const parser : {&program, &given_parser(program)}) {
    for (const CLI::Option* const option : parser->get_options()) {
      const std::string name = option->get_name();
      const std::string value = option->get_type_name();
      if (error.what() == std::string(CLI::ArgumentMismatch::TypedAtLeast(name, 1, value).what()))
        return about_missing_value(name, value);
      const auto most = static_cast<std::size_t>(std::max(option->get_items_expected_max(), 1));
      if (option->count() > most && option->get_multi_option_policy() == CLI::MultiOptionPolicy::Throw)
        return name + ": given more than once; leave one out";
    }
  }
  return error.what();
}

std::string about(const CLI::ParseError& error, const CLI::App& program) {
  switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
    case CLI::ExitCodes::ExtrasError:
      return about_unexpected_argument(program);
    case CLI::ExitCodes::RequiredError:
    case CLI::ExitCodes::RequiresError:
    case CLI::ExitCodes::ExcludesError:
      return about_unmet_requirement(given_parser(program));
    case CLI::ExitCodes::ArgumentMismatch:
      return about_number_of_values(program, error);
    default:
      return printable(error.what(), {.longest = no_limit});
  }
}

/// "a, b or c".
std::string alternatives(const std::vector<std::string>& values) {
  const std::vector<std::string> first(values.begin(), values.end() - 1);
  return joined(first) + " or " + values.back();
}

/// Whether a value is a number in this range. No comparison excludes "nan".
template <typename Number>
bool is_between(const std::string& value, Number lowest, Number highest) {
  return CLI::Range(lowest, highest)(value).empty() && !std::isnan(std::strtod(value.c_str(), nullptr));
}

template <typename Number>
CLI::Validator range(Number lowest, Number highest) {
  const auto error_in = [lowest, highest](const std::string& value) {
    std::ostringstream error;
    if (!is_between(value, lowest, highest))
      error << in_quotes(value) << " is not a number from " << lowest << " to " << highest;
    return error.str();
  };
  return {error_in, "", ""};
}

}  // namespace

const Option& Option::required() const {
  option_->required();
  return *this;
}

const Option& Option::type_name(const std::string& name) const {
  option_->type_name(name);
  return *this;
}

const Option& Option::option_text(const std::string& text) const {
  option_->option_text(text);
  return *this;
}

const Option& Option::one_value_each() const {
  option_->allow_extra_args(false);
  return *this;
}

const Option& Option::with_commas() const {
  option_->delimiter(',');
  return *this;
}

// The help would show the description of a check behind the kind of the value; the help text says it better.

const Option& Option::one_of(const std::vector<std::string>& values) const {
  const auto error_in = [values](const std::string& value) {
    const bool is_known = std::find(values.begin(), values.end(), value) != values.end();
    return is_known ? "" : in_quotes(value) + " is unknown; give " + alternatives(values);
  };
  option_->check(CLI::Validator(error_in, "", ""));
  return *this;
}

const Option& Option::between(int lowest, int highest) const {
  option_->check(range(lowest, highest));
  return *this;
}

const Option& Option::between(double lowest, double highest) const {
  option_->check(range(lowest, highest));
  return *this;
}

const Option& Option::checked_by(std::string (*error_in)(const std::string& value)) const {
  option_->check(CLI::Validator([error_in](const std::string& value) { return error_in(value); }, "", ""));
  return *this;
}

const Option& Option::excludes(const std::string& name) const {
  option_->excludes(name);
  return *this;
}

const Option& Option::needs(const std::string& name) const {
  option_->needs(name);
  return *this;
}

Parser Parser::add_subcommand(const std::string& name, const std::string& description) const {
  return Parser(parser_->add_subcommand(name, description));
}

Option Parser::add_option(const std::string& name, std::string& variable, const std::string& help) const {
  return Option(parser_->add_option(name, variable, help));
}

Option Parser::add_option(const std::string& name, std::optional<std::string>& variable, const std::string& help) const {
  return Option(parser_->add_option(name, variable, help));
}

Option Parser::add_option(const std::string& name, std::vector<std::string>& variable, const std::string& help) const {
  return Option(parser_->add_option(name, variable, help));
}

Option Parser::add_option(const std::string& name, double& variable, const std::string& help) const {
  return Option(parser_->add_option(name, variable, help));
}

Option Parser::add_option(const std::string& name, unsigned& variable, const std::string& help) const {
  return Option(parser_->add_option(name, variable, help));
}

Option Parser::add_flag(const std::string& name, bool& variable, const std::string& help) const {
  return Option(parser_->add_flag(name, variable, help));
}

void Parser::set_help(const std::string& usage, const std::string& examples, const std::string& exit_status) const {
  parser_->formatter(std::make_shared<HelpText>(usage));
  parser_->footer("Examples:\n" + examples + "\n" + exit_status);
}

bool Parser::was_given() const { return parser_->parsed(); }

CommandLine::CommandLine(const std::string& description) : program_(std::make_unique<CLI::App>(description, "eclipse-int")) {
  // Not more than one. That there is one is checked later: the library would say so of a misspelt one, too.
  program_->require_subcommand(0, 1);
}

CommandLine::~CommandLine() = default;

bool CommandLine::parse(int argc, const char* const* argv) {
  try {
    program_->parse(argc, argv);
    return true;
  } catch (const CLI::CallForHelp&) {
    std::cout << program_->help();
    return false;
  } catch (const CLI::ParseError& error) {
    throw UsageError(about(error, *program_));
  }
}

std::string CommandLine::help_of(const std::string& subcommand) {
  const auto is_meant = [&](const CLI::App* parser) { return parser->get_name() == subcommand; };
  const auto meant = std::as_const(*program_).get_subcommands(is_meant);
  if (meant.empty() && !subcommand.empty()) throw UsageError(about_unknown_subcommand(*program_, subcommand));
  program_->clear();  // or the library prints the help of the subcommand that was given, which is "help"
  return meant.empty() ? program_->help() : meant.front()->help();
}

}  // namespace eclipse_cli
