// Defining and parsing the command line. The header of the parsing library takes seconds to compile, so only the unit behind
// this header includes it.
#ifndef ECLIPSE_INT_CLI_PARSER_H
#define ECLIPSE_INT_CLI_PARSER_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace eclipse_cli {

/// Refers to an option or argument of a parser. Each function returns the object itself.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  const Option& required() const;
  /// What the help shows after the name: the kind of the value.
  const Option& type_name(const std::string& name) const;
  /// What the help shows after the name in place of all that the parser would say.
  const Option& option_text(const std::string& text) const;
  /// For a list: takes one value each time; the next word is an argument.
  const Option& one_value_each() const;
  /// For a list: a value is split at commas.
  const Option& with_commas() const;
  const Option& one_of(const std::vector<std::string>& values) const;
  const Option& between(int lowest, int highest) const;
  const Option& between(double lowest, double highest) const;
  /// Rejects the values for which `error_in` does not return an empty text.
  const Option& checked_by(std::string (*error_in)(const std::string& value)) const;
  // Both take the name of an option or argument that the parser already has.
  const Option& excludes(const std::string& name) const;
  const Option& needs(const std::string& name) const;

 private:
  CLI::Option* option_;
};

/// Refers to the parser of the program, or to that of a subcommand.
class Parser {
 public:
  explicit Parser(CLI::App* parser) : parser_(parser) {}

  Parser add_subcommand(const std::string& name, const std::string& description) const;

  // An option has a name that begins with "-", an argument one that does not. Parsing sets the variable, which must live so
  // long.
  Option add_option(const std::string& name, std::string& variable, const std::string& help) const;
  Option add_option(const std::string& name, std::optional<std::string>& variable, const std::string& help) const;
  Option add_option(const std::string& name, std::vector<std::string>& variable, const std::string& help) const;
  Option add_option(const std::string& name, double& variable, const std::string& help) const;
  Option add_option(const std::string& name, unsigned& variable, const std::string& help) const;
  Option add_flag(const std::string& name, bool& variable, const std::string& help) const;

  /// Gives the help its usage line, and examples and exit statuses at its end.
  void set_help(const std::string& usage, const std::string& examples, const std::string& exit_status) const;

  /// Whether the arguments name this subcommand.
  bool was_given() const;

 private:
  CLI::App* parser_;
};

/// The parser of the whole command line, which owns all others.
class CommandLine {
 public:
  explicit CommandLine(const std::string& description);
  ~CommandLine();

  Parser parser() const { return Parser(program_.get()); }

  /// Parses the arguments. Returns false if they ask for help, which it prints. Throws UsageError.
  bool parse(int argc, const char* const* argv);

  /// The help of a subcommand, or of the program if the name is empty. Throws UsageError if there is no such subcommand.
  std::string help_of(const std::string& subcommand);

 private:
  std::unique_ptr<CLI::App> program_;
};

}  // namespace eclipse_cli

#endif
