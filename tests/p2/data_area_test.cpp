#include "p2/data_area.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "p2/profile.h"

namespace eclipse_p2 {

namespace {

namespace fs = std::filesystem;

const std::string configuration = "ide/configuration/config.ini";

class DataAreaOf : public testing::Test {
 protected:
  DataAreaOf() { fs::create_directory("ide"); }

  static DataArea with(const std::string& lines) {
    fake::write_file(configuration, lines);
    return data_area_of("ide");
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(DataAreaOf, AnInstanceIsInItUnlessItsConfigurationSaysOtherwise) {
  EXPECT_EQ(data_area_of("ide").directory, "ide/p2");
  for (const std::string line : {"", "eclipse.p2.data.area=@config.dir/../p2", "eclipse.p2.data.area = @config.dir/../p2/\r",
                                 "#eclipse.p2.data.area=/p2", "eclipse.p2.data.area.other=/p2"}) {
    const DataArea area = with("eclipse.p2.profile=P\n" + line + "\n");
    EXPECT_EQ(area.directory, "ide/p2") << line;
    EXPECT_TRUE(area.is_inside) << line;
    EXPECT_EQ(area.reason, "") << line;
  }
}

TEST_F(DataAreaOf, AnInstanceIsWhereItsConfigurationSays) {
  const std::vector<std::pair<std::string, std::string>> known = {
      {"@config.dir/../p2b", "ide/p2b"}, {"@config.dir/p2", "ide/configuration/p2"}, {"@config.dir/../../p2/", "ide/../p2"},
      {"/home/me/.p2/", "/home/me/.p2"}, {"file\\:/home/me/.p2", "/home/me/.p2"},    {"file:///home/me/a b", "/home/me/a b"}};
  for (const auto& [value, place] : known) {
    const DataArea area = with("eclipse.p2.data.area=" + value + "\n");
    EXPECT_EQ(area.directory, place) << value;
    EXPECT_FALSE(area.is_inside) << value;
    EXPECT_EQ(area.reason, "") << value;
  }
}

TEST_F(DataAreaOf, AnInstanceIsNotKnownIfItDependsOnWhoStartsIt) {
  for (const std::string value :
       {"@user.home/.p2", "@user.dir", "@none", "p2", "file:p2", "/a%41", "/h\\u00e4", "@config.dirs/p2"}) {
    const DataArea area = with("eclipse.p2.data.area=" + value + "\n");
    EXPECT_EQ(area.directory, "") << value;
    EXPECT_FALSE(area.is_inside) << value;
    EXPECT_EQ(area.reason, configuration + " has eclipse.p2.data.area=" + value);
  }
  EXPECT_EQ(with("osgi.configuration.area=@user.home/.ide\\:1\n").reason,
            configuration + " has osgi.configuration.area=@user.home/.ide:1");
}

TEST_F(DataAreaOf, AnInstanceIsNotKnownIfAnArgumentOfTheLauncherMayMoveIt) {
  for (const char* const other : {"a.so", "b.xml", "studio.ini", "y.so", "z.xml"}) {
    fake::write_file(std::string("ide/") + other, "-install\n");
  }
  for (const std::string argument : {"-configuration", "-install", "-Dosgi.configuration.area=/c", "-Dosgi.install.area=/i",
                                     "-Dosgi.configuration.area.default=/c", "-Declipse.p2.data.area=/p2"}) {
    fake::write_file("ide/studio.ini", "-startup\nx.jar\n" + argument + "\r\n/elsewhere\n");
    EXPECT_EQ(data_area_of("ide").directory, "") << argument;
    EXPECT_FALSE(data_area_of("ide").is_inside) << argument;
    EXPECT_EQ(data_area_of("ide").reason, "ide/studio.ini has " + argument);
  }
  fake::write_file("ide/studio.ini",
                   "-startup\nx.jar\n\n-vmargs\n-Xmx1g\n-Declipse.p2.max.threads=10\n"
                   "-Declipse.p2.data.are=/p2\n-Dosgi.install.are=/i\n-Dosgi.configuration.are=/c\n");
  EXPECT_EQ(data_area_of("ide").directory, "ide/p2");
}

/// Who may do everything takes the identity of somebody else.
TEST_F(DataAreaOf, AnInstanceThatCannotBeWrittenIsNotKnown) {
  fs::permissions(".", fs::perms(0755));
  fs::permissions("ide", fs::perms(0555));
  const uid_t user = geteuid();
  if (user == 0) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const DataArea area = data_area_of("ide");
  ASSERT_EQ(seteuid(user), 0);
  fs::permissions("ide", fs::perms(0755));
  EXPECT_EQ(area.directory, "");
  EXPECT_EQ(area.reason, "ide cannot be written by this user, whose director has a p2 profile in the home directory");
}

TEST_F(DataAreaOf, AnInstanceHasTheProfile) {
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/2.profile", "<profile/>");
  fake::write_file("shared/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile", "<profile/>");
  with("eclipse.p2.data.area=@config.dir/../../shared\neclipse.p2.profile=P\n");
  ASSERT_EQ(profile_states("ide").size(), 1U);
  EXPECT_EQ(time_of_state(profile_states("ide").front()), "1");
  with("eclipse.p2.data.area=@user.home/.p2\neclipse.p2.profile=P\n");
  EXPECT_TRUE(profile_states("ide").empty());
  const std::string reason = configuration + " has eclipse.p2.data.area=@user.home/.p2";
  EXPECT_EQ(profile_units_error("ide"), reason);
  EXPECT_EQ(why_no_profile("ide"), "has a p2 profile that cannot be found: " + reason);
  with("eclipse.p2.profile=Q\n");
  EXPECT_EQ(why_no_profile("ide"), "has no p2 profile of its own");
}

}  // namespace

}  // namespace eclipse_p2
