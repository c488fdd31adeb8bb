// That two directors never work on one instance at the same time.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "cli/child_command.h"

namespace cli_test {

namespace {

const std::string command = ECLIPSE_INT_COMMAND;

class InstanceInUse : public ChildCommand {
 protected:
  InstanceInUse() {
    std::filesystem::create_directory("eclipse/configuration");
    write_session("install");
    // The first director is at work until a file says that it may end.
    script(1, "echo > begun; while [ ! -e end ]; do sleep 0.05; done; echo > ended");
  }

  /// Runs the command while the director of another one, which runs the session, is at work; it ends after so many seconds.
  Outcome eclipse_int_meanwhile(const std::string& arguments, const std::string& seconds, const std::string& meanwhile = ":") {
    Outcome outcome = eclipse_int(arguments, "( sh -c 'echo $$ > number; exec " + command +
                                                 " run session.json' > first 2>&1; echo $? >> first ) &\n"
                                                 "while [ ! -e begun ]; do sleep 0.05; done; " +
                                                 meanwhile + "; ( sleep " + seconds + "; echo > end ) > /dev/null 2>&1 &\n");
    outcome.error = std::regex_replace(outcome.error, std::regex("process [0-9]+"), "process N");
    return outcome;
  }

  /// Waits until the one that is at work has ended, and makes the next director the first one again.
  void forget_first() const {
    while (!std::regex_search(content_of("first"), std::regex("\n[0-9]+\n$"))) usleep(10'000);
    EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
    for (const char* const file : {"first", "begun", "end", "ended", "eclipse/calls"}) std::filesystem::remove(file);
  }
};

const std::string lock_file = "eclipse/configuration/.eclipse-int.lock";
const std::string fix = "; wait until it has ended, or use --wait SECONDS\n";

TEST_F(InstanceInUse, IsRefusedByEverySubcommandThatStartsADirector) {
  for (const std::string arguments : {"run session.json --log log", "verify session.json", "run --verify --json session.json",
                                      "call define_eclipse_path perform_integration session.json", "repair eclipse"}) {
    EXPECT_EQ(eclipse_int_meanwhile(arguments, "1", "echo kept > log"),
              (Outcome{2, "",
                       "eclipse-int: another director is at work on DIRECTORY/eclipse (started by process N, eclipse-int run "
                       "session.json)" +
                           fix}))
        << arguments;
    forget_first();
    EXPECT_EQ(content_of("log"), "kept\n") << "nothing was begun";
  }
}

/// The test itself has the lock, so nobody waits for a director.
TEST_F(InstanceInUse, IsRefusedAtOnceUnlessAPersonWantsToWait) {
  fake::write_file(lock_file, "1\nsomebody\n");
  const int held = open(lock_file.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
  const std::string who = "another director is at work on DIRECTORY/eclipse (started by process 1, somebody)";
  EXPECT_EQ(eclipse_int("run session.json"), (Outcome{2, "", "eclipse-int: " + who + fix}));
  EXPECT_EQ(eclipse_int("run session.json --wait 0.01"),
            (Outcome{2, "", "eclipse-int: waiting: " + who + "\neclipse-int: " + who + fix}));
  write_offer();
  EXPECT_EQ(eclipse_int("plan session.json --resolve"), (Outcome{2, "", "eclipse-int: " + who + "; wait until it has ended\n"}))
      << "which has no --wait";
  EXPECT_EQ(director_calls(), "");
  fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile", "<profile");
  EXPECT_EQ(eclipse_int("history eclipse").error,
            "eclipse-int: warning: " + who + ", so what is read of it may be half-written; repeat this when it has ended\n");
  close(held);
}

TEST_F(InstanceInUse, LastsAsLongAsTheDirector) {
  script(1, "cp " + lock_file + " during");
  eclipse_int("run session.json", "sh -c 'echo $$ > number; exec \"$@\"' -");
  EXPECT_EQ(content_of("during"), content_of("number") + "eclipse-int run session.json\n");
  EXPECT_EQ(content_of(lock_file), "");
}

TEST_F(InstanceInUse, DoesNotDisturbSubcommandsThatStartNoDirector) {
  write_offer();
  EXPECT_EQ(eclipse_int_meanwhile("plan session.json", "0.5").status, 0);
  forget_first();
  EXPECT_EQ(eclipse_int_meanwhile("call define_eclipse_path session.json", "0.5").status, 0);
  forget_first();
}

TEST_F(InstanceInUse, IsNotCalledDamagedWhileItIsWritten) {
  const std::string states = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
  fake::write_file(states + "1731234500000.profile", "<profile><units><unit id='ide' version='1.0.0'/></units></profile>");
  for (const std::string arguments : {"plan session.json", "history eclipse"}) {
    script(1, "printf '<profile' > " + states +
                  "1731234600000.profile; echo > begun; while [ ! -e end ]; do sleep 0.05; done; cp " + states +
                  "1731234500000.profile " + states + "1731234600000.profile; echo > ended");
    const Outcome outcome = eclipse_int_meanwhile(arguments, "1");
    EXPECT_EQ(outcome.error,
              "eclipse-int: warning: another director is at work on DIRECTORY/eclipse (started by process N, eclipse-int run "
              "session.json), so what is read of it may be half-written; repeat this when it has ended\n")
        << arguments;
    forget_first();
    std::filesystem::remove(states + "1731234600000.profile");
  }
}

TEST_F(InstanceInUse, IsWaitedForOnRequest) {
  script(2, "test -e ended && echo one/1 && echo two/1");
  const Outcome outcome = eclipse_int_meanwhile("verify session.json --wait 60", "0.5");
  EXPECT_EQ(outcome.status, 0) << outcome.output << outcome.error;
  EXPECT_EQ(outcome.error,
            "eclipse-int: waiting: another director is at work on DIRECTORY/eclipse (started by process N, eclipse-int run "
            "session.json)\n");
}

/// "Kill and repeat" must not make two.
TEST_F(InstanceInUse, StaysSoWhenOnlyTheCommandIsKilled) {
  const Outcome outcome = eclipse_int_meanwhile("verify session.json", "0.5", "kill -9 $(cat number); sleep 0.2");
  EXPECT_EQ(outcome,
            (Outcome{2, "",
                     "eclipse-int: another director is at work on DIRECTORY/eclipse (started by process N, which has ended, "
                     "eclipse-int run session.json)" +
                         fix}));
  script(2, "test -e ended && echo one/1 && echo two/1");
  EXPECT_EQ(eclipse_int("verify session.json --wait 60").status, 0);
}

TEST_F(InstanceInUse, AlsoWhenItIsAComponent) {
  fake::write_file("internal.json", R"({
    "mode": "install",
    "variables": {"ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "eclipse"},
    "components": [
      {"code": "ide", "installBase": ".", "installDir": "eclipse", "install": true, "capabilities": ["ECLIPSE_IDE"],
       "package": {"files": ["eclipse"]}},
      {"code": "tools", "installBase": ".", "installDir": "tools", "install": true, "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
       "package": {"scan": "tools"}}
    ]
  })");
  const Outcome outcome = eclipse_int_meanwhile("run internal.json", "0.5");
  EXPECT_EQ(outcome.status, 2) << outcome.output;
  EXPECT_NE(outcome.error.find("another director is at work on DIRECTORY/eclipse "), std::string::npos) << outcome.error;
  forget_first();
}

TEST_F(InstanceInUse, AnotherInstanceIsNotInUse) {
  std::filesystem::create_directories("other/configuration");
  std::filesystem::copy_file("eclipse/eclipse", "other/eclipse");
  EXPECT_EQ(
      eclipse_int_meanwhile("verify session.json --set USER_DEFINED_ECLIPSE_PATH=" + directory.path() + "/other/eclipse", "0")
          .status,
      1);
  forget_first();
}

TEST_F(InstanceInUse, IsNotKnownOfAnInstanceThatCannotBeLocked) {
  std::filesystem::remove("eclipse/configuration");
  std::filesystem::permissions("eclipse", std::filesystem::perms(0111));
  const std::string rights = geteuid() == 0 ? "setpriv --bounding-set -dac_override,-dac_read_search " : "";
  const Outcome outcome = eclipse_int("run session.json", rights);
  std::filesystem::permissions("eclipse", std::filesystem::perms(0755));
  EXPECT_TRUE(outcome.error.starts_with(
      "eclipse-int: warning: DIRECTORY/eclipse: cannot be locked: Permission denied; make sure that no other director works on "
      "it\n"))
      << outcome.error;
}

TEST_F(InstanceInUse, TimeToWaitIsANumberOfSeconds) {
  EXPECT_EQ(eclipse_int("run session.json --wait soon").status, 2);
  EXPECT_EQ(eclipse_int("run session.json --wait -1").status, 2);
  EXPECT_EQ(director_calls(), "");
}

}  // namespace

}  // namespace cli_test
