// The completion in a real bash.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "manual/command_help.h"
#include "shell/command_runner.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace manual {

namespace {

/// What bash offers for the last of these words.
Names offered(const std::vector<std::string>& words) {
  std::string script = "source '" COMPLETION "'; COMP_WORDS=(eclipse-int";
  for (const std::string& word : words) script += " \"" + word + "\"";
  script += "); COMP_CWORD=" + std::to_string(words.size()) +
            "; _eclipse_int " ECLIPSE_INT_COMMAND "; printf \"%s\\\\n\" \"${COMPREPLY[@]}\"";
  // The words are in double quotes, the script is in single quotes.
  std::string quoted;
  for (const char byte : script) quoted += byte == '\'' ? "'\\''" : std::string(1, byte);
  std::istringstream lines(output_of("bash --norc -c '" + quoted + "'"));
  Names names;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) names.insert(line);
  }
  return names;
}

Names actions() { return {eclipse_host::action_names.begin(), eclipse_host::action_names.end()}; }

TEST(Completion, OffersEverySubcommandAndNoOther) {
  EXPECT_EQ(offered({""}), subcommands());
  EXPECT_EQ(offered({"pl"}), Names{"plan"});
}

TEST(Completion, OffersEveryOptionAndNoOther) {
  EXPECT_EQ(offered({"-"}), options_of(""));
  for (const std::string& subcommand : subcommands())
    EXPECT_EQ(offered({subcommand, "-"}), options_of(subcommand)) << subcommand;
}

TEST(Completion, OffersTheVariablesThatAHostSets) {
  Names of_host;
  std::ifstream readme(README);
  for (std::string line; std::getline(readme, line);) {
    const std::size_t end = line.find("` | host |");
    if (end != line.npos) of_host.insert(line.substr(3, end - 3) + "=");
  }
  EXPECT_EQ(offered({"run", "--set", ""}), of_host);
  Names read;
  for (const std::string_view name : eclipse_host::variables_read) read.insert(std::string(name) + "=");
  EXPECT_EQ(read, of_host);
}

TEST(Completion, OffersActionsRulesAndGroups) {
  const fake::TemporaryDirectory directory;
  EXPECT_EQ(offered({"call", ""}), actions());
  EXPECT_EQ(offered({"call", "find_eclipse_ide", "perform_"}), (Names{"perform_integration", "perform_unintegration"}));
  Names names;
  std::istringstream lines(output_of(ECLIPSE_INT_COMMAND " explain"));
  for (std::string name, rest; lines >> name && std::getline(lines, rest);) {
    if (name.ends_with(':')) name.pop_back();  // a group
    names.insert(name);
  }
  EXPECT_GT(names.size(), 50U);
  EXPECT_TRUE(names.contains("orders"));
  EXPECT_TRUE(names.contains("order-taken"));
  EXPECT_EQ(offered({"explain", ""}), names);
  EXPECT_EQ(offered({"lint", "--disable", ""}), names);
  EXPECT_EQ(offered({"lint", "--select", ""}), names);
}

TEST(Completion, OffersChecksOfAHost) {
  EXPECT_EQ(offered({"check-host", "--only", "get_dirname"}),
            (Names{"get_dirname", "get_dirname/all-but-last", "get_dirname/name-alone", "get_dirname/root"}));
  EXPECT_EQ(offered({"check-host", "--format", ""}), (Names{"text", "tap", "junit", "names"}));
}

TEST(Completion, OffersFiles) {
  const fake::TemporaryDirectory directory;
  fake::write_file("session.json", "");
  fake::write_file("descriptor.txt", "");
  fake::write_file("my directory/a.json", "");
  EXPECT_EQ(offered({"run", ""}), (Names{"session.json", "my directory"}));
  EXPECT_EQ(offered({"plan", "my directory/"}), Names{"my directory/a.json"});
  EXPECT_EQ(offered({"lint", ""}), (Names{"session.json", "descriptor.txt", "my directory"}));
  EXPECT_EQ(offered({"run", "x.json", "--variables", "s"}), Names{"session.json"});
  EXPECT_EQ(offered({"run", "x.json", "--log", "=", "d"}), Names{"descriptor.txt"});
}

TEST(Completion, OffersOnlyValuesThatAreAccepted) {
  const fake::TemporaryDirectory directory;
  fake::write_file("empty", "");
  const std::map<std::string, std::size_t> options = {{"--format", 5}, {"--severity", 3}, {"--fail-on", 3}};
  for (const auto& [option, count] : options) {
    const Names values = offered({"lint", option, ""});
    EXPECT_EQ(values.size(), count) << option;
    for (const std::string& value : values) {
      EXPECT_NE(eclipse_shell::run_in_shell(ECLIPSE_INT_COMMAND " lint empty " + option + " " + value).exit_code, 2) << value;
    }
  }
  EXPECT_EQ(offered({"lint", "--format", "=", "s"}), Names{"sarif"});
}

TEST(Completion, IsRegistered) {
  EXPECT_EQ(output_of("bash --norc -c 'source \"" COMPLETION "\"; complete -p eclipse-int'"),
            "complete -F _eclipse_int eclipse-int\n");
}

}  // namespace

}  // namespace manual
