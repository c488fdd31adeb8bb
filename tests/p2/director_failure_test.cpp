#include "p2/director_failure.h"

#include <gtest/gtest.h>

#include "fake_host/temporary_directory.h"

namespace eclipse_p2 {

namespace {

using eclipse_shell::CommandResult;
using Texts = std::vector<std::string>;

constexpr const char* session = "!SESSION 2026-11-20 22:56:30.118 ---\neclipse.buildId=4.26\nCommand-line arguments: -i x\n\n";

TEST(LoggedCauses, AreTheMessagesOfTheEntries) {
  const LoggedCauses causes = causes_in(std::string(session) +
                                        "!ENTRY org.eclipse.equinox.p2.metadata.repository 4 1000 2026-11-20 22:56:32.016\n"
                                        "!MESSAGE No repository found at file:///sites/none.\n\n"
                                        "!ENTRY org.eclipse.equinox.p2.core 4 0 2026-11-20 22:56:32.021\n"
                                        "!MESSAGE Unable to load repositories.\n"
                                        "!SUBENTRY 1 org.eclipse.equinox.p2.core 4 0 2026-11-20 22:56:32.021\n"
                                        "!MESSAGE No repository found at file:///sites/none.\n");
  EXPECT_EQ(causes.messages, (Texts{"No repository found at file:///sites/none.", "Unable to load repositories."}));
  EXPECT_FALSE(causes.is_application_error);
}

TEST(LoggedCauses, AreTheExceptionsThatEndedTheApplication) {
  const LoggedCauses causes = causes_in(std::string(session) +
                                        "!ENTRY org.eclipse.osgi 4 0 2026-11-20 22:56:43.901\n"
                                        "!MESSAGE Application error\n"
                                        "!STACK 1\n"
                                        "java.lang.RuntimeException: outer\n"
                                        "\tat org.example.One.run(One.java:1)\n"
                                        "Caused by: java.lang.NullPointerException: inner\n"
                                        "\t... 20 more\n");
  EXPECT_EQ(causes.messages, (Texts{"java.lang.RuntimeException: outer", "java.lang.NullPointerException: inner"}));
  EXPECT_TRUE(causes.is_application_error);
  EXPECT_FALSE(causes.is_application_missing);
}

TEST(LoggedCauses, AreThoseOfTheLastSession) {
  const std::string entry = "!ENTRY p 4 0 t\n!MESSAGE ";
  EXPECT_EQ(causes_in(session + entry + "earlier\n" + session + entry + "later\non two lines\n").messages,
            Texts{"later on two lines"});
  EXPECT_EQ(causes_in("").messages, Texts());
}

TEST(LoggedCauses, AreCountedAndCut) {
  std::string log = session;
  for (int i = 0; i < 150; ++i) {
    for (int again = 0; again < 2; ++again) log += "!ENTRY p 4 0 t\n!MESSAGE m" + std::to_string(i) + "\nmore\n";
  }
  const Texts messages = causes_in(log).messages;
  ASSERT_EQ(messages.size(), 101U);
  EXPECT_EQ(messages[99], "m99 more");
  EXPECT_EQ(messages[100], "and 50 more");
  const std::string long_line(5000, 'x');
  const Texts cut = causes_in("!MESSAGE " + long_line + "\n" + long_line + "\n!STACK 0\n" + long_line + "\n").messages;
  EXPECT_EQ(cut, Texts{long_line.substr(0, 4096) + "..."});
}

class Explaining : public testing::Test {
 protected:
  Failure explain_with_log(const CommandResult& result, const std::string& log) {
    const InstanceLogs logs("instance");
    fake::write_file("instance/configuration/2.log", log);
    return explain(result, logs);
  }

  Failure explain_without_log(const CommandResult& result) { return explain(result, InstanceLogs("instance")); }

  fake::TemporaryDirectory directory;
};

const std::string application_error = "!ENTRY org.eclipse.osgi 4 0 t\n!MESSAGE Application error\n!STACK 1\n";

TEST_F(Explaining, TheShellFails) {
  const std::string words = "sh: 1: Syntax error: Bad fd number\n";
  for (const int code : {1, 2}) {
    const Failure failure = explain_without_log({"", words, code, 0});
    EXPECT_EQ(failure.layer, Layer::shell);
    EXPECT_EQ(failure.meaning, "it rejects the command and starts nothing");
    EXPECT_EQ(failure.causes, Texts{"sh: 1: Syntax error: Bad fd number"});
    EXPECT_EQ(explain_without_log({"something ran", "", code, 0}).layer, Layer::unknown);
  }
  EXPECT_EQ(explain_without_log({"sh: 1: /opt/my: not found\n", "", 127, 0}).causes, Texts{"sh: 1: /opt/my: not found"});
  EXPECT_EQ(explain_without_log({"", "", 127, 0}).layer, Layer::shell);
  EXPECT_EQ(explain_without_log({"", "cannot start /bin/sh: Argument list too long\n", 126, 0}).causes,
            Texts{"cannot start /bin/sh: Argument list too long"});
}

TEST_F(Explaining, TheLauncherFails) {
  const Failure missing = explain_with_log(
      {"", "", 13, 0}, application_error +
                           "java.lang.RuntimeException: Application \"x\" could not be found in the registry. The "
                           "applications available are: y.\n");
  EXPECT_EQ(missing.layer, Layer::launcher);
  EXPECT_EQ(missing.meaning, "the instance has no such application");
  EXPECT_EQ(explain_without_log({"", "", 13, 0}).layer, Layer::launcher);
  EXPECT_EQ(explain_without_log({"", "Locking is not possible\n", 15, 0}).layer, Layer::launcher);
  EXPECT_EQ(explain_without_log({"<title>Invalid</title>Not writable.\n!ENTRY p 4 0 t\n",
                                 "java.io.IOException: /a\n\tat b.c\njava.io.IOException: /a\n", 15, 0})
                .causes,
            (Texts{"Invalid: Not writable.", "java.io.IOException: /a"}));
}

TEST_F(Explaining, TheDirectorFails) {
  const Failure failure =
      explain_with_log({"", "", 13, 0}, "!ENTRY org.eclipse.equinox.p2.director.app 4 0 t\n!MESSAGE no F\n");
  EXPECT_EQ(failure.layer, Layer::director);
  EXPECT_EQ(failure.causes, Texts{"no F"});
  EXPECT_EQ(failure.log, "instance/configuration/2.log");
  EXPECT_EQ(text_of(failure),
            "the director failed: it could not complete the operation\n  no F\n  Log: instance/configuration/2.log");
  const Failure broken = explain_with_log({"", "", 13, 0}, application_error + "java.lang.NullPointerException\n\tat a.b\n");
  EXPECT_EQ(broken.layer, Layer::director);
  EXPECT_EQ(broken.meaning, "it aborted with an exception and printed no reason");
  EXPECT_EQ(broken.causes, Texts{"java.lang.NullPointerException"});
}

TEST_F(Explaining, WithoutALogTheOutputTells) {
  const Failure failure = explain_without_log(
      {"Installing F.\nInstallation failed.\nno F\n\tat all\nThere were errors. See log file: x\n", "", 13, 0});
  EXPECT_EQ(failure.layer, Layer::director);
  EXPECT_EQ(failure.causes, (Texts{"no F", "\tat all"}));
}

TEST_F(Explaining, OtherCodesAreTold) {
  EXPECT_EQ(explain_without_log({"", "", 137, 0}).meaning, "signal 9 ended the command");
  EXPECT_EQ(explain_without_log({"", "", 42, 0}).layer, Layer::unknown);
  EXPECT_EQ(explain_without_log({"", "", 255, 0}).meaning, "unknown exit code");
}

TEST_F(Explaining, EachExitCodeHasItsLayerAndItsMeaning) {
  const auto text = [&](int code, const std::string& output = "", const std::string& error_output = "") {
    return text_of(explain_without_log({output, error_output, code, 0}), "; ");
  };
  const std::string rejects = "the shell failed: it rejects the command and starts nothing\n; e";
  EXPECT_EQ(text(1, "", "e\n"), rejects);
  EXPECT_EQ(text(2, "", "e\n"), rejects);
  EXPECT_EQ(text(1, "o", "e\n"), "unknown exit code\n; oe");
  EXPECT_EQ(text(1), "unknown exit code");
  EXPECT_EQ(text(3, "", "e"), "unknown exit code\n; e");
  EXPECT_EQ(text(126),
            "the shell failed: the program cannot be started: it is a directory or not executable, or the command is too long");
  EXPECT_EQ(text(127), "the shell failed: a program does not exist: the executable, or one that it starts");
  EXPECT_EQ(text(13, "o"), "the launcher failed: the application exited early and logged no reason\n; o");
  EXPECT_EQ(text(15, "o"), "the launcher failed: the instance or its configuration cannot be written\n; o");
  EXPECT_EQ(text(128), "unknown exit code");
  EXPECT_EQ(text(129), "signal 1 ended the command");
  EXPECT_EQ(text(192), "signal 64 ended the command");
  EXPECT_EQ(text(193), "unknown exit code");
  const Failure with_log = explain_with_log({"", "e", 1, 0}, "!ENTRY p 4 0 t\n");
  EXPECT_EQ(text_of(with_log), "unknown exit code\n  e\n  Log: instance/configuration/2.log");
  const Failure of_launcher = explain_with_log({"", "", 15, 0}, "!ENTRY p 4 0 t\n!MESSAGE m\n ");
  EXPECT_EQ(text_of(of_launcher),
            "the launcher failed: the instance or its configuration cannot be written\n  Log: instance/configuration/2.log");
}

TEST(TextOfFailure, HasCausesAndTheLogAndIsPrintable) {
  EXPECT_EQ(text_of({Layer::shell, "m\x1B", {}, {}}), "the shell failed: m\\x1B");
  EXPECT_EQ(text_of({Layer::launcher, "m", {"c\x1B", "d"}, "1\x1B.log"}),
            "the launcher failed: m\n  c\\x1B\n  d\n  Log: 1\\x1B.log");
}

TEST_F(Explaining, OfManyLinesTheFirstTenAndOfLongOnesTheBeginningCount) {
  std::string output;
  for (int i = 0; i < 12; ++i) output += "line " + std::to_string(i) + "\r\n\n";
  const Texts causes = explain_without_log({output, "", 42, 0}).causes;
  ASSERT_EQ(causes.size(), 10U);
  EXPECT_EQ(causes.front(), "line 0");
  EXPECT_EQ(causes.back(), "line 9");
  const std::string long_line(4096, 'x');
  EXPECT_EQ(explain_without_log({long_line, "", 42, 0}).causes, Texts{long_line});
  EXPECT_EQ(explain_without_log({long_line + "x", "", 42, 0}).causes, Texts{long_line + "..."});
  EXPECT_EQ(explain_without_log({"<title>a\n</title>b\na<title>b</title>", "", 42, 0}).causes,
            (Texts{"<title>a", "</title>b", "a<title>b</title>"}));
  EXPECT_EQ(explain_without_log({"\ttab\n!mark\ntext", "", 42, 0}).causes, Texts{"text"});
}

TEST_F(Explaining, ReasonsFollowTheLineThatSaysSo) {
  const auto causes = [&](const std::string& output) { return explain_without_log({output, "", 13, 0}).causes; };
  EXPECT_EQ(causes("before\nInstallation failed.\na\na\nb\n"), (Texts{"a", "b"}));
  EXPECT_EQ(causes("before\nInstallation failed.\n"), (Texts{"before", "Installation failed."})) << "all that there is";
}

TEST(LoggedCauses, EndWithTheNextPart) {
  const auto messages = [](const std::string& log) { return causes_in(log).messages; };
  EXPECT_EQ(messages("!MESSAGE a\n\nb\n!ENTRY\nc\n!MESSAGE d\n!SUBENTRY\ne\n"), (Texts{"a b", "d"}));
  EXPECT_EQ(messages("!MESSAGE a\n!STACK 0\nb\n\n\tat c\nRoot exception:\nCaused by: d\n!ENTRY\ne\n"), (Texts{"a", "b", "d"}));
  EXPECT_EQ(messages("!MESSAGE a\n!MESSAGE a\nmore\n"), Texts{"a"}) << "what follows a repeated one belongs to that";
  EXPECT_EQ(messages("text\n!MESSAGEa\n"), Texts());
  const auto flags = [](const std::string& log) {
    const LoggedCauses causes = causes_in(log);
    return std::to_string(causes.is_application_error) + std::to_string(causes.is_application_missing);
  };
  EXPECT_EQ(flags("!MESSAGE Application error\n!MESSAGE a\n"), "10");
  EXPECT_EQ(flags("!STACK 1\nApplication \"a\" is there\n"), "00");
  EXPECT_EQ(flags("!STACK 1\nit could not be found in the registry\n"), "00");
  EXPECT_EQ(flags("!STACK 1\nApplication \"a\" could not be found in the registry\nmore\n"), "01");
}

TEST_F(Explaining, OnlyLogsOfTheRunCount) {
  fake::write_file("instance/configuration/1.log", "!ENTRY p 4 0 t\n!MESSAGE old\n");
  fake::write_file("instance/configuration/notes.txt", "");
  const InstanceLogs logs("instance");
  EXPECT_EQ(logs.written_since(), std::nullopt);
  fake::write_file("instance/configuration/new.txt", "");
  EXPECT_EQ(logs.written_since(), std::nullopt);
  fake::write_file("instance/configuration/0.log", "");
  EXPECT_EQ(logs.written_since(), "instance/configuration/0.log");
  std::filesystem::last_write_time("instance/configuration/1.log",
                                   std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_EQ(logs.written_since(), "instance/configuration/1.log") << "the newest";
  EXPECT_EQ(InstanceLogs("missing").written_since(), std::nullopt);
}

}  // namespace

}  // namespace eclipse_p2
