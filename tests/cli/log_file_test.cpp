#include <sys/stat.h>

#include "cli/child_command.h"

namespace cli_test {

namespace {

class LogFile : public ChildCommand {};

TEST_F(LogFile, HoldsEachLineAsItComes) {
  write_session("install");
  fake::write_file("log", "old\n");
  script(1, "cat log > seen; printf 'a\\nb'");
  EXPECT_EQ(eclipse_int("call perform_integration session.json --log log --json").status, 0);
  std::string log = content_of("log");
  for (std::size_t at; (at = log.find(directory.path())) != std::string::npos;)
    log.replace(at, directory.path().size(), "DIRECTORY");
  const std::string before_the_command =
      "eclipse_int: perform_integration entered\n"
      "eclipse_int: integrate_into_instance entered\n"
      "eclipse_int: eclipse install subdir: DIRECTORY/eclipse\n"
      "eclipse_int: found eclipse configuration: etc/eclipse/tools.txt\n"
      "eclipse_int: Repository: file://DIRECTORY/tools/site Feature: one\n"
      "eclipse_int: Repository: file://DIRECTORY/tools/site Feature: two\n"
      "eclipse_int: order: 0 feature: one\n"
      "eclipse_int: order: 1 feature: two\n"
      "eclipse_int: running command: DIRECTORY/eclipse/eclipse " +
      install_arguments("one,two") + " 2>&1\n";
  EXPECT_EQ(log, before_the_command + "eclipse_int: out: a\\nb\neclipse_int: exit code: 0\n");
  std::string seen = content_of("seen");
  for (std::size_t at; (at = seen.find(directory.path())) != std::string::npos;)
    seen.replace(at, directory.path().size(), "DIRECTORY");
  EXPECT_EQ(seen, before_the_command);
}

TEST_F(LogFile, IsNotTouchedWhenTheSessionHasAnError) {
  fake::write_file("session.json", "{}");
  fake::write_file("log", "old\n");
  EXPECT_EQ(eclipse_int("run session.json --log log").status, 2);
  EXPECT_EQ(content_of("log"), "old\n");
}

TEST_F(LogFile, IsNotMixedIntoADocument) {
  write_session("install");
  const auto refused = [](const std::string& file) {
    return "eclipse-int: --log: " + file +
           " is standard output, which --json needs for its document; give the log a file of its own\nRun with --help for "
           "more information.\n";
  };
  EXPECT_EQ(eclipse_int("run session.json --json --log /dev/stdout"), (Outcome{2, "", refused("/dev/stdout")}));
  EXPECT_EQ(eclipse_int("run session.json --json --log /dev/stdout | cat; test ! -s eclipse/calls").error,
            refused("/dev/stdout"));
  EXPECT_EQ(eclipse_int("run session.json --json --log document > document").error, refused("document"));
  EXPECT_EQ(content_of("document"), "");
  EXPECT_EQ(director_calls(), "");
  EXPECT_EQ(eclipse_int("run session.json --json --log /dev/null > /dev/null"), (Outcome{0, "", ""}));
  EXPECT_EQ(eclipse_int("run session.json --log /dev/stdout").status, 0) << "lines may stand among lines";
}

TEST_F(LogFile, OnStandardOutputNeitherEmptiesNorOverwritesIt) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const Outcome outcome = eclipse_int("run session.json --log /dev/stdout > report");
  EXPECT_EQ(outcome.status, 0);
  const std::string report = content_of("report");
  EXPECT_TRUE(report.starts_with("Session session.json\n")) << report;
  EXPECT_NE(report.find("Action perform_integration\neclipse_int: perform_integration entered\n"), std::string::npos) << report;
  EXPECT_NE(report.find("\nNothing done\n"), std::string::npos) << report;
}

TEST_F(LogFile, IsNoFifoThatNobodyReads) {
  write_session("install");
  ASSERT_EQ(mkfifo("fifo", 0600), 0);
  EXPECT_EQ(eclipse_int("run session.json --log fifo", "timeout 10"),
            (Outcome{2, "",
                     "eclipse-int: fifo: cannot open the log: it is a FIFO that no process reads; give the path of a file that "
                     "can be written\n"}));
  EXPECT_EQ(director_calls(), "");
  const Outcome outcome =
      eclipse_int("run session.json --json --log fifo > /dev/null; wait", "timeout 10 cat fifo & sleep 0.3; timeout 10");
  EXPECT_NE(outcome.output.find("eclipse_int: perform_integration entered\n"), std::string::npos) << outcome.output;
}

TEST_F(LogFile, IsNotInheritedByDirectors) {
  write_session("install");
  script(1, "ls -l /proc/$$/fd");
  const Outcome outcome = eclipse_int("run session.json --log the-log");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output.find("the-log"), std::string::npos) << outcome.output;
}

TEST_F(LogFile, ThatIsFullIsReportedAfterTheRun) {
  write_session("install");
  const Outcome outcome = eclipse_int("run session.json --log /dev/full");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.error,
            "eclipse-int: /dev/full: the log is incomplete: No space left on device; give the log another file\n");
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");

  script(2, "exit 13");
  script(4, "exit 13");
  EXPECT_EQ(eclipse_int("run session.json --log /dev/full").status, 1);
}

}  // namespace

}  // namespace cli_test
