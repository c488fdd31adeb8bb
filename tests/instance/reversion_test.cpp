#include "instance/reversion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "base/file.h"
#include "fake_host/temporary_directory.h"
#include "instance/profile_history.h"

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;

const std::string registry = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";

std::string profile(const std::string& units) { return "<profile><units>" + units + "</units></profile>"; }

const std::string one = profile("<unit id='a' version='1.0.0'/>");
const std::string two = profile("<unit id='a' version='2.0.0'/>");

class Revert : public testing::Test {
 protected:
  Revert() {
    write_state("1", one);
    write_state("2", two);
  }

  static void write_state(const std::string& time, const std::string& content) {
    fake::write_file(registry + time + ".profile", content);
  }

  static void write_director(const std::string& commands) {
    fake::write_file("ide/eclipse", "#!/bin/sh\necho \"$*\" > arguments\n" + commands + "\n");
    fs::permissions("ide/eclipse", fs::perms(0755));
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(Revert, IsDoneByTheDirector) {
  write_director("cp " + registry + "1.profile " + registry + "3.profile");
  const Reversion reversion = revert("ide/eclipse", "1", {"file:///a site"});
  EXPECT_EQ(reversion.error, "");
  EXPECT_FALSE(reversion.failure);
  const std::string arguments = eclipse_base::read_file("arguments", 10'000).bytes;
  EXPECT_TRUE(arguments.starts_with("-nosplash -nl en -application org.eclipse.equinox.p2.director -repository file:///"));
  EXPECT_TRUE(arguments.ends_with(",file:///a site -revert 1\n")) << arguments;
}

TEST_F(Revert, HasARepositoryThatCanBeLoaded) {
  write_director("repository=${7#file://}; cat \"$repository/content.xml\" \"$repository/artifacts.xml\" > loaded && cp " +
                 registry + "1.profile " + registry + "3.profile");
  EXPECT_EQ(revert("ide/eclipse", "1", {}).error, "");
  EXPECT_EQ(eclipse_base::read_file("loaded", 10'000).bytes,
            "<?xml version='1.0' encoding='UTF-8'?>\n"
            "<?metadataRepository version='1.1.0'?>\n"
            "<repository name='none' type='org.eclipse.equinox.internal.p2.metadata.repository.LocalMetadataRepository' "
            "version='1'/>\n"
            "<?xml version='1.0' encoding='UTF-8'?>\n"
            "<?artifactRepository version='1.1.0'?>\n"
            "<repository name='none' type='org.eclipse.equinox.p2.artifact.repository.simpleRepository' version='1'/>\n");
}

TEST_F(Revert, TakesTheFirstOfVeryManyRepositories) {
  write_director("cp " + registry + "1.profile " + registry + "3.profile");
  std::vector<std::string> urls;
  for (int i = 0; i < 2'000; ++i) urls.push_back("file:///" + std::string(100, 'x') + std::to_string(i));
  const Reversion reversion = revert("ide/eclipse", "1", urls);
  EXPECT_EQ(reversion.error, "");
  EXPECT_LE(reversion.command.size(), eclipse_shell::longest_command);
  EXPECT_GT(reversion.command.size(), eclipse_shell::longest_command - 200);
  EXPECT_NE(reversion.command.find(urls.front()), std::string::npos);
}

TEST_F(Revert, LeavesOutARepositoryThatIsTooLong) {
  write_director("cp " + registry + "1.profile " + registry + "3.profile");
  const Reversion reversion = revert("ide/eclipse", "1", {"file:///" + std::string(eclipse_shell::longest_command, 'x')});
  EXPECT_EQ(reversion.error, "");
  EXPECT_LE(reversion.command.size(), eclipse_shell::longest_command);
}

TEST_F(Revert, HasACommandAsLongAsCanBe) {
  write_director("cp " + registry + "1.profile " + registry + "3.profile");
  std::string url = "file:///x";
  const std::size_t size = revert("ide/eclipse", "1", {url}).command.size();
  url += std::string(eclipse_shell::longest_command - size, 'x');
  EXPECT_EQ(revert("ide/eclipse", "1", {url}).command.size(), eclipse_shell::longest_command);
}

/// The director splits the list of repositories at commas and resolves escapes.
TEST_F(Revert, HasARepositoryWithAnEscapedPath) {
  const fs::path temporary = fs::absolute("a,b%41c");
  fs::create_directory(temporary);
  for (const auto& value : {temporary.string(), std::string("a,b%41c")}) {
    const fake::PlaceOfTemporaryFiles elsewhere(value);
    write_director("cp " + registry + "1.profile " + registry + "3.profile");
    const Reversion reversion = revert("ide/eclipse", "1", {});
    EXPECT_EQ(reversion.error, "");
    const std::string arguments = eclipse_base::read_file("arguments", 10'000).bytes;
    EXPECT_NE(arguments.find(" -repository file://" + directory.path() + "/a%2Cb%2541c/eclipse-int-"), std::string::npos)
        << arguments;
    fs::remove(registry + "3.profile");
  }
}

TEST_F(Revert, ExplainsAFailure) {
  write_director("echo 'Cannot complete.'; exit 13");
  const Reversion reversion = revert("ide/eclipse", "1", {});
  EXPECT_EQ(reversion.error, "the director did not revert the profile: exit code 13");
  EXPECT_TRUE(reversion.failure);
}

TEST_F(Revert, DoesNotTrustTheDirector) {
  write_director("true");
  EXPECT_EQ(revert("ide/eclipse", "1", {}).error, "the director reports success, but these units differ: 2 other units");
  write_director("printf '<profile' > " + registry + "3.profile");
  EXPECT_EQ(revert("ide/eclipse", "1", {}).error,
            "the newest state of the p2 profile, " + directory.path() + "/" + registry + "3.profile, is not well-formed XML");
}

/// p2 goes back to the directory of the state, too: without this, it would change the Eclipse from which this one was copied.
TEST_F(Revert, StaysInTheInstance) {
  const auto at = [](const std::string& folder, const std::string& units) {
    return "<profile><properties><property name='org.eclipse.equinox.p2.installFolder' value='" + folder +
           "'/></properties><units>" + units + "</units></profile>";
  };
  const std::string here = directory.path() + "/ide";
  const std::string only_one = "<unit id='one' version='1'/>";
  fs::create_directory("original");
  write_state("1", at(directory.path() + "/original", only_one));
  write_state("2", at(here, only_one + "<unit id='two' version='1'/>"));
  write_director("touch started");
  EXPECT_EQ(revert("ide/eclipse", "1", {}).error,
            "the state 1 was written in " + directory.path() +
                "/original, from which this Eclipse was copied or moved, and p2 would change that directory");
  EXPECT_FALSE(fs::exists("started"));
  EXPECT_EQ(revert("ide/eclipse", "1", {}).command, "") << "none was run";

  // What the first director in the copy writes.
  write_state("3", at(here, only_one));
  write_state("4", at(here, only_one));
  write_state("5", at(here, only_one + "<unit id='two' version='1'/>"));
  EXPECT_EQ(same_state_here("ide", state_of_time("ide", "1"))->time, "3");
  write_state("0", at(here, "<unit id='two' version='1'/>"));
  write_state("6", at(directory.path() + "/original", "<unit id='two' version='1'/>"));
  EXPECT_FALSE(same_state_here("ide", state_of_time("ide", "6"))) << "an older one is not what it became here";
  fs::remove(registry + "6.profile");
  write_director("cp " + registry + "3.profile " + registry + "6.profile");
  const Reversion reversion = revert("ide/eclipse", "1", {});
  EXPECT_EQ(reversion.error, "");
  EXPECT_NE(reversion.command.find("-revert '3'"), std::string::npos) << reversion.command;
}

TEST_F(Revert, IsNotTriedWithoutAWayForward) {
  write_state("2", profile("<unit id='org.eclipse.equinox.p2.director.app' version='1'/>"));
  write_state("3", "<profile");
  const auto state = [](const std::string& time) { return state_of_time("ide", time); };
  EXPECT_EQ(
      why_not_revertible(state("2"), state("1")),
      "the state 1 has no director (org.eclipse.equinox.p2.director.app), so nothing could be installed or undone afterwards");
  EXPECT_EQ(why_not_revertible(state("1"), state("2")), "");
  EXPECT_EQ(why_not_revertible(state("2"), state("2")), "");
  EXPECT_EQ(why_not_revertible(state("3"), state("1")), "the state 3 of the p2 profile is not well-formed XML");
  EXPECT_EQ(why_not_revertible(state("2"), state("7")), "the state 7 of the p2 profile is not there");
}

TEST_F(Revert, SaysWhyNotInPrintableCharacters) {
  write_director("true");
  fs::rename("ide", "ide\x1B");
  const std::string states = registry.substr(std::string("ide").size());
  const auto write = [&](const std::string& time, const std::string& content) {
    fake::write_file("ide\x1B" + states + time + ".profile", content);
  };
  const auto error = [] { return revert("ide\x1B/eclipse", "1", {}).error; };
  write("2",
        "<profile><units><unit id='a&#127;' version='1'/></units><iusProperties><iuProperties id='a&#127;' version='1'>"
        "<properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>"
        "</iusProperties></profile>");
  EXPECT_EQ(error(), "the director reports success, but these units differ: - a\\x7F/1, 1 other unit");
  write("3", "<profile");
  EXPECT_EQ(error(), "the newest state of the p2 profile, " + directory.path() + "/ide\\x1B" + states +
                         "3.profile, is not well-formed XML");
  write("1",
        "<profile><properties><property name='org.eclipse.equinox.p2.installFolder' value='/a&#127;'/></properties>"
        "<units/></profile>");
  EXPECT_EQ(error(),
            "the state 1 was written in /a\\x7F, from which this Eclipse was copied or moved, and p2 would change that "
            "directory");
  const std::vector<eclipse_p2::InstalledUnit> with_director = {{"org.eclipse.equinox.p2.director.app", "1", {}}};
  const eclipse_p2::ProfileState newest{"", "2", "", false, with_director};
  EXPECT_EQ(why_not_revertible(newest, {"", "1\x1B", "is not there", false, {}}),
            "the state 1\\x1B of the p2 profile is not there");
  EXPECT_EQ(why_not_revertible(newest, {"", "1\x1B", "", false, {}}).substr(0, 33), "the state 1\\x1B has no director (");
}

}  // namespace

}  // namespace eclipse_instance
