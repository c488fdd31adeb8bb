#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

/// Whether the director that wrote its number into the file has ended. It may still be a zombie of another process.
bool has_ended(const std::string& file) {
  std::ifstream number(file);
  std::string process;
  if (!(number >> process)) return false;
  for (int i = 0; i < 200; ++i) {
    std::ifstream stream("/proc/" + process + "/stat");
    std::string first, name, state;
    if (!(stream >> first >> name >> state) || state == "Z") return true;
    usleep(10'000);
  }
  return false;
}

/// The signal goes to the command alone, as from "kill".
class Interruption : public ChildCommand {
 protected:
  /// Runs the command with its number in a file, by which a director can send it a signal.
  Outcome eclipse_int_with_number(const std::string& arguments, const std::string& before = "") const {
    return eclipse_int(arguments, "sh -c 'echo $$ > number; exec " + before + " \"$@\"' -");
  }

  /// Nobody reads what is printed before the variables are written and the command got a SIGTERM. Of the document, which is to
  /// be longer than what a pipe holds, it cannot have printed more than a part by then.
  Outcome eclipse_int_read_late(const std::string& arguments) const {
    EXPECT_EQ(mkfifo("pipe", 0600), 0);
    return eclipse_int_with_number(arguments +
                                   " --json --write-variables v.json > pipe & exec 3< pipe\n"
                                   "for i in $(seq 500); do test -e v.json && break; sleep 0.01; done\n"
                                   "sleep 0.2; kill -s TERM $(cat number); sleep 0.1; cat <&3; wait $!");
  }

  /// For a shell that has started the command in the background: waits for the file, and ends as the command does.
  static std::string two_signals_when_there_is(const std::string& file) {
    return "until test -e " + file +
           "; do sleep 0.01; done; sleep 0.5; kill -s TERM $(cat number); sleep 0.5; kill -s TERM $(cat number); wait $!; exit "
           "$?";
  }

  /// Prints something, and some time later sends the signal and goes on.
  static std::string director_that_sends(const std::string& signal) {
    return "echo begun; sleep 0.1; kill -s " + signal + " $(cat number); sleep 0.2; echo late";
  }

  /// Prints something, and some time later sends the signal, once more, and hangs.
  static std::string director_that_repeats(const std::string& signal) {
    return "echo begun; sleep 0.3; sh -c 'echo $$ > director; for i in 1 2; do kill -s " + signal +
           " $(cat number); sleep 0.5; done; exec sleep 100'; echo late";
  }
};

std::string waiting(const std::string& signal) {
  return "eclipse-int: interrupted by " + signal +
         "; waiting for the director to end its command (interrupt again to stop it now)\n";
}
const std::string stopping = "eclipse-int: interrupted again; stopping the director\n";

TEST_F(Interruption, LetsTheDirectorEndItsCommandAndStartsNoOther) {
  write_session("install");
  script(1, director_that_sends("INT") + "; exit 13");
  const Outcome outcome = eclipse_int_with_number("run session.json");
  EXPECT_EQ(outcome.status, 130);
  EXPECT_EQ(outcome.error, waiting("SIGINT"));
  EXPECT_TRUE(
      outcome.output.ends_with("    begun\n"
                               "    late\n"
                               "  Failed with exit code 13 after N s\n"
                               "    Why: the launcher failed: the application exited early and logged no reason\n"
                               "\n"
                               "Interrupted by SIGINT\n"
                               "  No director was stopped, and no other command of the session was started.\n"))
      << outcome.output;
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(Interruption, ShowsWhyTheDirectorFailedBefore) {
  write_session("install");
  script(1, director_that_sends("INT") + "; echo 'Installation failed.'; echo 'no such unit'; exit 13");
  const Outcome outcome = eclipse_int_with_number("run session.json");
  EXPECT_TRUE(
      outcome.output.ends_with("    Installation failed.\n"
                               "  Failed with exit code 13 after N s\n"
                               "    no such unit\n"
                               "\n"
                               "Interrupted by SIGINT\n"
                               "  No director was stopped, and no other command of the session was started.\n"))
      << outcome.output;
}

TEST_F(Interruption, IsTheSameByEachSignalThatEndsPrograms) {
  write_session("install");
  for (const auto& [name, number] : {std::pair("TERM", SIGTERM),
                                     {"HUP", SIGHUP},
                                     {"QUIT", SIGQUIT},
                                     {"USR1", SIGUSR1},
                                     {"USR2", SIGUSR2},
                                     {"ALRM", SIGALRM},
                                     {"XCPU", SIGXCPU},
                                     {"VTALRM", SIGVTALRM},
                                     {"PROF", SIGPROF},
                                     {"IO", SIGIO},
                                     {"PWR", SIGPWR},
                                     {"STKFLT", SIGSTKFLT}}) {
    script(1, director_that_sends(std::to_string(number)) + "; exit 13");
    const Outcome outcome = eclipse_int_with_number("run session.json");
    EXPECT_EQ(outcome.status, 128 + number) << name;
    EXPECT_EQ(outcome.error, waiting(std::string("SIG") + name));
    EXPECT_NE(outcome.output.find("    late\n"), std::string::npos) << name << "\n" << outcome.output;
    EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n") << name;
    std::filesystem::remove("eclipse/calls");
  }
}

TEST_F(Interruption, TellsProgramsHowTheLastCommandEnded) {
  write_session("install");
  script(1, director_that_sends("TERM"));
  const Outcome outcome = eclipse_int_with_number("run session.json --json");
  EXPECT_EQ(outcome.status, 143);
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "interrupted");
  ASSERT_EQ(result.at("commands").size(), 1U);
  EXPECT_EQ(result.at("commands").at(0).at("exitCode"), 0);
  EXPECT_EQ(result.at("commands").at(0).at("output"), "begun\nlate\n");
}

/// As timeout(1) does.
TEST_F(Interruption, TwoSignalsAtOnceAreOneRequest) {
  write_session("install");
  script(1, "n=$(cat number); kill -s TERM $n; kill -s TERM $n; sleep 0.5; echo late");
  const Outcome outcome = eclipse_int_with_number("run session.json");
  EXPECT_EQ(outcome.error, waiting("SIGTERM"));
  EXPECT_NE(outcome.output.find("    late\n  Succeeded"), std::string::npos) << outcome.output;
}

/// A director that has much to print waits for the reader as well.
TEST_F(Interruption, EndsTheDirectorWhenNobodyReadsTheOutput) {
  write_session("install");
  script(
      1,
      "sh -c 'echo $$ > director; head -c 300000 /dev/zero | tr \"\\0\" x; sleep 100' & sleep 0.5; kill -s TERM $(cat number); "
      "sleep 0.5; kill -s TERM $(cat number); wait");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const Outcome outcome =
      eclipse_int_with_number("run session.json > pipe & exec 3< pipe\nwait $!; status=$?; cat <&3; exit $status");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_TRUE(has_ended("director"));
}

TEST_F(Interruption, EndsTheDirectorWhenNobodyReadsOutputAndErrors) {
  write_session("install");
  script(
      1,
      "sh -c 'echo $$ > director; head -c 300000 /dev/zero | tr \"\\0\" x; sleep 100' & sleep 0.5; kill -s TERM $(cat number); "
      "sleep 1; kill -s TERM $(cat number); wait");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const Outcome outcome = eclipse_int_with_number("run session.json > pipe 2>&1 & exec 3< pipe\nwait $!; exit $?");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_TRUE(has_ended("director"));
}

TEST_F(Interruption, EndsARunWhoseDocumentNobodyReads) {
  write_session("install");
  script(1, "head -c 300000 /dev/zero | tr '\\0' x");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const Outcome outcome = eclipse_int_with_number("run session.json --json --write-variables v.json > pipe & exec 3< pipe\n" +
                                                  two_signals_when_there_is("v.json"));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.error, "eclipse-int: standard output cannot be written; the work is complete, but its output is not\n");
}

TEST_F(Interruption, EndsARunWhoseLogNobodyReads) {
  write_session("install");
  script(1, "head -c 300000 /dev/zero | tr '\\0' x; echo > ended");
  ASSERT_EQ(mkfifo("log", 0600), 0);
  const Outcome outcome =
      eclipse_int_with_number("run session.json --log log > shown & exec 3<> log\n" + two_signals_when_there_is("ended"));
  EXPECT_EQ(outcome.status, 143);
  EXPECT_EQ(outcome.error, "eclipse-int: log: the log is incomplete: nobody reads it; give the log another file\n");
}

TEST_F(Interruption, LetsTheDirectorEndWhenNobodyReadsTheOutput) {
  write_session("install");
  script(1, "sleep 0.3; kill -s TERM $(cat number); head -c 300000 /dev/zero | tr '\\0' x; echo > late");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const Outcome outcome = eclipse_int_with_number("run session.json > pipe & exec 3< pipe\nwait $!; exit $?");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_EQ(outcome.error.substr(0, waiting("SIGTERM").size()), waiting("SIGTERM"));
  EXPECT_EQ(content_of("late"), "\n");
}

TEST_F(Interruption, TellsWhatIsKnownForPrograms) {
  write_session("install");
  script(1, "echo failed; exit 13");
  script(2, director_that_repeats("INT"));
  const Outcome outcome = eclipse_int_with_number("run session.json --json --log log --write-variables v.json");
  EXPECT_EQ(outcome.status, 130);
  EXPECT_EQ(outcome.error, waiting("SIGINT") + stopping);
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "interrupted");
  EXPECT_EQ(result.at("exitStatus"), 130);
  EXPECT_EQ(result.at("signal"), "SIGINT");
  EXPECT_EQ(result.at("actions").size(), 5U);
  EXPECT_EQ(result.at("actions").back(), (Json{{"name", "perform_integration"}, {"result", nullptr}}));
  ASSERT_EQ(result.at("commands").size(), 2U);
  EXPECT_EQ(result.at("commands").at(0).at("exitCode"), 13);
  const Json& running = result.at("commands").at(1);
  EXPECT_EQ(running.at("command"), "DIRECTORY/eclipse/eclipse " + install_arguments("one") + " 2>&1");
  EXPECT_EQ(running.at("output"), "begun\n");
  EXPECT_EQ(running.at("exitCode"), nullptr);
  EXPECT_EQ(result.at("log").back(), "eclipse_int: running command: " + running.at("command").get<std::string>());
  EXPECT_FALSE(result.at("variables").at("before").contains("ECLIPSE_PATH"));
  EXPECT_EQ(result.at("variables").at("after").at("ECLIPSE_PATH"), "DIRECTORY/eclipse");
  EXPECT_NE(content_of("v.json").find("\"ECLIPSE_PATH\""), std::string::npos) << "the variables are kept";
  EXPECT_TRUE(has_ended("director"));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n" + install_arguments("one") + "\n") << "no retry follows";
}

TEST_F(Interruption, TellsIt) {
  write_session("install");
  script(1, director_that_repeats("TERM"));
  const Outcome outcome = eclipse_int_with_number("run session.json");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_EQ(outcome.error, waiting("SIGTERM") + stopping);
  EXPECT_TRUE(
      outcome.output.ends_with("    begun\n"
                               "\n"
                               "Interrupted by SIGTERM\n"
                               "  The running director was stopped; changes that it had already made may remain.\n"))
      << outcome.output;
  EXPECT_TRUE(has_ended("director"));
}

TEST_F(Interruption, LetsTheQuestionForWhatIsInstalledEnd) {
  write_session("install");
  script(1, director_that_sends("INT") + " > late");
  const Outcome outcome = eclipse_int_with_number("verify session.json");
  EXPECT_EQ(outcome, (Outcome{130, "", waiting("SIGINT") + "eclipse-int: interrupted by SIGINT\n"}));
  EXPECT_EQ(content_of("late"), "late\n");
}

TEST_F(Interruption, ThatIsRepeatedEndsTheQuestionForWhatIsInstalled) {
  write_session("install");
  script(1, director_that_repeats("INT"));
  const Outcome outcome = eclipse_int_with_number("verify session.json");
  EXPECT_EQ(outcome, (Outcome{130, "", waiting("SIGINT") + stopping + "eclipse-int: interrupted by SIGINT\n"}));
  EXPECT_TRUE(has_ended("director"));
}

TEST_F(Interruption, EndsTheQuestionsOfAVerifiedRun) {
  write_session("install");
  script(1, director_that_repeats("INT"));
  const Outcome outcome = eclipse_int_with_number("run session.json --verify --json");
  EXPECT_EQ(outcome.status, 130);
  EXPECT_EQ(Json::parse(outcome.output).at("commands"), Json::array());
  EXPECT_TRUE(has_ended("director"));
  script(2, director_that_sends("INT"));
  const std::string output = eclipse_int_with_number("run session.json --verify").output;
  EXPECT_TRUE(output.ends_with(
      "\nInterrupted by SIGINT\n  No director was stopped, and no other command of the session was started.\n"))
      << output;
  EXPECT_EQ(director_calls().find(" -i "), std::string::npos) << "nothing was installed";
}

TEST_F(Interruption, AfterAVerifiedRunLosesNothingOfIt) {
  write_session("install");
  script(3, director_that_repeats("INT"));
  const Outcome outcome = eclipse_int_with_number("run session.json --verify --json");
  EXPECT_EQ(outcome.status, 2);
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "done");
  EXPECT_EQ(result.at("verification").at("errors"),
            Json::array({"after the run: SIGINT interrupted the query for installed units"}));
  EXPECT_TRUE(has_ended("director"));
}

TEST_F(Interruption, WhileTheInstanceIsAskedAfterARunChangesNothing) {
  write_session("install");
  script(3, director_that_sends("INT") + "; echo one/1; echo two/1");
  const Outcome outcome = eclipse_int_with_number("run session.json --verify --json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, waiting("SIGINT"));
  EXPECT_EQ(Json::parse(outcome.output).at("verification").at("errors"), Json::array());
}

constexpr const char* long_output = "head -c 300000 /dev/zero | tr '\\0' x; echo";

TEST_F(Interruption, WhileTheResultsAreWrittenLosesNothingOfThem) {
  write_session("install");
  script(1, long_output);
  const Outcome outcome = eclipse_int_read_late("run session.json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, "");
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "done");
  EXPECT_EQ(result.at("commands").at(0).at("output").get<std::string>().size(), 300'001U);
}

TEST_F(Interruption, ThatIsRepeatedLosesNothing) {
  write_session("install");
  script(1, std::string(long_output) + "; " + director_that_repeats("HUP"));
  const Outcome outcome = eclipse_int_read_late("run session.json");
  EXPECT_EQ(outcome.status, 129);
  EXPECT_EQ(outcome.error, waiting("SIGHUP") + stopping);
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "interrupted");
  EXPECT_EQ(result.at("signal"), "SIGHUP");
  EXPECT_TRUE(has_ended("director"));
}

TEST_F(Interruption, ThatIsIgnoredStaysIgnored) {
  write_session("install");
  script(1, "kill -s HUP $(cat number)");
  const Outcome outcome = eclipse_int_with_number("run session.json", "nohup");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("\nDone\n"), std::string::npos) << outcome.output;
}

}  // namespace

}  // namespace cli_test
