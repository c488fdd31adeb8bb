#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <utility>
#include <vector>

#include "manual/command_help.h"
#include "shell/command_runner.h"
#include "standalone_host/plugin.h"

namespace manual {

namespace {

const std::string pages = MANUAL_DIRECTORY;

/// A page as its author writes it, with plain hyphens.
std::string source_of(const std::string& page) {
  std::ostringstream content;
  content << std::ifstream(pages + "/" + page, std::ios::binary).rdbuf();
  return std::regex_replace(content.str(), std::regex("\\\\-"), "-");
}

/// The parts of the page with headings ".SS NAME", by their names.
std::map<std::string, std::string> subsections(const std::string& page) {
  std::map<std::string, std::string> parts;
  std::istringstream lines(page);
  std::string name;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(".SH ")) name.clear();
    if (line.starts_with(".SS ")) name = line.substr(4);
    if (!name.empty()) parts[name] += line + "\n";
  }
  return parts;
}

/// The options that have an entry of their own.
Names entries_in(const std::string& part) {
  Names names;
  const std::regex entry("\n\\.T[PQ]\n\\.[A-Z]+ (?:-[a-z] \", \" )?(--[a-z-]+)");
  for (std::sregex_iterator found(part.begin(), part.end(), entry), end; found != end; ++found) names.insert((*found)[1]);
  return names;
}

Names without_help(Names names) {
  names.erase("--help");
  return names;
}

TEST(ManualPage, HasAPartForEverySubcommandAndForNoOther) {
  Names parts;
  for (const auto& [name, part] : subsections(source_of("eclipse-int.1"))) parts.insert(name);
  EXPECT_EQ(parts, subcommands());
}

TEST(ManualPage, ShowsHowEverySubcommandIsCalled) {
  const std::string source = source_of("eclipse-int.1");
  const std::string synopsis =
      source.substr(source.find(".SH SYNOPSIS"), source.find(".SH DESCRIPTION") - source.find(".SH SYNOPSIS"));
  Names shown;
  const std::regex call("\\.B eclipse-int ([a-z]+[a-z-]*)\n");
  for (std::sregex_iterator found(synopsis.begin(), synopsis.end(), call), end; found != end; ++found)
    shown.insert((*found)[1]);
  EXPECT_EQ(shown, subcommands());
}

TEST(ManualPage, HasAnEntryForEveryOptionAndForNoOther) {
  const std::string source = source_of("eclipse-int.1");
  EXPECT_EQ(entries_in(source.substr(0, source.find(".SH SUBCOMMANDS"))), options_of(""));
  for (const auto& [subcommand, part] : subsections(source)) {
    EXPECT_EQ(entries_in(part), without_help(options_of(subcommand))) << subcommand;
  }
}

/// The words behind the heading "Exit status:", without what only gives them a form.
std::string exit_statuses_in(std::string text) {
  const std::size_t start = text.find("\nExit status:\n");
  if (start == std::string::npos) return "";
  text = text.substr(start + 1);
  const std::vector<std::pair<const char*, const char*>> forms = {{"\\(dq", "\""},
                                                                  {"\nExit status, with\n", "\nWith\n"},
                                                                  {"\"128 \\+ \" N\n", "128 + N\n"},
                                                                  {"(^|\n)\\.(TP|PP|RI|B)\\b", "$1"}};
  for (const auto& [form, plain] : forms) text = std::regex_replace(text, std::regex(form), plain);
  std::istringstream words(text);
  std::string plain;
  for (std::string word; words >> word;) plain += word + " ";
  return plain;
}

TEST(ManualPage, GivesTheExitStatusesOfEverySubcommandAsItsHelpDoes) {
  for (const auto& [subcommand, part] : subsections(source_of("eclipse-int.1"))) {
    const std::string in_help = exit_statuses_in(output_of(ECLIPSE_INT_COMMAND " " + subcommand + " --help"));
    EXPECT_GT(in_help.size(), 30U) << subcommand;
    EXPECT_EQ(exit_statuses_in(part), in_help) << subcommand;
  }
}

TEST(ManualPage, ExplainsEveryMarkOfAPlan) {
  const std::string part = subsections(source_of("eclipse-int.1"))["plan"];
  for (const char* const mark : {"+", "=", "~", "-", "!"})
    EXPECT_NE(part.find(std::string(".TP\n.B ") + mark + "\n"), std::string::npos) << mark;
}

TEST(ManualPage, NamesNoOptionThatDoesNotExist) {
  Names all = options_of("");
  for (const std::string& subcommand : subcommands()) all.merge(options_of(subcommand));
  for (const std::string page : {"eclipse-int.1", "eclipse-int-descriptor.5"}) {
    for (const std::string& option : options_in(source_of(page))) EXPECT_EQ(all.count(option), 1U) << option << " in " << page;
  }
}

TEST(ManualPage, NamesEveryAction) {
  const std::string part = subsections(source_of("eclipse-int.1"))["call"];
  for (const std::string_view action : eclipse_host::action_names) EXPECT_NE(part.find(action), std::string::npos) << action;
}

TEST(ManualPage, OfSessionFilesIsMadeFromTheirSchema) {
  std::ostringstream page;
  page << std::ifstream(pages + "/eclipse-int-session.5", std::ios::binary).rdbuf();
  EXPECT_EQ(page.str(), output_of("'" SESSION_MANUAL "'")) << "run scripts/session-manual > docs/man/eclipse-int-session.5";
}

TEST(ManualPage, IsFormattedWithoutAWarning) {
  if (eclipse_shell::run_in_shell("command -v groff").exit_code != 0) GTEST_SKIP() << "groff is not installed";
  for (const auto& entry : std::filesystem::directory_iterator(pages)) {
    EXPECT_EQ(output_of("groff -man -ww -Tascii '" + entry.path().string() + "' 2>&1 > /dev/null"), "");
  }
}

}  // namespace

}  // namespace manual
