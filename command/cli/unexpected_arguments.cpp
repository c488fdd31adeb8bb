#include "cli/unexpected_arguments.h"

#include <CLI/CLI.hpp>
#include <vector>

#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_cli {

namespace {

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
  return message + (similar ? "; did you mean " + *similar + "?" : "");
}

}  // namespace

std::string about_unexpected_argument(const CLI::App& program) {
  const auto given = program.get_subcommands();
  const CLI::App& parser = given.empty() ? program : *given.front();
  const std::vector<std::string> unexpected = parser.remaining(true);
  const std::string argument = unexpected.empty() ? "" : unexpected.front();
  if (argument.starts_with('-')) {
    const std::string option = argument.substr(0, argument.find('='));
    return with_suggestion("unknown option " + printable(option), option, options_of(parser));
  }
  if (!given.empty()) return "unexpected argument " + in_quotes(argument);
  return about_unknown_subcommand(program, argument);
}

std::string about_unknown_subcommand(const CLI::App& program, const std::string& name) {
  return with_suggestion("unknown subcommand " + in_quotes(name), name, subcommands_of(program));
}

}  // namespace eclipse_cli
