#include "manual/command_help.h"

#include <gtest/gtest.h>

#include <regex>

#include "shell/command_runner.h"

namespace manual {

namespace {

/// The part of a help text below a heading, up to the next empty line.
std::string part_of(const std::string& help, const std::string& heading) {
  const std::size_t start = help.find("\n" + heading + ":\n");
  EXPECT_NE(start, std::string::npos) << heading << " is missing in\n" << help;
  if (start == std::string::npos) return "";
  return help.substr(start, help.find("\n\n", start) - start);
}

/// What the first group of a pattern matches at the beginnings of lines.
Names heads_in(const std::string& text, const std::string& pattern) {
  Names names;
  const std::regex head("\n  " + pattern);
  for (std::sregex_iterator found(text.begin(), text.end(), head), end; found != end; ++found) names.insert((*found)[1]);
  return names;
}

}  // namespace

std::string output_of(const std::string& command) {
  const auto result = eclipse_shell::run_in_shell(command);
  EXPECT_EQ(result.exit_code, 0) << command << "\n" << result.output << result.error_output;
  return result.output;
}

Names subcommands() { return heads_in(part_of(output_of(ECLIPSE_INT_COMMAND " --help"), "Subcommands"), "([a-z-]+) "); }

Names options_of(const std::string& subcommand) {
  return heads_in(part_of(output_of(ECLIPSE_INT_COMMAND " " + subcommand + " --help"), "Options"), "(?:-[a-z],)?(--[a-z-]+)");
}

Names options_in(const std::string& text) {
  Names names;
  const std::regex option("--[a-z][a-z-]*");
  for (std::sregex_iterator found(text.begin(), text.end(), option), end; found != end; ++found) names.insert(found->str());
  return names;
}

}  // namespace manual
