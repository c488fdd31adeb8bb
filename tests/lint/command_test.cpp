// lint and explain as users have them.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/json_documents.h"
#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"

using fake::write_file;

namespace {

class LintCommand : public testing::Test {
 protected:
  LintCommand() {
    write_file("good.txt", "sites/alpha\torg.example.alpha.feature.group\n");
    write_file("warned.txt", "sites/alpha\torg.example.alpha\n");
    write_file("noted.txt", "sites/alpha\torg.example.alpha.feature.group\tx\n");
    write_file("bad.txt", "sites/alpha\torg.example.alpha.feature.group\nsites/beta org.example.beta.feature.group\n");
  }

  eclipse_shell::CommandResult eclipse_int(const std::string& arguments) const {
    auto result = eclipse_shell::run_in_shell("'" ECLIPSE_INT_COMMAND "' " + arguments);
    cli_test::keep_json_document(arguments, result.output);
    return result;
  }
  int status(const std::string& arguments) const { return eclipse_int(arguments).exit_code; }

  const fake::TemporaryDirectory directory;
};

TEST_F(LintCommand, IsSilentWhereThereIsNothingToSay) {
  const auto lint = eclipse_int("lint good.txt");
  EXPECT_EQ(lint.exit_code, 0);
  EXPECT_EQ(lint.output + lint.error_output, "");
}

TEST_F(LintCommand, PrintsLocationWhyAndFix) {
  const auto lint = eclipse_int("lint good.txt bad.txt");
  EXPECT_EQ(lint.exit_code, 1);
  EXPECT_EQ(lint.error_output, "");
  EXPECT_EQ(lint.output,
            "bad.txt:2:1: error: this line looks like data but has no tab [line-without-tab]\n"
            "  2 | sites/beta org.example.beta.feature.group\n"
            "    | ^~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n"
            "  why: Only tabs separate columns. The line has one column and is silently ignored.\n"
            "  fix: separate the repository and the feature with a tab\n"
            "1 error in 1 file; --fix corrects 1\n");
}

TEST_F(LintCommand, SeverityDecidesTheExitStatus) {
  EXPECT_EQ(status("lint warned.txt noted.txt"), 0);
  EXPECT_EQ(status("lint --fail-on error warned.txt"), 0);
  EXPECT_EQ(status("lint --fail-on warning warned.txt"), 1);
  EXPECT_EQ(status("lint --fail-on warning noted.txt"), 0);
  EXPECT_EQ(status("lint --fail-on note noted.txt"), 1);
  EXPECT_EQ(status("lint --fail-on note good.txt"), 0);
  EXPECT_EQ(status("lint --severity error --fail-on note warned.txt"), 0);
}

TEST_F(LintCommand, SeverityDecidesWhatIsShown) {
  const auto lines = [&](const std::string& severity) {
    return eclipse_int("lint --format brief warned.txt noted.txt bad.txt --severity " + severity).output;
  };
  const std::string error = "bad.txt:2:1: error: this line looks like data but has no tab [line-without-tab]\n";
  const std::string warning =
      "warned.txt:1:13: warning: \"org.example.alpha\" does not end in \".feature.group\" [feature-without-group-suffix]\n";
  const std::string note = "noted.txt:1:45: note: column 3, \"x\", is ignored [third-column-ignored]\n";
  EXPECT_EQ(lines("error"), error + "1 error in 1 file; --fix corrects 1\n");
  EXPECT_EQ(lines("warning"),
            warning + error + "1 error, 1 warning in 2 files; --fix corrects 1; --fix --unsafe-fixes corrects 2\n");
  EXPECT_EQ(lines("note"), warning + note + error +
                               "1 error, 1 warning, 1 note in 3 files; --fix corrects 1; --fix --unsafe-fixes corrects 2\n");
}

TEST_F(LintCommand, ReadsStandardInput) {
  EXPECT_EQ(eclipse_int("lint --format brief - < warned.txt").output,
            "-:1:13: warning: \"org.example.alpha\" does not end in \".feature.group\" [feature-without-group-suffix]\n1 "
            "warning in 1 file; --fix "
            "--unsafe-fixes corrects 1\n");
  EXPECT_EQ(eclipse_int("lint --format brief --severity error - bad.txt --stdin-name d/t < bad.txt").output,
            "d/t:2:1: error: this line looks like data but has no tab [line-without-tab]\n"
            "bad.txt:2:1: error: this line looks like data but has no tab [line-without-tab]\n"
            "2 errors in 2 files; --fix corrects 2\n");
  const auto fix = eclipse_int("lint --fix - < bad.txt");
  EXPECT_EQ(fix.exit_code, 2);
  EXPECT_NE(fix.error_output.find("not for standard input"), std::string::npos);
}

TEST_F(LintCommand, KnowsASessionByItsContent) {
  write_file("session.txt", "// ours\n/* and\ntheirs */ {\"mode\": \"install\", \"components\": [{}]}");
  const std::string error = ":3:46: components[0]: the key \"code\" is missing; ";
  EXPECT_NE(eclipse_int("lint session.txt").error_output.find("session.txt" + error), std::string::npos)
      << eclipse_int("lint session.txt").error_output;
  EXPECT_NE(eclipse_int("lint - --stdin-name d/s < session.txt").error_output.find("d/s" + error), std::string::npos);
  EXPECT_EQ(status("lint good.txt"), 0);
}

TEST_F(LintCommand, KnowsASessionByTheNameOfStandardInput) {
  write_file("session.json", R"({"mode": "install", "components": []})");
  EXPECT_NE(
      eclipse_int("lint - --stdin-name session.json < bad.txt").error_output.find("session.json:1:1: document: syntax error"),
      std::string::npos)
      << "not that of the file of this name";
}

TEST_F(LintCommand, ExplainsARuleOnce) {
  write_file("twice.txt", "sites/a org.example.a.feature.group\nsites/b org.example.b.feature.group\n");
  const std::string output = eclipse_int("lint twice.txt").output;
  const std::string_view why = "  why: Only tabs separate columns.";
  EXPECT_NE(output.find(why), output.npos);
  EXPECT_EQ(output.find(why), output.rfind(why));
  EXPECT_NE(output.rfind("  fix: "), output.find("  fix: "));
}

TEST_F(LintCommand, AnnotatesForGithub) {
  write_file("a,b:c%.txt", "sites/a\torg.example.a.feature.group/1.0\n");
  EXPECT_EQ(
      eclipse_int("lint --format github 'a,b:c%.txt'").output,
      "::warning file=a%2Cb%3Ac%25.txt,line=1,col=9,title=feature-pinned::the feature is pinned to version 1.0. Once another "
      "version has replaced this one, the director does not find this one to remove it, and removes nothing. Two versions of a "
      "feature cannot be installed together: the command for all features fails, and so does the retry for the second version. "
      "Fix: remove the version.\n");
  EXPECT_EQ(eclipse_int("lint --format github good.txt").output, "");
}

TEST_F(LintCommand, DirectoryWithoutDescriptorsIsAnError) {
  write_file("product/sites/alpha/content.xml", "<repository/>");
  const auto lint = eclipse_int("lint product good.txt");
  EXPECT_EQ(lint.exit_code, 2);
  EXPECT_EQ(lint.output, "");
  EXPECT_EQ(
      lint.error_output,
      "eclipse-int: product: has no descriptor file below etc/eclipse/; give the directory of a component that has one, or "
      "write one, for example with \"eclipse-int new\"\n");
}

TEST_F(LintCommand, RulesCanBeDisabledAndFindingsSuppressed) {
  EXPECT_EQ(status("lint --disable line-without-tab bad.txt"), 0);
  write_file("suppressions.json", R"([{"rule": "line-without-tab", "file": "bad.txt", "line": 2, "reason": "an old line"}])");
  const auto lint = eclipse_int("lint --suppressions suppressions.json bad.txt");
  EXPECT_EQ(lint.exit_code, 0);
  EXPECT_EQ(lint.output, "");
  const auto json = nlohmann::json::parse(eclipse_int("lint --format json --suppressions suppressions.json bad.txt").output);
  EXPECT_EQ(json["findings"][0]["suppression"], "an old line");
}

TEST_F(LintCommand, GroupsOfRulesCanBeSelectedOrDisabled) {
  write_file("both.txt", "sites/alpha\torg.example.alpha.feature.group\t\tx\nsites/beta org.example.beta.feature.group\n");
  const auto rules_broken = [&](const std::string& options) {
    std::string names;
    const auto document = nlohmann::json::parse(eclipse_int("lint --format json both.txt " + options).output);
    for (const auto& finding : document["findings"]) {
      names += finding["group"].get<std::string>() + "/" + finding["rule"].get<std::string>() + " ";
    }
    return names;
  };
  EXPECT_EQ(rules_broken(""), "orders/order-not-a-number lines/line-without-tab ");
  EXPECT_EQ(rules_broken("--select orders"), "orders/order-not-a-number ");
  EXPECT_EQ(rules_broken("--select line-without-tab"), "lines/line-without-tab ");
  EXPECT_EQ(rules_broken("--select orders --select lines --disable order-not-a-number"), "lines/line-without-tab ");
  EXPECT_EQ(rules_broken("--disable orders"), "lines/line-without-tab ");
  EXPECT_EQ(rules_broken("--select orders,lines --disable trailing-tab,order-not-a-number"), "lines/line-without-tab ");
  EXPECT_EQ(eclipse_int("lint both.txt --select order").error_output,
            "eclipse-int: --select: there is no rule or group \"order\"; did you mean \"orders\"?\n"
            "Run with --help for more information.\n");
}

TEST_F(LintCommand, ChecksTheSessionThatARunWithTheSameVariablesPerforms) {
  write_file("session.json", R"({"mode": "install", "variables": {"ECLIPSE_INTEGRATION_CHOICE": "none"}, "components": []})");
  write_file("internal.json", R"({"ECLIPSE_INTEGRATION_CHOICE": "Internal", "ECLIPSE_BIN": "ide/eclipse"})");
  const auto summary = [&](const std::string& options) {
    std::string text;
    const auto document = nlohmann::json::parse(eclipse_int("lint --format json session.json " + options).output);
    for (const auto& finding : document["findings"]) {
      text += finding["file"].get<std::string>() + ":" + std::to_string(finding["line"].get<int>()) + " " +
              finding["rule"].get<std::string>() + "\n";
    }
    return text;
  };
  EXPECT_EQ(summary(""), "");
  EXPECT_EQ(summary("--set ECLIPSE_INTEGRATION_CHOICE=User --set ECLIPSE_INTEGRATION_CHOICE=Internal"),
            "session.json:0 choice-unknown\n");
  EXPECT_EQ(summary("--variables internal.json"), "session.json:0 executable-name-unmatched\n");
  EXPECT_EQ(summary("--variables internal.json --set ECLIPSE_BIN=eclipse"), "");
  EXPECT_EQ(summary("--set ECLIPSE_INTEGRATION_CHOICE=none"), "");
}

TEST_F(LintCommand, VariablesHaveTheErrorsAndNotesOfARun) {
  write_file("session.json", R"({"mode": "install", "variables": {"ECLIPSE_INTEGRATION_CHOICE": "none"}, "components": []})");
  write_file("mode.json", R"({"KORU_MODE": "uninstall"})");
  for (const std::string options : {"--set KORU_MODE=repair", "--set novalue", "--variables missing.json",
                                    "--variables good.txt", "--variables mode.json"}) {
    const auto lint = eclipse_int("lint session.json " + options);
    const auto plan = eclipse_int("plan session.json " + options);
    EXPECT_EQ(lint.exit_code, plan.exit_code) << options;
    EXPECT_EQ(lint.error_output, plan.error_output) << options;
    EXPECT_NE(lint.error_output, "") << options;
  }
}

TEST_F(LintCommand, SuppressionsThatSuppressNothingAreReported) {
  write_file("suppressions.json",
             "[{\"rule\": \"line-without-tab\", \"file\": \"bad.txt\", \"reason\": \"an old line\"},\n"
             "{\"rule\": \"line-without-tab\", \"file\": \"good.txt\", \"reason\": \"fixed by now\"}]\n");
  const auto lint = eclipse_int("lint --suppressions suppressions.json good.txt bad.txt");
  EXPECT_EQ(lint.exit_code, 0);
  EXPECT_EQ(lint.output, "");
  EXPECT_EQ(
      lint.error_output,
      "eclipse-int: suppressions.json:2: note: this suppression matches no finding of line-without-tab in these inputs\n");
  EXPECT_EQ(eclipse_int("lint --suppressions suppressions.json --disable line-without-tab good.txt").error_output, "");
  // What could not be read may have what is suppressed.
  EXPECT_EQ(eclipse_int("lint --suppressions suppressions.json missing.txt").error_output.find("note:"), std::string::npos);
}

TEST_F(LintCommand, DirectoryOfComponentsIsCheckedComponentByComponent) {
  for (const std::string component : {"product/one", "product/two"}) {
    write_file(component + "/etc/eclipse/t", "site\torg.example.alpha.feature.group\n");
    write_file(component + "/site/content.xml",
               "<repository><units><unit id='org.example.alpha.feature.group' version='1.0.0'/></units></repository>");
  }
  const auto lint = eclipse_int("lint --fail-on note --disable repository-not-examined product product/one/etc/eclipse");
  EXPECT_EQ(lint.exit_code, 0);
  EXPECT_EQ(lint.output + lint.error_output, "");
}

TEST_F(LintCommand, OutputThatCannotBeWrittenIsAnError) {
  for (const std::string arguments :
       {"lint bad.txt", "lint warned.txt", "lint --format json good.txt", "lint --format sarif good.txt",
        "lint --format json bad.txt", "lint --format sarif bad.txt", "explain", "explain line-without-tab",
        "explain --manual"}) {
    const auto command = eclipse_int(arguments + " > /dev/full");
    EXPECT_NE(command.exit_code, 0) << arguments;
    EXPECT_EQ(command.error_output.substr(0, 48), "eclipse-int: standard output cannot be written; ") << arguments;
  }
}

TEST_F(LintCommand, FormatsAreOfTheSameFindings) {
  const auto json = nlohmann::json::parse(eclipse_int("lint --format json bad.txt warned.txt").output);
  const auto sarif = nlohmann::json::parse(eclipse_int("lint --format sarif bad.txt warned.txt").output);
  ASSERT_EQ(json["findings"].size(), 2U);
  const auto& results = sarif["runs"][0]["results"];
  for (const std::size_t i : {0U, 1U}) EXPECT_EQ(results[i]["ruleId"], json["findings"][i]["rule"]);
  EXPECT_EQ(nlohmann::json::parse(eclipse_int("lint --format json good.txt").output)["findings"].size(), 0U);
}

TEST_F(LintCommand, ErrorsInOneInputDoNotKeepTheOthersFromBeingChecked) {
  const auto lint = eclipse_int("lint missing.txt bad.txt");
  EXPECT_EQ(lint.exit_code, 2);
  EXPECT_EQ(lint.error_output,
            "eclipse-int: missing.txt: does not exist; give a descriptor file, a directory of components or a session file "
            "(.json)\n");
  EXPECT_NE(lint.output.find("[line-without-tab]"), std::string::npos);
  write_file("session.json", "{\"mode\": \"instal\", \"components\": []}");
  EXPECT_EQ(eclipse_int("lint session.json").error_output,
            "eclipse-int: session.json:1:10: mode: unknown mode \"instal\"; write \"install\", \"modify\" or \"uninstall\"\n");
}

TEST_F(LintCommand, ErrorsInArgumentsAreStatus2) {
  for (const std::string arguments :
       {"lint", "lint --format xml good.txt", "lint --severity fatal good.txt", "lint --suppressions no.json good.txt",
        "lint --disable no-such-rule good.txt", "lint --select no-such-rule good.txt", "lint --set x good.txt",
        "lint --plugin good.txt good.txt", "explain no-such-rule"}) {
    const auto command = eclipse_int(arguments);
    EXPECT_EQ(command.exit_code, 2) << arguments;
    EXPECT_EQ(command.output, "") << arguments;
    EXPECT_NE(command.error_output, "") << arguments;
  }
}

/// The output of a command that is run on a terminal.
std::string on_terminal(const std::string& command) {
  write_file("terminal.py", "import pty, sys\npty.spawn(['/bin/sh', '-c', sys.argv[1]])\n");
  return eclipse_shell::run_in_shell("/usr/bin/python3 terminal.py \"" + command + "\"").output;
}

TEST_F(LintCommand, IsColouredOnATerminalOnly) {
  EXPECT_EQ(eclipse_int("lint bad.txt").output.find('\x1B'), std::string::npos);
  EXPECT_NE(on_terminal("unset NO_COLOR; " ECLIPSE_INT_COMMAND " lint bad.txt").find("\x1B[1;31merror:\x1B[0m"),
            std::string::npos);
  const std::string plain = on_terminal("NO_COLOR=1 " ECLIPSE_INT_COMMAND " lint bad.txt");
  EXPECT_EQ(plain.find('\x1B'), std::string::npos);
  EXPECT_NE(plain.find("[line-without-tab]"), std::string::npos);
}

TEST_F(LintCommand, SaysOnATerminalThatThereIsNothing) {
  fake::write_file("one.txt", "sites/alpha\torg.example.alpha.feature.group\n");
  EXPECT_EQ(on_terminal(ECLIPSE_INT_COMMAND " lint one.txt --format brief"), "No findings in 1 descriptor file\r\n");
  EXPECT_EQ(on_terminal(ECLIPSE_INT_COMMAND " lint one.txt --format github"), "");
  EXPECT_EQ(on_terminal("cat one.txt | " ECLIPSE_INT_COMMAND " lint -"), "No findings in 1 descriptor file\r\n");
}

TEST_F(LintCommand, ExplainsRules) {
  const auto one = eclipse_int("explain line-without-tab");
  EXPECT_EQ(one.exit_code, 0);
  EXPECT_EQ(one.output.substr(0, one.output.find('\n')),
            "line-without-tab (error, lines): a data line separates its columns with spaces, commas or semicolons instead of "
            "tabs");
  EXPECT_EQ(eclipse_int("explain line-without-tabs").error_output,
            "eclipse-int: RULE: there is no rule or group \"line-without-tabs\"; did you mean \"line-without-tab\"?\n"
            "Run with --help for more information.\n");
}

TEST_F(LintCommand, ListsRulesByGroup) {
  const std::string all = eclipse_int("explain").output;
  const std::string orders = eclipse_int("explain orders").output;
  EXPECT_EQ(orders.substr(0, orders.find('\n')), "orders: Orders (column 4)");
  EXPECT_NE(orders.find("\n  order-taken "), orders.npos);
  EXPECT_EQ(orders.find("line-without-tab"), orders.npos);
  EXPECT_NE(all.find("\n\n" + orders + "\n"), all.npos);
  EXPECT_NE(all.find("\n  line-without-tab "), all.npos);
  EXPECT_EQ(eclipse_int("explain orders removal").output, orders + "\n" + eclipse_int("explain removal").output);
}

TEST_F(LintCommand, ManualIsUpToDate) {
  std::ostringstream manual;
  manual << std::ifstream(LINT_RULES_MANUAL).rdbuf();
  EXPECT_EQ(manual.str(), eclipse_int("explain --manual").output)
      << "generate it again: eclipse-int explain --manual > docs/lint-rules.md";
}

}  // namespace
