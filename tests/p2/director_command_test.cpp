#include "p2/director_command.h"

#include <gtest/gtest.h>

namespace eclipse_p2 {

namespace {

using Texts = std::vector<std::string>;

const std::string director = " -nosplash -application org.eclipse.equinox.p2.director ";

TEST(DirectorCommand, OfAnInstallationIsCut) {
  const auto command = cut_director_command("/opt/my ide/eclipse" + director +
                                            "-repository \"jar:file:///b.zip!/\",file:///a -i F1,F2/1.0 2>&1");
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->executable, "/opt/my ide/eclipse");
  EXPECT_FALSE(command->is_removal);
  EXPECT_EQ(command->repositories, "jar:file:///b.zip!/,file:///a");
  EXPECT_EQ(command->features, "F1,F2/1.0");
  EXPECT_EQ(command->appended_feature, "");
  EXPECT_EQ(intended_words(*command),
            (Texts{"/opt/my ide/eclipse", "-nosplash", "-application", "org.eclipse.equinox.p2.director", "-repository",
                   "jar:file:///b.zip!/,file:///a", "-i", "F1,F2/1.0"}));
}

TEST(DirectorCommand, OfARemovalIsCut) {
  const auto command = cut_director_command("/e" + director + "-u F1,F2 2>&1");
  ASSERT_TRUE(command.has_value());
  EXPECT_TRUE(command->is_removal);
  EXPECT_EQ(command->repositories, "");
  EXPECT_EQ(command->features, "F1,F2");
  EXPECT_EQ(intended_words(*command),
            (Texts{"/e", "-nosplash", "-application", "org.eclipse.equinox.p2.director", "-u", "F1,F2"}));
}

TEST(DirectorCommand, OfARemovalThatIsRetriedHasAnAppendedFeature) {
  const auto command = cut_director_command("/e" + director + "-u F1,F2 2>&1F2 2>&1");
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->features, "F1,F2");
  EXPECT_EQ(command->appended_feature, "F2");
}

TEST(DirectorCommand, MayHaveOptionsInItsValues) {
  const auto command = cut_director_command("/e" + director + "-repository file:///a -i b -i F 2>&1");
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->repositories, "file:///a -i b");
  EXPECT_EQ(command->features, "F");
}

TEST(DirectorCommand, IsWhatInstallsOrRemoves) {
  for (const std::string command : {"", "/e -i F 2>&1", "/e -nosplash -application org.eclipse.equinox.p2.director"}) {
    EXPECT_EQ(cut_director_command(command), std::nullopt) << command;
  }
  for (const std::string options : {"", "-listInstalledRoots", "-repository file:///a", "-i F 2>&1", "-repository -i F 2>&1"}) {
    EXPECT_EQ(cut_director_command("/e" + director + options), std::nullopt) << options;
  }
}

TEST(DirectorCommand, ThatListsRootsQuotesTheExecutable) {
  EXPECT_EQ(list_roots_command("/my ide/it's"),
            "'/my ide/it'\\''s' -nosplash -nl en -application org.eclipse.equinox.p2.director -listInstalledRoots");
}

TEST(DirectorCommand, ThatOnlyVerifiesQuotesEveryWord) {
  const DirectorCommand command{
      .executable = "/my ide/e", .repositories = "file:///a b,jar:file:///c.zip!/", .features = "F1,F2"};
  const std::string words =
      "'/my ide/e' '-nosplash' '-application' 'org.eclipse.equinox.p2.director' '-repository' "
      "'file:///a b,jar:file:///c.zip!/' '-i' 'F1,F2' '-nl' 'en' '-verifyOnly'";
  EXPECT_EQ(verify_only_command(command, ""), words + " 2>&1");
  EXPECT_EQ(verify_only_command(command, "/tmp/it's"), words + " '-configuration' '/tmp/it'\\''s' 2>&1");
}

TEST(DirectorCommand, OfOurOwnIsQuotedWhereItMustBe) {
  const std::string director_of_ours = " -nosplash -nl en -application org.eclipse.equinox.p2.director -repository ";
  const std::string back = revert_command("/opt/my ide/eclipse", {"file:///a", "jar:file:///b.zip!/"}, "1731234567890");
  EXPECT_EQ(back, "'/opt/my ide/eclipse'" + director_of_ours + "'file:///a,jar:file:///b.zip!/' -revert '1731234567890' 2>&1");
  const std::string update = replace_command("/e", {"file:///a"}, {{{"x", "1.0.0"}, {"y", "1"}}, {{"x", "2.0.0"}, {"y", "2"}}});
  EXPECT_EQ(update, "/e" + director_of_ours + "file:///a -u 'x/1.0.0,y/1' -i 'x/2.0.0,y/2' 2>&1");
  EXPECT_EQ(executable_started_by(back), "/opt/my ide/eclipse");
  EXPECT_EQ(executable_started_by(update), "/e");
  EXPECT_EQ(executable_started_by("/opt/my ide/eclipse" + director + "-u F1 2>&1"), "/opt/my ide/eclipse");
  EXPECT_EQ(executable_started_by("/bin/true"), "");
  EXPECT_FALSE(cut_director_command(back)) << "it is no command of the plug-in";
  EXPECT_FALSE(cut_director_command(update));
}

TEST(DirectorCommand, StartsOneDirectorUnlessTheShellMakesMoreOfIt) {
  EXPECT_TRUE(starts_one_director("/e" + director + "-repository file:///a -i F1,F2 2>&1"));
  EXPECT_TRUE(starts_one_director("/e" + director + "-u F1 2>&1"));
  EXPECT_FALSE(starts_one_director("/bin/true"));
  EXPECT_FALSE(starts_one_director("/my ide/e" + director + "-i F1 2>&1")) << "the executable is two words";
  EXPECT_FALSE(starts_one_director("/e" + director + "-i F1,$FEATURE 2>&1"));
  EXPECT_FALSE(starts_one_director("/e" + director + "-repository file:///a;true -i F1 2>&1"));
}

}  // namespace

}  // namespace eclipse_p2
