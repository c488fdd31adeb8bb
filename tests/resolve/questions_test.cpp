// What the director is asked, of plans that the test makes, with a script as the director.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/file.h"
#include "base/text.h"
#include "fake_host/temporary_directory.h"
#include "p2/director_command.h"
#include "resolve/resolution.h"

using namespace eclipse_resolve;
using namespace eclipse_plan;

namespace {

using Texts = std::vector<std::string>;

class Questions : public testing::Test {
 protected:
  Questions() { write_director("echo 'Operation completed in 1 ms.'"); }

  /// It notes what it is to install and what to remove.
  static void write_director(const std::string& commands) {
    fake::write_file(
        "ide/eclipse",
        "#!/bin/sh\nline=; while [ $# -gt 0 ]; do case $1 in -i|-u|-repository) line=\"$line $1 $2\";; esac; shift; "
        "done\necho \"$line\" >> " +
            std::filesystem::current_path().string() + "/asked\n" + commands + "\n");
    std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0755));
  }

  /// A plan that installs these features.
  Plan plan(const Texts& features) const {
    const std::string executable = directory.path() + "/ide/eclipse";
    Plan plan;
    plan.executable = executable;
    plan.repositories = {"file:///a", "file:///b"};
    for (const std::string& feature : features) {
      PlannedRecord record;
      record.config.feature = feature;
      record.status = RecordStatus::listed;
      plan.records.push_back(record);
    }
    plan.retry_count = features.size();
    const std::string text = executable +
                             " -nosplash -application org.eclipse.equinox.p2.director -repository file:///a,file:///b -i " +
                             eclipse_base::joined(features, ",") + " 2>&1";
    plan.command = PlannedCommand{text, {}, eclipse_shell::read_as_shell(text), {}, "", 0};
    plan.command->intended = eclipse_p2::intended_words(*eclipse_p2::cut_director_command(text));
    return plan;
  }

  /// The questions, and what came of it.
  std::string asked(const Plan& plan, const eclipse_p2::UnitReplacement& update = {}) {
    std::string text;
    Progress progress;
    progress.on_question = [&](const Texts& features, std::size_t number, std::size_t most) {
      text += std::to_string(number) + "/" + std::to_string(most) + " " + eclipse_base::joined(features, " ") + "\n";
    };
    std::filesystem::remove("asked");
    resolution = resolve(plan, update, progress);
    return text + eclipse_base::read_file("asked", 10000).bytes;
  }

  const fake::TemporaryDirectory directory;
  Resolution resolution;
};

TEST_F(Questions, AreOneWhenAllResolve) {
  const std::string repositories = " -repository file:///a,file:///b";
  EXPECT_EQ(asked(plan({"f", "g"})), "1/4 f g\n" + repositories + " -i f,g\n");
  EXPECT_EQ(resolution.expected(), (Texts{"f", "g"}));
  EXPECT_TRUE(resolution.each.empty());
  EXPECT_EQ(asked(plan({"f"})), "1/1 f\n" + repositories + " -i f\n");
}

TEST_F(Questions, NameRepositoriesAsTheShellPassesThemOn) {
  Plan quoted = plan({"f"});
  quoted.repositories = {"file:///a", "\"jar:file:///my site.zip!/\""};
  quoted.command->text = quoted.executable +
                         " -nosplash -application org.eclipse.equinox.p2.director -repository "
                         "\"jar:file:///my site.zip!/\",file:///a -i f 2>&1";
  quoted.command->shell = eclipse_shell::read_as_shell(quoted.command->text);
  quoted.command->intended = quoted.command->shell.commands.front();
  EXPECT_EQ(asked(quoted), "1/1 f\n -repository jar:file:///my site.zip!/,file:///a -i f\n");
}

TEST_F(Questions, IncludeAnUpdate) {
  const eclipse_p2::UnitReplacement update{{{"old", "1"}}, {{"new", "2"}}};
  const std::string text = asked(plan({"f", "g"}), update);
  EXPECT_EQ(text.substr(0, text.find(" -repository")), "1/5 new/2\n2/5 f g\n");
  EXPECT_NE(text.find("new/2,f,g"), text.npos) << text;
  EXPECT_NE(text.find("old/1"), text.npos) << text;
  EXPECT_TRUE(resolution.update && resolution.update->resolves());
  write_director("exit 13");
  EXPECT_EQ(asked(plan({"f", "g"}), update).substr(0, 10), "1/5 new/2\n");
  EXPECT_TRUE(resolution.update_fails());
  EXPECT_FALSE(resolution.all) << "nothing else is asked";
}

TEST_F(Questions, AreOfEachFeatureWhenNotAllResolveAndThenOfThoseThatDo) {
  write_director(
      "case $line in *bad*) echo 'Installation failed.'; echo reason; exit 13;; esac; echo 'Operation completed in 1 ms.'");
  const std::string text = asked(plan({"f", "bad", "g"}));
  EXPECT_EQ(text.substr(0, text.find(" -repository")), "1/5 f bad g\n2/5 f\n3/5 bad\n4/5 g\n5/5 f g\n");
  EXPECT_EQ(resolution.expected(), (Texts{"f", "g"}));
  EXPECT_EQ(resolution.all->exit_code, 13);
  EXPECT_EQ(resolution.all->failure->causes, Texts{"reason"});
  EXPECT_EQ(resolution.each.size(), 3U);
  EXPECT_EQ(asked(plan({"bad", "f"})).substr(0, 30), "1/4 bad f\n2/4 bad\n3/4 f\n -repo") << "one alone is known";
  EXPECT_FALSE(resolution.those);
  EXPECT_EQ(asked(plan({"bad"})).substr(0, 12), "1/1 bad\n -re");
}

TEST_F(Questions, AreNotRepeatedForAnotherLayer) {
  write_director("exit 15");
  EXPECT_EQ(asked(plan({"f", "g"})).substr(0, 12), "1/4 f g\n -re");
  EXPECT_EQ(resolution.all->failure->layer, eclipse_p2::Layer::launcher);
  EXPECT_EQ(resolution.expected(), Texts());
}

TEST_F(Questions, NeedADirectorThatAnswers) {
  write_director("echo hello");
  try {
    asked(plan({"f"}));
    FAIL();
  } catch (const std::exception& error) {
    EXPECT_EQ(std::string(error.what()),
              "\"" + directory.path() +
                  "/ide/eclipse\" does not resolve anything: the answer of a director ends with \"Operation "
                  "completed in N ms.\", but its last line is \"hello\"; is this the Eclipse executable?");
  }
}

TEST_F(Questions, AreNotAskedForACommandThatIsNotRun) {
  const auto why = [&](const Plan& plan) {
    EXPECT_EQ(asked(plan), "");
    EXPECT_FALSE(resolution.was_asked());
    return resolution.not_asked;
  };
  Plan none = plan({"f"});
  none.command.reset();
  EXPECT_EQ(why(none), "the run has no command");
  none.refusal = "too old";
  EXPECT_EQ(why(none), "the run would be refused");
  EXPECT_EQ(why(plan({std::string(200'000, 'f')})), "the command is too long to be started");
  Plan missing = plan({"f"});
  missing.command->executable_error = "it is not there";
  EXPECT_EQ(why(missing), "it is not there");
  Plan changed = plan({"f"});
  changed.command->intended.push_back("more");
  EXPECT_EQ(why(changed), "the shell would change or reject the command");
}

TEST_F(Questions, OfARemovalExpectAllOrNothing) {
  Plan removal = plan({"f", "g"});
  removal.is_removal = true;
  asked(removal);
  EXPECT_TRUE(resolution.is_removal);
}

}  // namespace
