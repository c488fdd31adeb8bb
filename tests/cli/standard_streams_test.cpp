#include "cli/child_command.h"

namespace cli_test {

namespace {

const std::string lost_output = "eclipse-int: standard output cannot be written; the work is complete, but its output is not\n";

class StandardStreams : public ChildCommand {
 protected:
  StandardStreams() { write_session("install"); }

  void expect_all_done() const {
    EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
    EXPECT_NE(content_of("v.json").find("\"CASHED_ECLIPSE_PATH\": "), std::string::npos);
  }
};

TEST_F(StandardStreams, AFullOutputIsToldAfterTheRun) {
  EXPECT_EQ(eclipse_int("run session.json --write-variables v.json > /dev/full"), (Outcome{2, "", lost_output}));
  expect_all_done();
}

TEST_F(StandardStreams, AFullOutputIsToldForJsonAndHelp) {
  EXPECT_EQ(eclipse_int("run session.json --json > /dev/full"), (Outcome{2, "", lost_output}));
  EXPECT_EQ(eclipse_int("run --help > /dev/full"), (Outcome{2, "", lost_output}));
  EXPECT_EQ(eclipse_int("--version > /dev/full"), (Outcome{2, "", lost_output}));
}

TEST_F(StandardStreams, AFullOutputIsToldForPlansAndVerifications) {
  write_offer();
  script(1, "echo one/1.0.0; echo two/1.0.0");
  script(2, "echo one/1.0.0; echo two/1.0.0");
  for (const std::string command : {"plan", "verify"}) {
    EXPECT_EQ(eclipse_int(command + " session.json > /dev/full"), (Outcome{2, "", lost_output})) << command;
    EXPECT_EQ(eclipse_int(command + " session.json --json > /dev/full"), (Outcome{2, "", lost_output})) << command;
  }
}

TEST_F(StandardStreams, AClosedOutputIsToldAfterTheRun) {
  EXPECT_EQ(eclipse_int("run session.json --write-variables v.json --log log >&-"), (Outcome{2, "", lost_output}));
  expect_all_done();
  EXPECT_TRUE(content_of("log").starts_with("eclipse_int: eclipse_integration_required entered\n")) << content_of("log");
  EXPECT_EQ(content_of("log").find("Session"), std::string::npos) << content_of("log");
}

TEST_F(StandardStreams, AReaderThatIsGoneDoesNotEndTheRun) {
  script(1, "sleep 0.3; echo on; echo on");
  EXPECT_EQ(eclipse_int("run session.json --write-variables v.json | true"), (Outcome{0, "", lost_output}));
  expect_all_done();
}

/// The account does not fit into two blocks, nor does the log; what the director is started with does.
TEST_F(StandardStreams, AFileThatMayGrowNoFurtherDoesNotEndTheRun) {
  const std::string limit = "ulimit -f 2;";
  Outcome outcome = eclipse_int("run session.json --log log > /dev/null", limit);
  EXPECT_EQ(outcome, (Outcome{2, "", "eclipse-int: log: the log is incomplete: File too large; give the log another file\n"}));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
  outcome = eclipse_int("run session.json --json > document", limit);
  EXPECT_EQ(outcome, (Outcome{2, "", lost_output}));
}

TEST_F(StandardStreams, AFailedRunStaysAFailedRun) {
  script(1, "exit 13");
  script(3, "exit 13");
  EXPECT_EQ(eclipse_int("run session.json > /dev/full"), (Outcome{1, "", lost_output}));
}

TEST_F(StandardStreams, AllMayBeClosed) {
  EXPECT_EQ(eclipse_int("run session.json --write-variables v.json <&- >&- 2>&-"), (Outcome{2, "", ""}));
  expect_all_done();
}

TEST_F(StandardStreams, DirectorsHaveSignalsAsUsual) {
  script(1, "trap - PIPE; yes | head -n 1; kill -s PIPE $$");
  const Outcome outcome = eclipse_int("call perform_integration session.json");
  EXPECT_NE(outcome.output.find("    y\n  Failed with exit code 141 after N s\n"), std::string::npos) << outcome.output;
  // The failed start was followed by two retries.
  script(4, "ulimit -c 0; ulimit -f 0; echo text > file");
  EXPECT_NE(eclipse_int("call perform_integration session.json").output.find("  Failed with exit code 153 after N s\n"),
            std::string::npos);
}

TEST_F(StandardStreams, ExitCodesAreKnownWhereChildrenAreIgnored) {
  script(1, "exit 13");
  const Outcome outcome = eclipse_int("call perform_integration session.json", "trap '' CHLD;");
  EXPECT_NE(outcome.output.find("  Failed with exit code 13 after N s\n"), std::string::npos) << outcome.output;
}

}  // namespace

}  // namespace cli_test
