// The report of a run, as it goes and at its end, from events that the test makes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "fake_host/temporary_directory.h"
#include "fake_host/written_down.h"
#include "report/failure_fix.h"
#include "report/outcome.h"
#include "report/run_json.h"
#include "report/run_report.h"
#include "terminal/interruption.h"
#include "terminal/redirected_stream.h"

namespace {

using namespace eclipse_report;
using namespace eclipse_host;
using eclipse_p2::Failure;
using eclipse_p2::Layer;
using terminal_test::shown_on_terminal;
using terminal_test::status_of_child;
using terminal_test::written_to;

const std::string written_down = WRITTEN_DOWN;

std::string director(const std::string& features, const std::string& option = "-i", const std::string& ide = "/opt/ide") {
  const std::string repositories = option == "-i" ? " -repository file:///opt/site" : "";
  return ide + "/eclipse -nosplash -application org.eclipse.equinox.p2.director" + repositories + " " + option + " " +
         features + " 2>&1";
}

/// A run whose events the test makes, with all who hear of them.
class FakeRun {
 public:
  explicit FakeRun(std::string mode = "install") {
    session.variables = {{"KORU_MODE", std::move(mode)}};
    record.variables_before = session.variables;
    observers = {failures.observer(), report.observer()};
  }

  void action(const std::string& name, std::optional<int> result = 0) {
    record.actions.push_back({name, result});
    for (const auto& observer : observers) observer.on_action(name);
  }

  /// A command that prints this and ends.
  void command(const std::string& line, int exit_code, const std::string& output = "", const std::string& error_output = "",
               bool is_retry = false) {
    begin(line);
    print(output, error_output);
    end(exit_code, is_retry);
  }
  void begin(const std::string& line) {
    record.commands.push_back({record.actions.empty() ? "" : record.actions.back().name, line, {}, false, false});
    for (const auto& observer : observers) observer.on_command(line);
  }
  void print(const std::string& output, const std::string& error_output = "") {
    auto& result = record.commands.back().result;
    result.output += output;
    result.error_output += error_output;
    for (const auto& observer : observers) {
      if (!output.empty()) observer.command_progress.on_output(output);
      if (!error_output.empty()) observer.command_progress.on_error_output(error_output);
    }
  }
  void end(int exit_code, bool is_retry = false) {
    CommandRecord& command = record.commands.back();
    command.has_ended = true;
    command.is_retry = is_retry;
    command.result.exit_code = exit_code;
    command.result.seconds = 1.25;
    for (const auto& observer : observers) observer.on_command_end(command);
  }

  std::string outcome(const InstanceFinding& finding = {}) const { return outcome_text(record, failures, session, finding); }

  Session session;
  RunRecord record;
  CommandFailures failures;
  RunReport report{failures};
  std::vector<RunObserver> observers;
};

const std::string not_found =
    "Installation failed.\nThe installable unit b has not been found.\nThere were errors. See log file: x\n";

/// All at once fails; then "a" succeeds and "b" fails.
void partial_success(FakeRun& run) {
  run.action("perform_integration");
  run.command(director("a,b"), 13, not_found);
  run.command(director("a"), 0, "Operation completed in 1 ms.\n", "", true);
  run.command(director("b"), 13, not_found, "", true);
}

TEST(RunReport, ShowsTheSession) {
  FakeRun run("install\x1B");
  const auto shown = [&] { return written_to(STDOUT_FILENO, [&] { run.report.begin("s\x1B.json", run.session); }); };
  EXPECT_EQ(shown(), "Session s\\x1B.json\n  Mode: install\\x1B\n  Eclipse: not chosen\n  No components\n\n");
  run.session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  for (const int bits : {0, 1, 2, 4, 6}) {
    auto component = std::make_unique<CatalogueComponent>();
    component->code = bits == 0 ? "" : "c\x1B" + std::to_string(bits);
    component->installed = (bits & 1) != 0;
    component->selected_for_install = (bits & 2) != 0;
    component->selected_for_removal = (bits & 4) != 0;
    run.session.components.push_back(std::move(component));
  }
  EXPECT_EQ(shown(),
            "Session s\\x1B.json\n  Mode: install\\x1B\n  Eclipse: internal (provided by a component)\n"
            "  Component without a code: not installed\n  Component c\\x1B1: installed\n"
            "  Component c\\x1B2: not installed, selected to be installed\n"
            "  Component c\\x1B4: not installed, selected to be removed\n"
            "  Component c\\x1B6: not installed, selected to be installed, selected to be removed\n\n");
  run.session.components.clear();
  run.session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  run.session.variables["USER_DEFINED_ECLIPSE_PATH"] = "/opt/\x1B";
  EXPECT_NE(shown().find("\n  Eclipse: user (/opt/\\x1B)\n"), std::string::npos);
  run.session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none\x1B";
  EXPECT_NE(shown().find("\n  Eclipse: none\\x1B\n"), std::string::npos);
}

TEST(RunReport, ShowsActionsCommandsAndOutputs) {
  const std::string shown = written_to(STDOUT_FILENO, [] {
    FakeRun run;
    partial_success(run);
    run.command("true", 0, "cut\xC3", "off\xC3");
    run.command("true\x1B", 0, "one\n\ntwo\tthree\x1B\nfour", "error output\n");
    run.command("false", 3, "  reason \t\r\n");
    run.command("false", 3, "  reason \t\r\n");
    run.command(director("a"), 13, "Installation failed.\n");
    run.command(director("a"), 13, "Installation failed. \nnot held\n");
    run.begin("true");
    run.print("begin");
    for (const auto& observer : run.observers) observer.command_progress.on_held_outputs();
    for (const auto& observer : run.observers) observer.command_progress.on_wait(2);
    run.print("ning\n");
    run.report.interrupt("SIGTERM", true);
    run.report.interrupt("SIGINT", false);
    run.report.add("added\n");
  });
  fake::expect_written_down(shown, written_down + "/run.txt");
}

TEST(RunReport, HoldsReasonsBackUnlessTheyAreUnexplained) {
  const auto shown = [](int exit_code, const std::string& reasons, const std::string& before = "") {
    return written_to(STDOUT_FILENO, [&] {
      FakeRun run;
      run.begin(director("a"));
      run.print(before + "Installation failed.\n");
      run.print(reasons);
      run.end(exit_code);
    });
  };
  const std::string begin = "  Command: " + director("a") + "\n    Installation failed.\n";
  EXPECT_EQ(shown(13, "reason\n"), begin + "  Failed with exit code 13 after 1.2 s\n");
  EXPECT_EQ(shown(0, "reason\n"), begin + "    reason\n  Succeeded after 1.2 s\n");
  EXPECT_EQ(shown(15, "reason\nother\n"),
            begin +
                "    reason\n    other\n  Failed with exit code 15 after 1.2 s\n    Why: the launcher failed: the instance or "
                "its configuration cannot be written\n");
  EXPECT_EQ(shown(13, "reason\n", "Loading\nInstallation failed. Or not\nshown\n"),
            "  Command: " + director("a") +
                "\n    Loading\n    Installation failed. Or not\n    shown\n    Installation failed.\n"
                "  Failed with exit code 13 after 1.2 s\n");
  EXPECT_EQ(shown(0, "reason\nInstallation failed.\nother\n"),
            begin + "    reason\n    Installation failed.\n    other\n  Succeeded after 1.2 s\n");
}

TEST(RunReport, HoldsReasonsBackUnlessTheyAreTooLong) {
  const fake::TemporaryDirectory directory;
  const auto shown = [](const std::string& reasons) {
    {
      const terminal_test::RedirectedStream file(STDOUT_FILENO, open("shown", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
      FakeRun run;
      run.command(director("a"), 13, "Installation failed.\n" + reasons);
    }
    std::ostringstream content;
    content << std::ifstream("shown", std::ios::binary).rdbuf();
    return content.str();
  };
  const std::string begin = "  Command: " + director("a") + "\n    Installation failed.\n";
  const std::string end = "  Failed with exit code 13 after 1.2 s\n";
  const std::string most = std::string(1'048'575, 'r') + "\n";
  EXPECT_EQ(shown(most), begin + end);
  EXPECT_TRUE(shown("r" + most).starts_with(begin + "    r" + most + end + "    Why: the director failed: "));
}

TEST(RunReport, HoldsNothingBackOfACommandThatFollowsAPieceOfALine) {
  const std::string shown = written_to(STDOUT_FILENO, [] {
    FakeRun run;
    run.command("true", 0, "Installation ");
    run.command(director("a"), 13, "failed.\nshown\nInstallation failed.\nreason\n");
  });
  EXPECT_EQ(shown, "  Command: true\n    Installation \n  Succeeded after 1.2 s\n  Command: " + director("a") +
                       "\n    failed.\n    shown\n    Installation failed.\n  Failed with exit code 13 after 1.2 s\n");
}

TEST(RunReport, ShowsTheReasonsOfADirectorThatWasStopped) {
  const std::string shown = written_to(STDOUT_FILENO, [] {
    FakeRun run;
    run.begin(director("a"));
    run.print("Installation failed.\nreason\n");
    run.report.interrupt("SIGTERM", true);
  });
  EXPECT_EQ(shown, "  Command: " + director("a") +
                       "\n    Installation failed.\n    reason\n\nInterrupted by SIGTERM\n"
                       "  The running director was stopped; changes that it had already made may remain.\n");
}

TEST(RunReport, TellsLoggedReasonsThatTheCommandDidNotPrint) {
  const fake::TemporaryDirectory directory;
  fake::write_file("ide/configuration/0.log", "");
  const std::string command = director("a", "-i", directory.path() + "/ide");
  const std::string shown = written_to(STDOUT_FILENO, [&] {
    FakeRun run;
    run.begin(command);
    fake::write_file("ide/configuration/1.log",
                     "!ENTRY a\n!MESSAGE printed \n!ENTRY b\n!MESSAGE logged\n!ENTRY c\n!MESSAGE error\n");
    run.print("first\n\tprinted\r\n", "error\n");
    run.end(13);
  });
  EXPECT_EQ(shown, "  Command: " + command +
                       "\n    first\n        printed\\r\n    error\n  Failed with exit code 13 after 1.2 s\n"
                       "    Why: the director failed: it could not complete the operation\n      logged\n      Log: " +
                       directory.path() + "/ide/configuration/1.log\n");
}

/// Whether a signal ends this while standard output is a full pipe, which a reader reads after a moment, or never.
bool is_interrupted_without_room(const std::function<void()>& action, bool is_read_soon = false) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  EXPECT_EQ(fcntl(ends[1], F_SETPIPE_SZ, PIPE_BUF), PIPE_BUF);
  EXPECT_EQ(write(ends[1], std::string(PIPE_BUF, 'x').data(), PIPE_BUF), PIPE_BUF);
  std::thread reader([&] {
    std::array<char, PIPE_BUF> bytes;
    if (!is_read_soon) return;
    poll(nullptr, 0, 300);
    EXPECT_EQ(read(ends[0], bytes.data(), bytes.size()), PIPE_BUF);
  });
  bool is_interrupted = false;
  {
    const terminal_test::RedirectedStream full(STDOUT_FILENO, ends[1]);
    try {
      action();
    } catch (const eclipse_terminal::Interrupted&) {
      is_interrupted = true;
    }
  }
  reader.join();
  close(ends[0]);
  return is_interrupted;
}

TEST(RunReport, ThatNobodyReadsEndsWithASignalUnlessADirectorRuns) {
  const eclipse_terminal::Interruption interruption;
  FakeRun run;
  raise(SIGTERM);
  EXPECT_TRUE(is_interrupted_without_room([&] { run.action("perform_integration"); }));
  written_to(STDOUT_FILENO, [&] { run.begin(director("a")); });
  EXPECT_EQ(written_to(STDERR_FILENO, [&] { EXPECT_FALSE(is_interrupted_without_room([&] { run.print("output"); }, true)); }),
            "eclipse-int: interrupted by SIGTERM; waiting for the director to end its command (interrupt again to stop it "
            "now)\n");
  EXPECT_TRUE(is_interrupted_without_room([&] { run.end(0); }));
}

TEST(RunReport, OfAStoppedDirectorWaitsForItsReader) {
  const eclipse_terminal::Interruption interruption;
  FakeRun run;
  written_to(STDOUT_FILENO, [&] { run.begin(director("a")); });
  raise(SIGTERM);
  poll(nullptr, 0, 210);  // a signal that comes at once is the same request
  raise(SIGTERM);
  ASSERT_TRUE(eclipse_terminal::Interruption::was_repeated());
  EXPECT_FALSE(is_interrupted_without_room([&] { run.report.interrupt("SIGTERM", true); }, true));
}

/// In a child, since what is missing stays missing.
TEST(RunReport, OfARunThatHasEndedIsGivenUpSomeTimeAfterASignal) {
  const eclipse_terminal::Interruption interruption;
  FakeRun run;
  EXPECT_EQ(written_to(STDOUT_FILENO, [&] { run.report.end(run.record, run.session, {}); }), "\n" + run.outcome());
  raise(SIGTERM);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(status_of_child([&] { return is_interrupted_without_room([&] { run.report.add("more\n"); }) ? 1 : 0; }), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2000));
}

TEST(RunReport, ShowsOnATerminalThatADirectorRuns) {
  const std::string shown = shown_on_terminal(STDOUT_FILENO, [] {
    FakeRun run;
    run.begin("true");
    for (const double seconds : {9.96, 10.25}) {
      for (const auto& observer : run.observers) observer.command_progress.on_wait(seconds);
    }
    run.print("out");
    for (const auto& observer : run.observers) observer.command_progress.on_wait(11);
    run.print("put\n");
    run.end(0);
  });
  const std::string blank = "\r" + std::string(22, ' ') + "\r";
  EXPECT_EQ(shown, "  Command: true\r\n    running for 10.0 s" + blank + "    running for 10.2 s" + blank +
                       "    output\r\n  Succeeded after 1.2 s\r\n");
}

TEST(RunReport, WithoutAReportSilenceIsExplained) {
  EXPECT_EQ(written_to(STDERR_FILENO, [] { messages_about_silence().command_progress.on_held_outputs(); }),
            "eclipse-int: the director has ended, but a background process that it started keeps its output open; waiting for "
            "that process\n");
}

TEST(Outcome, OfRunsThatChangeNothing) {
  FakeRun run;
  EXPECT_EQ(run.outcome(), "Nothing done\n  No command of the session was run, so nothing was changed in Eclipse.\n");
  InstanceFinding differs;
  differs.differs = true;
  EXPECT_EQ(run.outcome(differs),
            "Done, but the Eclipse instance is not in the state that the session describes\n"
            "  No command of the session was run, so nothing was changed in Eclipse.\n");
  run.record.log = {"first", "last\x1B"};
  EXPECT_EQ(run.outcome(),
            "Nothing done\n  No command of the session was run, so nothing was changed in Eclipse.\n"
            "  The log ends with: last\\x1B\n");
  run.record.contradiction = "no state\x1B";
  EXPECT_EQ(run.outcome().substr(0, 23), "Failed: no state\\x1B\n  ");
  run.record.refusal = "too old\x1B";
  EXPECT_EQ(run.outcome(), "Refused: too old\\x1B\n  No command of the session was run, so nothing was changed in Eclipse.\n");
}

TEST(Outcome, TellsWhatBecameOfEachFeature) {
  std::string text;
  written_to(STDOUT_FILENO, [&] {
    FakeRun run;
    partial_success(run);
    text += run.outcome();
    const auto finding_of = [](std::optional<bool> a, std::optional<bool> b) {
      InstanceFinding finding;
      finding.has = [=](const std::string& feature) { return feature == "a" ? a : b; };
      return finding;
    };
    for (const auto& [a, b] : {std::pair<std::optional<bool>, std::optional<bool>>{true, false}, {false, true}, {{}, true}}) {
      text += run.outcome(finding_of(a, b));
    }
    FakeRun removal("uninstall");
    removal.action("perform_unintegration", 1);
    removal.command(director("a,b", "-u"), 13, not_found);
    text += removal.outcome() + removal.outcome(finding_of(true, false)) + removal.outcome(finding_of(false, true));
    FakeRun success;
    success.action("perform_integration");
    success.command(director("a\x1B"), 0);
    text += success.outcome();
    InstanceFinding damaged;
    damaged.is_damaged = true;
    text += success.outcome(damaged);
    FakeRun twice;
    twice.command(director("a"), 0);
    twice.command(director("b", "-i", "/opt/other"), 0);
    twice.command(director("c", "-u"), 0);
    text += twice.outcome();
  });
  fake::expect_written_down(text, written_down + "/outcome.txt");
}

/// All at once fails for one reason, and all retries for others, or none.
TEST(Outcome, TellsEachReasonOnce) {
  std::string text;
  written_to(STDOUT_FILENO, [&] {
    const auto reason = [](const std::string& cause) { return "Installation failed.\n" + cause + "\n"; };
    FakeRun run;
    run.action("perform_integration");
    run.command(director("a,b,c"), 13, reason("all at once"));
    run.command(director("a"), 13, reason("one"), "", true);
    run.command(director("b"), 13, reason("other"), "", true);
    run.command(director("c"), 13, reason("one"), "", true);
    text += run.outcome();
    FakeRun settled;
    settled.command(director("a,b"), 13, reason("all at once"));
    settled.command(director("a"), 0, "", "", true);
    settled.command(director("b"), 0, "", "", true);
    text += settled.outcome();
    FakeRun removal;
    removal.command(director("a,b", "-u"), 13, reason("The installable unit a has not been found."));
    removal.command(director("a,b", "-u") + " a", 2, "", "sh: 1: Syntax error\n", true);
    text += removal.outcome();
    FakeRun other;
    other.command("false", 1);
    text += other.outcome();
    FakeRun many;
    std::string all = "f0";
    for (int i = 1; i < 12; ++i) all += ",f" + std::to_string(i);
    many.command(director(all), 127, "", "sh: 1: not found\n");
    many.command(director("g"), 126, "", "", true);
    text += many.outcome();
  });
  fake::expect_written_down(text, written_down + "/reasons.txt");
}

TEST(Outcome, ShowsChangedVariablesAndTheSummary) {
  FakeRun run;
  run.record.variables_before = {{"same", "1"}, {"changed", "1"}, {"unset\x1B", "1"}};
  run.session.variables = {
      {"same", "1"}, {"changed", "2\x1B"}, {"new\x1B", ""}, {"QN_SCRIPTS_COMPLETE_DESC", "one<p><p>two\nout\nput\nthree"}};
  const std::string begin = "Nothing done\n  No command of the session was run, so nothing was changed in Eclipse.\n";
  const std::string changed = "\nChanged variables:\n  changed = 2\\x1B\n  new\\x1B = \n";
  const std::string unset = "  unset\\x1B is unset\n";
  EXPECT_EQ(run.outcome(), begin + changed + unset);
  run.session.variables["QN_SCRIPTS_FAILED"] = "no";
  EXPECT_EQ(run.outcome(),
            begin + "\nChanged variables:\n  QN_SCRIPTS_FAILED = no\n  changed = 2\\x1B\n  new\\x1B = \n" + unset);
  run.session.variables["QN_SCRIPTS_FAILED"] = "yes";
  const std::string heading = "\nThe installer's summary (QN_SCRIPTS_COMPLETE_DESC):\n";
  const auto summary = [&] {
    const std::string text = run.outcome();
    const auto at = text.find(heading);
    return at == text.npos ? "" : text.substr(at + heading.size());
  };
  EXPECT_EQ(summary(), "  one<p><p>two\n  out\n  put\n  three\n");
  run.session.graphical = true;
  EXPECT_EQ(summary(), "  one\n  two\n  out\n  put\n  three\n");
  written_to(STDOUT_FILENO, [&] { run.command("false", 1, "out\nput"); });
  EXPECT_EQ(summary(), "  one\n  two\n  (the output of the failed commands)\n  three\n");
  run.session.variables["QN_SCRIPTS_COMPLETE_DESC"] = "out\n\nput";
  EXPECT_EQ(summary(), "") << "nothing else is there";
}

TEST(FailureFix, IsThatOfTheCause) {
  const auto fix = [](std::vector<std::string> causes, bool is_removal = false) {
    return fix_of({Layer::director, "", std::move(causes), {}}, is_removal);
  };
  const std::string no_unit = "The installable unit a has not been found.";
  EXPECT_EQ(fix({}), "");
  EXPECT_EQ(fix({"other"}), "");
  EXPECT_EQ(fix({"other"}, true), "");
  EXPECT_EQ(fix({"x", no_unit}, true), "remove only what is installed: the director removes all features or none");
  EXPECT_EQ(fix({"x", no_unit}),
            "correct column 2 of the descriptor file, or list a repository that has it (\"eclipse-int list\" shows what one "
            "has)");
  EXPECT_EQ(fix({no_unit, "No repository found at file:/x."}),
            "correct column 1 of the descriptor file, or put the repository there");
  EXPECT_EQ(fix({"Missing requirement: a 1 requires 'osgi.bundle; b 2' but it could not be found"}),
            "list a repository that has b 2 in a descriptor file");
  EXPECT_EQ(
      fix({"Missing requirement: A 1 (a 1) requires 'osgi.ee; (&(osgi.ee=JavaSE)(version=21))' but it could not be found"}),
      "start Eclipse with a Java that has it, or ship a version for the Java in use");
  EXPECT_EQ(fix({"Missing requirement: a 1 requires b"}), "list a repository that has it in a descriptor file");
  const std::string only_one = "Only one of the following can be installed at once: [";
  EXPECT_EQ(fix({"Software being installed: A (B) (a 2)", "Software currently installed: A (a 1)", only_one}),
            "--update replaces the installed version, with --allow-downgrade also a newer one");
  const std::string in_the_way = "install compatible versions, or remove the conflicting feature";
  EXPECT_EQ(fix({"Software being installed: A (a 2)", "Software currently installed: B (b 1)", only_one}), in_the_way);
  EXPECT_EQ(fix({"Software being installed: A", "Software currently installed: A", only_one}), in_the_way);
  EXPECT_EQ(fix({only_one}), in_the_way);
}

TEST(FailureFix, CausesThatRepeatOthersAreLeftOut) {
  using Texts = std::vector<std::string>;
  const auto telling = [](Texts causes) { return telling_causes({Layer::director, "", std::move(causes), {}}); };
  const Texts repeating = {" Cannot satisfy dependency:", "From: a", "To: b"};
  EXPECT_EQ(telling(repeating), (Texts{"Cannot satisfy dependency:", "From: a", "To: b"}));
  for (const std::string named : {"Missing requirement: x", "Only one of the following can be installed at once: y"}) {
    Texts causes = repeating;
    causes.push_back(" " + named);
    EXPECT_EQ(telling(causes), Texts{named});
  }
}

TEST(RunJson, HasEachMember) {
  std::string text;
  FakeRun run;
  written_to(STDOUT_FILENO, [&] {
    partial_success(run);
    run.action("unfinished", {});
    run.begin("sleep \xFF");
    run.print("out\xFF", "error\xFE");
  });
  run.record.commands.back().result.output_left_out = 5;
  run.record.commands.back().result.error_output_left_out = 6;
  run.record.variables_before = {{"a", "1"}};
  run.record.log = {"line"};
  run.record.contradiction = "no state";
  const auto add = [](nlohmann::ordered_json& json) { json["added"] = true; };
  const auto print = [&](const std::optional<eclipse_instance::InstanceDamage>& damage) {
    const RunFacts facts{run.record, run.failures, run.session.variables, damage};
    text += written_to(STDOUT_FILENO, [&] { print_run(facts, 1, add); });
    text += written_to(STDOUT_FILENO, [&] { print_interrupted_run(facts, {15}, add); });
    text += written_to(STDOUT_FILENO, [&] { print_aborted_run(facts, "no memory", add); });
  };
  print({});
  run.record = {};
  print(eclipse_instance::InstanceDamage{"file", "message", "fix"});
  run.record.refusal = "too old";
  print({});
  fake::expect_written_down(text, written_down + "/run.json.txt");
}

}  // namespace
