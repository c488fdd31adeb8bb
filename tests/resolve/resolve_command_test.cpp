// plan --resolve and run --resolve with a director that is a script: when it is asked for what, and what is made of its
// answers.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

const std::string unmet = "echo 'Installation failed.'; echo 'Cannot complete: ONE' >&2; exit 13";

std::string asked(const std::string& arguments) { return arguments + " -nl en -verifyOnly"; }

class Resolve : public ChildCommand {
 protected:
  static std::string profile_state() { return "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile"; }

  Json resolution(const std::string& arguments, int status) const {
    const Outcome outcome = eclipse_int(arguments + " session.json --resolve --json");
    EXPECT_EQ(outcome.status, status) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    return Json::parse(outcome.output).at("resolution");
  }
};

TEST_F(Resolve, AsksOnceWhenAllResolve) {
  write_session("install");
  write_offer();
  const Json result = resolution("plan", 0);
  EXPECT_EQ(director_calls(), asked(install_arguments("one,two")) + "\n");
  EXPECT_EQ(result.at("resolves"), true);
  EXPECT_EQ(result.at("all"), Json({{"features", {"one", "two"}}, {"resolves", true}, {"exitCode", 0}, {"failure", nullptr}}));
  EXPECT_EQ(result.at("each"), Json::array());
  EXPECT_EQ(result.at("expected"), Json({"one", "two"}));
  EXPECT_EQ(result.at("copy"), false);
}

TEST_F(Resolve, NamesTheFeaturesThatDoNotResolve) {
  write_session("install");
  script(1, unmet);
  script(2, unmet);
  const Outcome outcome = eclipse_int("plan session.json --resolve");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(director_calls(), asked(install_arguments("one,two")) + "\n" + asked(install_arguments("one")) + "\n" +
                                  asked(install_arguments("two")) + "\n");
  const std::size_t begin = outcome.output.find("\nResolution");
  ASSERT_NE(begin, std::string::npos) << outcome.output;
  const std::string text = outcome.output.substr(begin);
  EXPECT_EQ(text.substr(0, text.find("  Not checked")),
            "\nResolution (the director was asked, and changed nothing)\n"
            "  The director would not install all 2 features at once.\n"
            "  Each feature alone:\n"
            "    fails:    one\n"
            "      Why: the director failed: it could not complete the operation\n"
            "        Cannot complete: ONE\n"
            "    resolves: two\n"
            "  The run would try the features one by one and install 1 of 2.\n");
  EXPECT_NE(outcome.output.find("\n  !  one    no repository of the session offers it"), std::string::npos) << outcome.output;
  EXPECT_NE(text.find("whether one feature affects the next"), std::string::npos);
  EXPECT_NE(text.find("worked on the instance itself"), std::string::npos) << "its profile is nowhere";
}

TEST_F(Resolve, MarksTheFeaturesThatDoNotResolve) {
  write_session("install");
  write_offer();
  script(1, unmet);
  script(2, unmet);
  const Outcome outcome = eclipse_int("plan session.json --resolve");
  EXPECT_NE(outcome.output.find("  !  one  1.0.0  see what the director says below (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n"
                                "  +  two  1.0.0  "),
            std::string::npos)
      << outcome.output;
}

TEST_F(Resolve, AsksForThoseThatResolveAloneAtOnce) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo\nsite\tthree\n");
  script(1, unmet);
  script(3, unmet);
  script(5, unmet);
  const Json result = resolution("plan", 1);
  EXPECT_EQ(director_calls(), asked(install_arguments("one,two,three")) + "\n" + asked(install_arguments("one")) + "\n" +
                                  asked(install_arguments("two")) + "\n" + asked(install_arguments("three")) + "\n" +
                                  asked(install_arguments("one,three")) + "\n");
  EXPECT_EQ(result.at("those").at("features"), Json({"one", "three"}));
  EXPECT_EQ(result.at("those").at("failure").at("causes"), Json({"Cannot complete: ONE"}));
  EXPECT_EQ(result.at("expected"), nullptr) << "they conflict";
}

TEST_F(Resolve, AsksNoFurtherWhenItIsNoDirectorThatFails) {
  write_session("install");
  script(1, "exit 15");
  const Json result = resolution("plan", 1);
  EXPECT_EQ(director_calls(), asked(install_arguments("one,two")) + "\n");
  EXPECT_EQ(result.at("all").at("failure").at("layer"), "the launcher");
  EXPECT_EQ(result.at("expected"), Json::array());
}

TEST_F(Resolve, AsksForRemovals) {
  write_session("uninstall", {}, R"("installed": true, "remove": true)");
  script(1, unmet);
  script(2, unmet);
  const Json result = resolution("plan", 1);
  EXPECT_EQ(director_calls(), asked(removal_arguments("one,two")) + "\n" + asked(removal_arguments("one")) + "\n" +
                                  asked(removal_arguments("two")) + "\n");
  EXPECT_EQ(result.at("expected"), Json::array());
}

TEST_F(Resolve, LeavesTheInstanceAloneWhenItCanBeCopied) {
  write_session("install");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.profile=P\n");
  fake::write_file(profile_state(), "<profile><units/></profile>");
  script(1, R"(eval "copy=\${$#}"; test -f "$copy/config.ini" && echo "!MESSAGE no space" > "$copy/1.log"; exit 13)");
  const Outcome outcome = eclipse_int("plan session.json --resolve --json");
  EXPECT_EQ(outcome.status, 1);
  const Json result = Json::parse(outcome.output).at("resolution");
  EXPECT_EQ(result.at("copy"), true);
  EXPECT_EQ(result.at("all").at("failure").at("causes"), Json({"no space"}));
  EXPECT_EQ(result.at("all").at("failure").at("log"), nullptr) << "it goes with the copy";
  const std::string calls = director_calls();
  const std::string option = " -configuration ";
  const std::string configuration = calls.substr(calls.find(option) + option.size());
  EXPECT_EQ(calls.substr(0, calls.find(option)), asked(install_arguments("one,two")));
  EXPECT_FALSE(std::filesystem::exists(configuration.substr(0, configuration.find('\n'))));
}

/// There are so many files that the signal comes while they are copied.
TEST_F(Resolve, IsEndedByASignalWhileTheInstanceIsCopied) {
  write_session("install");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.profile=P\n");
  fake::write_file(profile_state(), "<profile><units/></profile>");
  const std::string settings = "eclipse/p2/org.eclipse.equinox.p2.engine/.settings/";
  for (int i = 0; i < 10'000; ++i) fake::write_file(settings + std::to_string(i), "");
  std::filesystem::create_directory("temporary");
  for (const std::string subcommand : {"plan", "run"}) {
    const Outcome outcome =
        eclipse_int(subcommand +
                        " --resolve session.json & "
                        "for i in $(seq 10000); do set -- temporary/*; test -e $1 && break; sleep 0.002; done\n"
                        "kill -s TERM $!; wait $!",
                    "export TMPDIR=$PWD/temporary;");
    EXPECT_EQ(outcome.status, 143) << subcommand << outcome.output << outcome.error;
    EXPECT_EQ(director_calls(), "") << subcommand;
    EXPECT_TRUE(std::filesystem::is_empty("temporary")) << subcommand;
  }
}

TEST_F(Resolve, DoesNotAskWhereTheShellWouldChangeTheCommand) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone; touch started\n");
  EXPECT_EQ(resolution("plan", 1), Json({{"notAsked", "the shell would change or reject the command"}}));
  EXPECT_EQ(Json::parse(eclipse_int("run session.json --resolve --json").output).at("refusal"),
            "the director was not asked: the shell would change or reject the command");
  EXPECT_EQ(director_calls(), "");
  EXPECT_FALSE(std::filesystem::exists("started"));
}

TEST_F(Resolve, HasNothingToAskOfASessionWithoutACommand) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  EXPECT_EQ(resolution("plan", 0), Json({{"notAsked", "the run has no command"}}));
  const Outcome run = eclipse_int("run session.json --resolve --json");
  EXPECT_EQ(run.status, 0);
  EXPECT_FALSE(Json::parse(run.output).contains("resolution"));
}

TEST_F(Resolve, RunsWhatResolves) {
  write_session("install");
  const Outcome outcome = eclipse_int("run session.json --resolve --verify --json");
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "done");
  EXPECT_EQ(result.at("resolution").at("resolves"), true);
  EXPECT_TRUE(result.contains("verification"));
  const std::string calls = director_calls();
  EXPECT_EQ(calls.substr(0, calls.find('\n')), asked(install_arguments("one,two")));
  EXPECT_NE(calls.find('\n' + install_arguments("one,two") + '\n'), std::string::npos);
}

TEST_F(Resolve, RunsNothingUnlessAllResolve) {
  write_session("install");
  script(1, unmet);
  const Outcome outcome = eclipse_int("run session.json --resolve");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("Refused: the director would not install all features\n"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("    resolves: two\n"), std::string::npos);
  EXPECT_EQ(director_calls().find(install_arguments("one,two") + '\n'), std::string::npos)
      << "a command of the session was run";
  script(4, unmet);
  const Json result = Json::parse(eclipse_int("run session.json --resolve --json").output);
  EXPECT_EQ(result.at("status"), "refused");
  EXPECT_EQ(result.at("variables").at("before"), result.at("variables").at("after"));
}

TEST_F(Resolve, IsInterrupted) {
  write_session("install");
  script(1, "kill -s TERM $(cat number); sleep 1");
  const Outcome outcome = eclipse_int("plan session.json --resolve", "sh -c 'echo $$ > number; exec \"$@\"' -");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(
      outcome.error,
      "eclipse-int: interrupted by SIGTERM; waiting for the director to end its command (interrupt again to stop it now)\n"
      "eclipse-int: interrupted by SIGTERM\n");
}

}  // namespace

}  // namespace cli_test
