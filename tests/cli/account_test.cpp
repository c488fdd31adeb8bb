#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <regex>

#include "cli/child_command.h"

namespace cli_test {

namespace {

class RunReport : public ChildCommand {};

const std::string checks =
    "Action eclipse_integration_required\n"
    "Action find_eclipse_ide\n"
    "Action verify_eclipse_version\n"
    "Action define_eclipse_path\n";

std::string header(const std::string& mode, const std::string& component) {
  return "Session session.json\n"
         "  Mode: " +
         mode +
         "\n"
         "  Eclipse: user (DIRECTORY/eclipse/eclipse)\n"
         "  Component tools: " +
         component + "\n\n";
}

std::string command(const std::string& arguments) { return "  Command: DIRECTORY/eclipse/eclipse " + arguments + " 2>&1\n"; }

/// The changes of a run that used the user's Eclipse.
std::string changes_before_eclipse_variables() {
  return "\nChanged variables:\n"
         "  CASHED_ECLIPSE_PATH = DIRECTORY/eclipse/eclipse\n"
         "  ECLIPSE_IDE = no\n"
         "  ECLIPSE_IDE_ENABLED = no\n"
         "  ECLIPSE_INTEGRATION_REQUIRED = yes\n"
         "  ECLIPSE_PATH = DIRECTORY/eclipse\n"
         "  ECLIPSE_VERSION = \n";
}

const std::string changes = changes_before_eclipse_variables() +
                            "  USER_DEFINED_ECLIPSE_PATH_CORRECT = yes\n"
                            "  USER_DEFINED_ECLIPSE_PATH_EMPTY = no\n";

TEST_F(RunReport, ShowsAnInstallation) {
  write_session("install");
  script(1, "echo 'Installing one 1.0.0.'; echo; printf 'no line end' >&2");
  EXPECT_EQ(eclipse_int("run session.json"),
            (Outcome{0,
                     header("install", "not installed, selected to be installed") + checks + "Action perform_integration\n" +
                         command(install_arguments("one,two")) +
                         "    Installing one 1.0.0.\n"
                         "\n"
                         "    no line end\n"
                         "  Succeeded after N s\n"
                         "\n"
                         "Done\n"
                         "  The director reports success for installing these features into DIRECTORY/eclipse:\n"
                         "    one\n"
                         "    two\n" +
                         changes,
                     ""}));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(RunReport, ShowsWhichFeaturesFailedWhyAndTheInstallersSummary) {
  write_session("install", {{"QN_SCRIPTS_COMPLETE_DESC", "Installed."}});
  script(1, "echo 'Installation failed.'; echo 'no such unit'; exit 13");
  script(2, "echo 'Installation failed.'; echo 'one is not there'; echo 'really'; exit 13");
  EXPECT_EQ(eclipse_int("run session.json"),
            (Outcome{1,
                     header("install", "not installed, selected to be installed") + checks + "Action perform_integration\n" +
                         command(install_arguments("one,two")) +
                         "    Installation failed.\n"
                         "  Failed with exit code 13 after N s\n" +
                         command(install_arguments("one")) +
                         "    Installation failed.\n"
                         "  Failed with exit code 13 after N s\n" +
                         command(install_arguments("two")) + "  Succeeded after N s\n" +
                         "\n"
                         "Failed\n"
                         "  Why: one is not there\n"
                         "    really\n"
                         "  Installing all features at once failed, so each was tried separately.\n"
                         "  The director reports success for installing these features into DIRECTORY/eclipse:\n"
                         "    two\n"
                         "  The director failed to install these features into DIRECTORY/eclipse:\n"
                         "    one\n" +
                         changes_before_eclipse_variables() +
                         "  QN_SCRIPTS_FAILED = yes\n"
                         "  USER_DEFINED_ECLIPSE_PATH_CORRECT = yes\n"
                         "  USER_DEFINED_ECLIPSE_PATH_EMPTY = no\n"
                         "\n"
                         "The installer's summary (QN_SCRIPTS_COMPLETE_DESC):\n"
                         "  Installed.\n"
                         "  These failed:\n"
                         "  (the output of the failed commands)\n",
                     ""}));
}

TEST_F(RunReport, ExplainsTheSameFailureOnce) {
  write_session("install");
  const std::string log = "mkdir -p configuration; printf '!SESSION\\n!MESSAGE no site\\n' > configuration/$$.log;";
  for (const int start : {1, 2, 3}) script(start, "cd \"$here\"; " + log + " exit 13");
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 1);
  const std::size_t end = outcome.output.find("\n\nFailed\n");
  ASSERT_NE(end, std::string::npos) << outcome.output;
  const auto count = [](const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
  };
  const std::string events = outcome.output.substr(0, end + 1);
  EXPECT_EQ(count(events, "    Why: the director failed: it could not complete the operation\n      no site\n      Log: "), 1U)
      << events;
  EXPECT_EQ(count(events, "    Why: same reason\n"), 2U) << events;
  const std::string report = outcome.output.substr(end);
  EXPECT_EQ(count(report, "no site"), 1U) << report;
  EXPECT_NE(report.find("\n  Why: no site\n    Log: "), std::string::npos) << report;
}

/// What the director of Eclipse 4.26 prints.
TEST_F(RunReport, SaysTheReasonThenTheFixAndNothingTwice) {
  write_session("install");
  const std::string failed = "echo 'Installation failed.'; ";
  const std::string end = "echo 'There were errors. See log file: /ide/1.log'; exit 13";
  const std::string missing =
      "Missing requirement: Plug-in P 1.0.0 (p 1.0.0) requires 'osgi.bundle; org.nowhere 0.0.0' but it could not be found";
  for (const int start : {1, 2}) {
    script(start, failed + "echo 'Cannot complete the install.'; echo \"\t" + missing +
                      "\"; echo '\tCannot satisfy dependency:'; echo '\t\tFrom: a'; echo '\t\tTo: b'; " + end);
  }
  script(3, failed +
                "echo 'Cannot complete the install because of a conflicting dependency.'; "
                "echo '\tSoftware being installed: F (two 1.0.0)'; echo '\tSoftware currently installed: F (two 2.0.0)'; "
                "echo '\tOnly one of the following can be installed at once: '; echo '\t\tP 1.0.0'; echo '\t\tP 2.0.0'; " +
                end);
  const std::string output = eclipse_int("run session.json").output;
  EXPECT_NE(output.find("\nFailed\n"
                        "  Why: Cannot complete the install.\n"
                        "    " +
                        missing +
                        "\n"
                        "    Fix: list a repository that has org.nowhere 0.0.0 in a descriptor file\n"
                        "    Features: one\n"
                        "  Why: Cannot complete the install because of a conflicting dependency.\n"
                        "    Software being installed: F (two 1.0.0)\n"
                        "    Software currently installed: F (two 2.0.0)\n"
                        "    Only one of the following can be installed at once:\n"
                        "    P 1.0.0\n"
                        "    P 2.0.0\n"
                        "    Fix: --update replaces the installed version, with --allow-downgrade also a newer one\n"
                        "    Features: two\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(output.find(missing), output.rfind(missing)) << output;
}

TEST_F(RunReport, NamesTheFixOfAnUnknownFeatureAndOfAMissingRepository) {
  write_session("install");
  script(1, "exit 13");
  script(2, "echo 'Installation failed.'; echo 'The installable unit one has not been found.'; exit 13");
  script(3, "echo 'Installation failed.'; echo 'No repository found at file:///x.'; exit 13");
  const std::string output = eclipse_int("run session.json").output;
  EXPECT_NE(output.find("  Why: The installable unit one has not been found.\n    Fix: correct column 2 "), std::string::npos)
      << output;
  EXPECT_NE(output.find("  Why: No repository found at file:///x.\n    Fix: correct column 1 "), std::string::npos) << output;
}

TEST_F(RunReport, ExplainsWhatTheShellSaysForCallsToo) {
  write_session("install");
  std::filesystem::permissions("eclipse/eclipse", std::filesystem::perms(0644));
  const Outcome outcome = eclipse_int("call perform_integration session.json");
  EXPECT_NE(outcome.output.find("  Failed with exit code 126 after N s\n    Why: the shell failed: "), std::string::npos)
      << outcome.output;
}

TEST_F(RunReport, SaysThatAProcessInTheBackgroundIsWaitedFor) {
  write_session("install");
  script(1, "sleep 1.5 & echo started");
  const std::string message =
      "the director has ended, but a background process that it started keeps its output open; waiting for that process\n";
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("    started\n    " + message + "  Succeeded after "), std::string::npos) << outcome.output;
  script(2, "sleep 1.5 & echo started");
  EXPECT_EQ(eclipse_int("run session.json --json").error, "eclipse-int: " + message);
}

TEST_F(RunReport, IsDoneWhenEveryRetrySucceeds) {
  write_session("install");
  script(1, "exit 13");
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("\nDone\n"
                                "  Why not all at once: the launcher failed: the application exited early and logged no "
                                "reason\n"
                                "  Installing all features at once failed, so each was tried separately.\n"
                                "  The director reports success for installing these features into DIRECTORY/eclipse:\n"
                                "    one\n"
                                "    two\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("\nThe installer's summary (QN_SCRIPTS_COMPLETE_DESC):\n  These failed:\n"), std::string::npos)
      << outcome.output;
}

TEST_F(RunReport, ShowsAGraphicalSummaryInLines) {
  write_session("install", {{"QN_SCRIPTS_COMPLETE_DESC", "Installed."}});
  fake::write_file("session.json", "{\"graphical\": true, " + content_of("session.json").substr(1));
  script(1, "exit 13");
  script(2, "echo 'not there'; exit 13");
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output.find("<p>"), std::string::npos) << outcome.output;
  EXPECT_TRUE(
      outcome.output.ends_with("\nThe installer's summary (QN_SCRIPTS_COMPLETE_DESC):\n  Installed.\n  These failed:\n  (the "
                               "output of the failed commands)\n"))
      << outcome.output;
}

TEST_F(RunReport, ShowsARemoval) {
  write_session("uninstall", {}, "\"installed\": true, \"remove\": true");
  EXPECT_EQ(eclipse_int("run session.json"),
            (Outcome{0,
                     header("uninstall", "installed, selected to be removed") + checks + "Action perform_unintegration\n" +
                         command(removal_arguments("one,two")) +
                         "  Succeeded after N s\n"
                         "\n"
                         "Done\n"
                         "  The director reports success for removing these features from DIRECTORY/eclipse:\n"
                         "    one\n"
                         "    two\n" +
                         changes,
                     ""}));
}

TEST_F(RunReport, ShowsWhyARemovalFailed) {
  write_session("uninstall", {}, "\"installed\": true, \"remove\": true");
  script(1, "exit 13");
  const Outcome outcome = eclipse_int("run session.json");
  // The retries are commands that no shell accepts; how it says so is the shell's own.
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(director_calls(), removal_arguments("one,two") + "\n");
  EXPECT_NE(outcome.output.find("\n\nFailed\n  Why: the launcher failed: "), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("    Features: one, two\n  Why: the shell failed: "), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("    Features: one, two\n"
                                "  Removing all features at once failed, so each was tried separately.\n"
                                "  The director failed to remove these features from DIRECTORY/eclipse:\n"
                                "    one\n"
                                "    two\n"
                                "  perform_unintegration returned "),
            std::string::npos)
      << outcome.output;
}

TEST_F(RunReport, ShowsWhyNothingWasDone) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  EXPECT_EQ(eclipse_int("run session.json"),
            (Outcome{0,
                     "Session session.json\n"
                     "  Mode: install\n"
                     "  Eclipse: none\n"
                     "  Component tools: not installed, selected to be installed\n"
                     "\n"
                     "Action eclipse_integration_required\n"
                     "Action find_eclipse_ide\n"
                     "Action define_eclipse_path\n"
                     "Action perform_integration\n"
                     "\n"
                     "Nothing done\n"
                     "  No command of the session was run, so nothing was changed in Eclipse.\n"
                     "  The log ends with: eclipse_int: nothing to integrate\n"
                     "\n"
                     "Changed variables:\n"
                     "  ECLIPSE_IDE = no\n"
                     "  ECLIPSE_IDE_ENABLED = no\n"
                     "  ECLIPSE_INTEGRATION_REQUIRED = yes\n",
                     ""}));
}

TEST_F(RunReport, ShowsWhyItRefused) {
  write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}, {"ECLIPSE_VERSION_IS_SUPPORTED", "yes"}});
  EXPECT_EQ(
      eclipse_int("run session.json"),
      (Outcome{1,
               "Session session.json\n"
               "  Mode: install\n"
               "  Eclipse: user (/missing/eclipse)\n"
               "  Component tools: not installed, selected to be installed\n"
               "\n"
               "Action eclipse_integration_required\n"
               "Action find_eclipse_ide\n"
               "Action verify_eclipse_version\n"
               "\n"
               "Refused: USER_DEFINED_ECLIPSE_PATH is \"/missing/eclipse\", which is not the Eclipse executable: give the "
               "full path of an existing file named \"eclipse\" (ECLIPSE_BIN)\n"
               "  No command of the session was run, so nothing was changed in Eclipse.\n"
               "\n"
               "Changed variables:\n"
               "  ECLIPSE_IDE = no\n"
               "  ECLIPSE_IDE_ENABLED = no\n"
               "  ECLIPSE_INTEGRATION_REQUIRED = yes\n"
               "  USER_DEFINED_ECLIPSE_PATH_CORRECT = no\n"
               "  USER_DEFINED_ECLIPSE_PATH_EMPTY = no\n"
               "  ECLIPSE_VERSION_IS_SUPPORTED is unset\n",
               ""}));
  EXPECT_EQ(director_calls(), "");
}

TEST_F(RunReport, ShowsASessionWithNothingInIt) {
  fake::write_file("session.json", R"({"mode": "modify", "components": []})");
  EXPECT_EQ(eclipse_int("run session.json"),
            (Outcome{0,
                     "Session session.json\n"
                     "  Mode: modify\n"
                     "  Eclipse: not chosen\n"
                     "  No components\n"
                     "\n"
                     "Action eclipse_integration_required\n"
                     "Action find_eclipse_ide\n"
                     "Action define_eclipse_path\n"
                     "Action perform_integration\n"
                     "\n"
                     "Nothing done\n"
                     "  No command of the session was run, so nothing was changed in Eclipse.\n"
                     "  The log ends with: eclipse_int: nothing to integrate\n"
                     "\n"
                     "Changed variables:\n"
                     "  ECLIPSE_IDE = no\n"
                     "  ECLIPSE_IDE_ENABLED = no\n"
                     "  ECLIPSE_INTEGRATION_REQUIRED = no\n",
                     ""}));
}

TEST_F(RunReport, KeepsTextsOnTheirLine) {
  fake::write_file("session.json",
                   R"({"mode": "install", "variables": {"ECLIPSE_INTEGRATION_CHOICE": "a\n\u001b[31m\r\t\u007f\u00e4"},
                       "components": [{"code": "", "installBase": "", "installDir": ""},
                                      {"code": "b\nc", "installBase": "", "installDir": "", "installed": true}]})");
  const Outcome outcome = eclipse_int("call verify_user_defined_eclipse_path session.json");
  EXPECT_EQ(outcome, (Outcome{0,
                              "Session session.json\n"
                              "  Mode: install\n"
                              "  Eclipse: a\\n\\x1B[31m\\r\\t\\x7F\xC3\xA4\n"
                              "  Component without a code: not installed\n"
                              "  Component b\\nc: installed\n"
                              "\n"
                              "Action verify_user_defined_eclipse_path\n"
                              "\n"
                              "Nothing done\n"
                              "  No command of the session was run, so nothing was changed in Eclipse.\n"
                              "\n"
                              "Changed variables:\n"
                              "  USER_DEFINED_ECLIPSE_PATH_CORRECT = no\n"
                              "  USER_DEFINED_ECLIPSE_PATH_EMPTY = yes\n",
                              ""}));
}

TEST_F(RunReport, EndsWhenTheRunIsAborted) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const std::string options = std::string("--write-variables v.json --plugin ") + THROWING_PLUGIN;
  EXPECT_EQ(eclipse_int("run session.json " + options), (Outcome{1,
                                                                 "Session session.json\n"
                                                                 "  Mode: install\n"
                                                                 "  Eclipse: none\n"
                                                                 "  Component tools: not installed, selected to be installed\n"
                                                                 "\n"
                                                                 "Action eclipse_integration_required\n"
                                                                 "Action find_eclipse_ide\n"
                                                                 "Action define_eclipse_path\n"
                                                                 "Action perform_integration\n",
                                                                 "eclipse-int: the run was aborted: no more of this\n"}));
  EXPECT_NE(content_of("v.json").find("\"WRITTEN_BEFORE\": \"yes\""), std::string::npos) << content_of("v.json");
}

class CallReport : public ChildCommand {};

TEST_F(CallReport, ShowsJustTheseActions) {
  write_session("install");
  EXPECT_EQ(eclipse_int("call perform_integration find_eclipse_ide perform_integration session.json"),
            (Outcome{0,
                     header("install", "not installed, selected to be installed") + "Action perform_integration\n" +
                         command(install_arguments("one,two")) + "  Succeeded after N s\nAction find_eclipse_ide\n" +
                         "Action perform_integration\n" + command(install_arguments("one,two")) + "  Succeeded after N s\n" +
                         "\n"
                         "Done\n"
                         "  The director reports success for installing these features into DIRECTORY/eclipse:\n"
                         "    one\n"
                         "    two\n"
                         "\n"
                         "Changed variables:\n"
                         "  CASHED_ECLIPSE_PATH = DIRECTORY/eclipse/eclipse\n"
                         "  ECLIPSE_IDE = no\n"
                         "  ECLIPSE_IDE_ENABLED = no\n"
                         "  ECLIPSE_PATH = DIRECTORY/eclipse\n",
                     ""}));
}

/// What the command prints on a terminal.
std::string on_terminal(const std::vector<std::string>& arguments) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    execv(pointers.front(), pointers.data());
    _exit(127);
  }
  std::string output;
  std::array<char, 4096> piece;
  // The end of the child shows as an error.
  for (ssize_t count; (count = read(terminal, piece.data(), piece.size())) > 0;) {
    output.append(piece.data(), static_cast<std::size_t>(count));
  }
  close(terminal);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return output;
}

class TerminalReport : public ChildCommand {};

TEST_F(TerminalReport, ShowsThatASilentDirectorIsStillAtWork) {
  write_session("install");
  script(1, "sleep 1; echo done; sleep 0.6; printf half; sleep 0.6; echo ' line'; sleep 0.6");
  const std::string output = on_terminal({ECLIPSE_INT_COMMAND, "run", "session.json"});
  const std::string shown = std::regex_replace(output, std::regex("running for [0-9]+\\.[0-9] s"), "running");
  const auto from = shown.find("2>&1\r\n");
  ASSERT_NE(from, std::string::npos) << output;
  // Redrawn about four times a second, taken away before each line, and not shown within one.
  const std::string alive = "    running(\r {21}\r    running)*\r {21}\r";
  const std::string expected = alive + "    done\r\n" + alive + "    half line\r\n" + alive + "  Succeeded after .*";
  EXPECT_TRUE(std::regex_match(shown.substr(from + 6, shown.find("\r\n\r\n", from) - from - 6), std::regex(expected)))
      << output;
}

TEST_F(TerminalReport, ShowsNoSignOfLifeInAFile) {
  write_session("install");
  script(1, "sleep 1");
  EXPECT_EQ(eclipse_int("run session.json").output.find("running"), std::string::npos);
}

}  // namespace

}  // namespace cli_test
