#include "instance/run_journal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "base/file.h"
#include "base/file_error.h"
#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;

const std::string file = "ide/configuration/.eclipse-int.runs.json";

std::string error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const eclipse_base::FileError& error) {
    return error.what();
  }
  return "";
}

class RunJournalFile : public testing::Test {
 protected:
  RunJournalFile() { fs::create_directories("ide/configuration"); }

  static void write_state(const std::string& time, const std::string& content = "<profile/>") {
    fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/" + time + ".profile", content);
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(RunJournalFile, KeepsRuns) {
  EXPECT_TRUE(read_run_journal("ide").runs.empty());
  EXPECT_EQ(read_run_journal("ide").error, "");
  record_run("ide", {"eclipse-int run a", "1", "2", "", {"file:///a", "file:///b"}, {}, "/opt/eclipse", "/v.json"});
  record_run("ide", {"eclipse-int undo", "2", "3", "1", {"file:///c", "file:///a"}, "/opt/eclipse", {}, ""});
  const RunJournal journal = read_run_journal("ide");
  ASSERT_EQ(journal.runs.size(), 2U);
  EXPECT_EQ(journal.runs[0].command, "eclipse-int run a");
  EXPECT_EQ(journal.runs[0].cached_before, std::nullopt);
  EXPECT_EQ(journal.runs[0].cached_after, "/opt/eclipse");
  EXPECT_EQ(journal.runs[0].variables_file, "/v.json");
  EXPECT_EQ(journal.runs[1].reverted_to, "1");
  EXPECT_EQ(journal.runs[1].cached_before, "/opt/eclipse");
  EXPECT_EQ(journal.runs[1].cached_after, std::nullopt);
  EXPECT_EQ(journal.run_that_left("3"), &journal.runs[1]);
  EXPECT_EQ(journal.run_that_left("1"), nullptr);
  EXPECT_EQ(journal.repositories(), (std::vector<std::string>{"file:///c", "file:///a", "file:///b"}));
}

TEST_F(RunJournalFile, KeepsNotMoreThanTheNewestRuns) {
  for (std::size_t i = 0; i <= most_recorded_runs; ++i) record_run("ide", {"run", std::to_string(i), "x", "", {}});
  const RunJournal journal = read_run_journal("ide");
  ASSERT_EQ(journal.runs.size(), most_recorded_runs);
  EXPECT_EQ(journal.runs.front().before, "1");
}

TEST_F(RunJournalFile, IsMadeAnewWhenItCannotBeRead) {
  fake::write_file(file, "{\"runs\": [{}]}");
  EXPECT_NE(read_run_journal("ide").error.find(file + ":1:11: runs[0]: "), std::string::npos) << read_run_journal("ide").error;
  record_run("ide", {"run", "1", "2", "", {}});
  EXPECT_EQ(read_run_journal("ide").runs.size(), 1U);
}

TEST_F(RunJournalFile, KnowsARunThatWasKilled) {
  write_state("1");
  record_beginning("ide", {"killed", "1", "", "", {}});
  EXPECT_TRUE(read_run_journal("ide").runs.empty()) << "it has made no state";
  write_state("2");
  const RunJournal journal = read_run_journal("ide");
  ASSERT_EQ(journal.runs.size(), 1U);
  EXPECT_EQ(journal.runs[0].after, "2");
  EXPECT_FALSE(journal.runs[0].is_completed);

  record_beginning("ide", {"next", "2", "", "", {}});
  write_state("3");
  record_run("ide", {"next", "2", "3", "", {}});
  const auto runs = read_run_journal("ide").runs;
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].after, "2") << "what the next run found";
  EXPECT_FALSE(runs[0].is_completed);
  EXPECT_EQ(runs[1].after, "3");
  EXPECT_TRUE(runs[1].is_completed);
}

/// Somebody else has worked on the instance since then.
TEST_F(RunJournalFile, OfARunThatWasKilledKnowsWhatItAskedFor) {
  const std::string registry = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
  const auto write_state = [&](const std::string& time, const std::vector<std::string>& roots) {
    std::string units;
    std::string properties;
    for (const std::string& root : roots) {
      units += "<unit id='" + root + "' version='1.0.0'/>";
      properties +=
          "<iuProperties id='" + root +
          "' version='1.0.0'><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties>"
          "</iuProperties>";
    }
    fake::write_file(registry + time + ".profile",
                     "<profile><units>" + units + "</units><iusProperties>" + properties + "</iusProperties></profile>");
  };
  write_state("1", {});
  RecordedRun killed{"killed", "1", "", "", {}};
  killed.units = {"own", "another"};
  record_beginning("ide", killed);
  write_state("2", {"foreign"});
  EXPECT_TRUE(read_run_journal("ide").runs.empty());
  write_state("2", {"another"});
  write_state("3", {"own"});
  write_state("4", {"own", "foreign"});
  write_state("5", {"own"});
  ASSERT_EQ(read_run_journal("ide").runs.size(), 1U);
  EXPECT_EQ(read_run_journal("ide").runs[0].after, "3");
  EXPECT_EQ(read_run_journal("ide").runs[0].units, killed.units);

  record_run("ide", {"undo", "5", "6", "1", {}});
  const auto runs = read_run_journal("ide").runs;
  ASSERT_EQ(runs.size(), 2U) << "a run does not replace the beginning of another one";
  EXPECT_EQ(runs[0].command, "killed");
  EXPECT_EQ(runs[0].after, "3");
}

TEST_F(RunJournalFile, OfARunThatWasKilledHasWhatTheNextOneFound) {
  write_state("1");
  record_beginning("ide", {"killed", "1", "", "", {}});
  write_state("2");
  write_state("3");
  record_run("ide", {"next", "2", "3", "", {}});
  const auto runs = read_run_journal("ide").runs;
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].after, "2");
}

TEST_F(RunJournalFile, OfARunThatWasKilledHasNoStateOfTheNextOne) {
  write_state("1");
  record_beginning("ide", {"killed", "1", "", "", {}});
  record_beginning("ide", {"next", "1", "", "", {}});
  write_state("2");
  record_run("ide", {"next", "1", "2", "", {}});
  const auto runs = read_run_journal("ide").runs;
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_EQ(runs[0].command, "next");
}

/// It is one that a director left when it was killed.
TEST_F(RunJournalFile, OfARunThatWasKilledHasAStateThatCannotBeRead) {
  const std::string own_unit =
      "<units><unit id='own' version='1'/></units><iusProperties><iuProperties id='own' version='1'><properties>"
      "<property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties></iusProperties>";
  RecordedRun killed{"killed", "1", "", "", {}};
  killed.units.emplace();
  write_state("2");
  record_beginning("ide", killed);
  EXPECT_TRUE(read_run_journal("ide").runs.empty()) << "the state before it is gone, so what it changed is not known";
  write_state("1", "<profile>" + own_unit + "</profile>");
  write_state("2", "<profile");
  ASSERT_EQ(read_run_journal("ide").runs.size(), 1U);
  EXPECT_EQ(read_run_journal("ide").runs[0].after, "2");
  write_state("3", "<profile>" + own_unit + "</profile>");
  EXPECT_EQ(read_run_journal("ide").runs[0].after, "3");
}

TEST_F(RunJournalFile, KnowsWhatARunDidNotAskFor) {
  RecordedRun run{"run", "1", "2", "", {}};
  const eclipse_p2::UnitChange change{
      {{"own", "2"}, {"foreign", "2"}}, {{"own", "1"}}, {{"a", "1"}, {"own", "2"}}, {{"b", "1"}}, 3, 4};
  EXPECT_TRUE(run.not_asked_for(change).is_empty()) << "it is not known for what";
  run.units = {"own", "b"};
  const eclipse_p2::UnitChange others = run.not_asked_for(change);
  EXPECT_EQ(others.installed, (std::vector<eclipse_p2::Unit>{{"foreign", "2"}}));
  EXPECT_TRUE(others.removed.empty());
  EXPECT_EQ(others.now_by_name, (std::vector<eclipse_p2::Unit>{{"a", "1"}}));
  EXPECT_TRUE(others.no_longer_by_name.empty());
  EXPECT_EQ(others.others_installed + others.others_removed, 0U);
}

TEST_F(RunJournalFile, IsSharedByAllWhoMayWriteTheConfiguration) {
  fs::permissions("ide/configuration", fs::perms(0775));
  const mode_t before = umask(077);
  const int next = dup(STDIN_FILENO);
  close(next);
  record_run("ide", {"run", "1", "2", "", {}});
  umask(before);
  const int after = dup(STDIN_FILENO);
  close(after);
  EXPECT_EQ(after, next) << "no file stays open";
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0664));
}

/// Its owner still has it.
TEST_F(RunJournalFile, IsNotSetAsideByAnotherUserWhoMayNotReadIt) {
  record_run("ide", {"run", "1", "2", "", {}});
  fs::permissions(".", fs::perms(0755));
  fs::permissions(file, fs::perms::none);
  {
    const fake::NotAdministrator not_administrator;
    EXPECT_EQ(error_of([] { set_unreadable_journal_aside("ide"); }),
              file + ": cannot be read: Permission denied; make it readable for this user");
  }
  EXPECT_TRUE(fs::exists(file));
}

TEST_F(RunJournalFile, ForgetsARunThatMadeNoState) {
  record_run("ide", {"run", "1", "2", "", {}});
  record_beginning("ide", {"nothing to do", "2", "", "", {}});
  forget_beginning("ide");
  write_state("2");
  write_state("3");
  const auto runs = read_run_journal("ide").runs;
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_EQ(runs[0].command, "run");
  fs::remove(file);
  forget_beginning("ide");
  EXPECT_FALSE(fs::exists(file)) << "there is nothing to forget";
}

TEST_F(RunJournalFile, ABeginningDoesNotReplaceWhatCannotBeRead) {
  fake::write_file(file, "{");
  record_beginning("ide", {"run", "1", "", "", {}});
  EXPECT_EQ(eclipse_base::read_file(file, 100).bytes, "{");
}

TEST_F(RunJournalFile, IsKeptWhenItCannotBeRead) {
  EXPECT_EQ(set_unreadable_journal_aside("ide"), "");
  record_run("ide", {"run", "1", "2", "", {}});
  EXPECT_EQ(set_unreadable_journal_aside("ide"), "");
  for (const std::string number : {"", ".2"}) {
    fake::write_file(file, "{" + number);
    EXPECT_EQ(set_unreadable_journal_aside("ide"), file + ".damaged" + number);
    EXPECT_EQ(eclipse_base::read_file(file + ".damaged" + number, 100).bytes, "{" + number);
  }
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(RunJournalFile, DoesNotFollowALink) {
  record_run("ide", {"run", "1", "2", "", {}});
  fs::rename(file, "other");
  const std::string content = eclipse_base::read_file("other", 1000).bytes;
  fs::create_symlink(fs::absolute("other"), file);
  const std::string error = file + ": is a symlink, so no run is recorded; remove it";
  EXPECT_EQ(read_run_journal("ide").error, error);
  EXPECT_EQ(error_of([] { record_run("ide", {"run", "1", "2", "", {}}); }), error);
  EXPECT_EQ(error_of([] { set_unreadable_journal_aside("ide"); }), error);
  EXPECT_EQ(eclipse_base::read_file("other", 1000).bytes, content);
}

}  // namespace

}  // namespace eclipse_instance
