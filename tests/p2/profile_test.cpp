// That the right state of the right profile is read.
#include "p2/profile.h"

#include <gtest/gtest.h>

#include <map>

#include <filesystem>

#include "fake_host/temporary_directory.h"
#include "p2/instance_paths.h"
#include "shell/command_runner.h"

using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace {

class Profile : public testing::Test {
 protected:
  static std::string registry() { return "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/"; }

  static void write_state(const std::string& file, const std::string& id) {
    fake::write_file(registry() + file, "<profile><units><unit id='" + id + "' version='1.0.0'/></units></profile>");
  }

  /// The id of the one unit that the profile has; empty when no profile can be read.
  static std::string unit() {
    const auto units = profile_units("ide");
    return units && units->size() == 1 ? units->front().id : "";
  }

  fake::TemporaryDirectory directory;
};

/// What is there could be the file of somebody else, which a repair would rename.
TEST_F(Profile, IsNeverOutsideTheDataArea) {
  write_state("P.profile/1.profile", "one");
  write_state("a=b.profile/1.profile", "two");
  fake::write_file("other.profile/1.profile", "<profile><units><unit id='other' version='1'/></units></profile>");
  const std::string absolute = directory.path() + "/other";
  for (const std::string name : {"../../../../other", "a/../P", "/other", "", "P%47;", "P\\u0041", absolute.c_str()}) {
    fake::write_file("ide/configuration/config.ini", "eclipse.p2.profile=" + name + "\n");
    EXPECT_EQ(profile_states("ide"), std::vector<fs::path>()) << name;
    EXPECT_EQ(profile_file("ide"), "") << name;
    const std::string reason =
        "ide/configuration/config.ini has eclipse.p2.profile=" + name + ", which is not a plain file name; correct it";
    EXPECT_EQ(profile_units_error("ide"), reason);
    EXPECT_EQ(why_no_profile("ide"), "has a p2 profile that cannot be found: " + reason);
  }
  for (const auto& [name, id] : {std::pair("P", "one"), {"a\\=b", "two"}}) {
    fake::write_file("ide/configuration/config.ini", std::string("eclipse.p2.profile=") + name + "\n");
    EXPECT_EQ(unit(), id);
  }
}

TEST_F(Profile, ThatIsNamedAndHasNoStateIsMissing) {
  const auto missing = [] {
    const auto found = missing_profile("ide");
    return found ? found->message + "; " + found->fix : "";
  };
  fake::write_file("ide/configuration/config.ini", "a=b\n");
  EXPECT_EQ(missing(), "") << "none is named";
  fake::write_file("ide/configuration/config.ini", "eclipse.p2.profile=a\\=b\n");
  const std::string begin = "ide/configuration/config.ini names the profile \"a=b\", but ide/p2 ";
  const std::string again = "; install Eclipse again, together with its directory p2";
  EXPECT_EQ(missing(), begin + "does not exist" + again);
  fs::create_directories(registry());
  EXPECT_EQ(missing(), begin + "has none" + again);
  write_state("P.profile/1.profile", "one");
  EXPECT_EQ(missing(), begin + "has only \"P\"; write eclipse.p2.profile=P into that file");
  write_state("Q.profile/1.profile", "one");
  EXPECT_EQ(missing(), begin + "has only \"P\", \"Q\"; write the name of the right one into that file");
  write_state("a=b.profile/1.profile", "one");
  EXPECT_EQ(missing(), "");
  fs::remove_all(registry() + "a=b.profile");
  fake::write_file("ide/configuration/config.ini", "eclipse.p2.profile=a/b\n");
  EXPECT_EQ(missing(), "") << "that is another mistake";
}

TEST_F(Profile, HasFilesThatAreNoStates) {
  using Paths = std::vector<fs::path>;
  for (const std::string name : {"1.profile", "2.profile.gz", "x.profile", "12a.profile.gz", ".profile", "1.profile.damaged",
                                 "3.profile.gz.damaged", "2.profile.damaged.2", "x.profile.damaged", "readme"}) {
    write_state("P.profile/" + name, "one");
  }
  fs::create_directory(registry() + "P.profile/d.profile");
  const std::string profile = registry() + "P.profile/";
  EXPECT_EQ(misnamed_states("ide"), (Paths{profile + ".profile", profile + "12a.profile.gz", profile + "x.profile"}));
  EXPECT_EQ(states_aside("ide"),
            (Paths{profile + "3.profile.gz.damaged", profile + "2.profile.damaged.2", profile + "1.profile.damaged"}));
  EXPECT_EQ(misnamed_states("elsewhere"), Paths());
  EXPECT_EQ(states_aside("elsewhere"), Paths());
}

TEST_F(Profile, StatesHaveDates) {
  EXPECT_EQ(date_of("1731234567890"), "2024-11-10 10:29:27 UTC");
  EXPECT_EQ(date_of("999"), "1970-01-01 00:00:00 UTC");
  EXPECT_EQ(date_of("1000"), "1970-01-01 00:00:01 UTC");
  EXPECT_EQ(date_of("9223372036854775807"), "292278994-08-17 07:12:55 UTC");
}

TEST_F(Profile, BelongsToTheEclipseInADirectory) {
  fs::create_directory("ide");
  const fs::path here = fs::current_path();
  EXPECT_EQ(executable_named("ide"), here / "ide/eclipse");
  EXPECT_EQ(executable_named("ide/"), here / "ide/eclipse");
  EXPECT_EQ(executable_named("./ide/../ide/studio"), here / "ide/studio");
}

TEST_F(Profile, TellsItsUnitsAndWhatRequiresThem) {
  fake::write_file(registry() + "P.profile/1.profile", R"(<?xml version='1.0' encoding='UTF-8'?>
    <?profile version='1.0.0'?>
    <profile id='P'><properties/><units size='6'>
      <unit id='feature' version='1.0.0'><requires>
        <required namespace='org.eclipse.equinox.p2.iu' name='bundle' range='[1.0.0,1.0.0]'/>
        <required namespace='osgi.bundle' name='bundle' range='0.0.0'/>
        <required namespace='org.eclipse.equinox.p2.iu' name='extra' optional='true'/>
      </requires></unit>
      <unit id='bundle' version='1.0.0.v1'><requires><required namespace='osgi.bundle' name='bundle'/></requires></unit>
      <unit id='extra' version='2.0.0'><requires><required namespace='osgi.bundle' name='bundle'/></requires></unit>
      <unit id='fragment' version='1.0.0'><hostRequirements/><requires>
        <required namespace='osgi.bundle' name='bundle'/>
      </requires></unit>
      <unit id='importer' version='1.0.0'><requires><required namespace='java.package' name='bundle'/></requires></unit>
      <unit id='nameless' version='1.0.0'><requires><required name='bundle'/></requires></unit>
    </units><iusProperties size='3'>
      <iuProperties id='feature' version='1.0.0'><properties size='2'>
        <property name='org.eclipse.equinox.p2.internal.inclusion.rules' value='STRICT'/>
        <property name='org.eclipse.equinox.p2.type.root' value='true'/>
      </properties></iuProperties>
      <iuProperties id='extra' version='1.0.0'><properties size='1'>
        <property name='org.eclipse.equinox.p2.type.root' value='true'/>
      </properties></iuProperties>
      <iuProperties id='importer' version='1.0.0'><properties size='1'>
        <property name='org.eclipse.equinox.p2.type.root' value='false'/>
      </properties></iuProperties>
    </iusProperties></profile>)");
  const auto units = profile_units("ide");
  ASSERT_TRUE(units.has_value());
  ASSERT_EQ(units->size(), 6U);
  using Texts = std::vector<std::string>;
  EXPECT_EQ(units->at(0).required_by.get(), Texts());
  EXPECT_EQ(units->at(1).id, "bundle");
  EXPECT_EQ(units->at(1).version, "1.0.0.v1");
  EXPECT_EQ(units->at(1).required_by.get(), (Texts{"feature", "extra"}))
      << "a package that is called as the bundle is another thing";
  EXPECT_EQ(units->at(2).required_by.get(), Texts()) << "what is optional does not keep it there";
  for (const InstalledUnit& unit : *units) EXPECT_EQ(unit.is_root, unit.id == "feature") << unit.id;
}

TEST_F(Profile, RootsPinWhatTheyRequireInOneVersion) {
  fake::write_file(registry() + "P.profile/1.profile", R"(<profile><units>
      <unit id='root' version='1.0.0'><requires>
        <required namespace='org.eclipse.equinox.p2.iu' name='exact' range='[1.0.0,1.0.0]'/>
        <required namespace='org.eclipse.equinox.p2.iu' name='ranged' range='[1.0.0,2.0.0)'/>
        <required namespace='org.eclipse.equinox.p2.iu' name='optional' range='[1.0.0,1.0.0]' optional='true'/>
        <required namespace='org.eclipse.equinox.p2.iu' name='patched' range='[1.0.0,1.0.0]'/>
      </requires></unit>
      <unit id='exact' version='1.0.0'><requires>
        <required namespace='org.eclipse.equinox.p2.iu' name='deeper' range='[1.0.0,1.0.0]'/>
      </requires></unit>
      <unit id='ranged' version='1.0.0'/><unit id='optional' version='1.0.0'/><unit id='deeper' version='1.0.0'/>
      <unit id='patched' version='1.0.1'/>
    </units><iusProperties><iuProperties id='root' version='1.0.0'><properties>
      <property name='org.eclipse.equinox.p2.type.root' value='true'/>
    </properties></iuProperties></iusProperties></profile>)");
  const auto units = profile_units("ide");
  ASSERT_TRUE(units.has_value());
  std::map<std::string, std::string> pinned;
  for (const InstalledUnit& unit : *units) pinned[unit.id] = unit.pinned_by;
  EXPECT_EQ(pinned, (std::map<std::string, std::string>{
                        {"root", ""}, {"exact", "root"}, {"ranged", ""}, {"optional", ""}, {"deeper", ""}, {"patched", ""}}));
}

TEST_F(Profile, IsReadInItsNewestState) {
  write_state("P.profile/900.profile", "old");
  write_state("P.profile/1000.profile", "new");
  write_state("P.profile/2000.lock", "no state");
  write_state("P.profile/x.profile", "no state");
  EXPECT_EQ(unit(), "new");
  write_state("P.profile/1001.profile", "compressed");
  ASSERT_EQ(eclipse_shell::run_in_shell("gzip " + registry() + "P.profile/1001.profile").exit_code, 0);
  EXPECT_EQ(unit(), "compressed");
}

TEST_F(Profile, ListsItsStatesNewestFirst) {
  using Files = std::vector<std::filesystem::path>;
  EXPECT_EQ(profile_states("ide"), Files());
  for (const char* const name : {"900.profile", "1001.profile.gz", "1000.profile", "2000.lock", ".lock"}) {
    write_state(std::string("P.profile/") + name, "x");
  }
  const std::filesystem::path profile = registry() + "P.profile";
  EXPECT_EQ(profile_states("ide"), (Files{profile / "1001.profile.gz", profile / "1000.profile", profile / "900.profile"}));
}

// What the director reports as "Error parsing profile FILE", or fails with an exception for.
TEST_F(Profile, SaysWhyAStateCannotBeRead) {
  const std::string good = "<profile><units/></profile>";
  fake::write_file("good", good + std::string(5000, ' '));
  ASSERT_EQ(eclipse_shell::run_in_shell("gzip -k good; head -c 10 good.gz > begun.profile.gz; mkdir 1.profile; "
                                        "head -c 40 good.gz > cut.profile.gz; mv good.gz good.profile.gz; mkfifo pipe.profile")
                .exit_code,
            0);
  fake::write_file("not_compressed.profile.gz", good);
  fake::write_file("empty.profile.gz", "");
  fake::write_file("empty.profile", "");
  fake::write_file("cut.profile", "<profile><units>");
  fake::write_file("other.profile", "<a/>");
  fake::write_file("good.profile", good);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"good.profile", ""},
      {"good.profile.gz", ""},
      {"begun.profile.gz", "is damaged"},
      {"cut.profile.gz", "is damaged"},
      {"not_compressed.profile.gz", "is not gzip data"},
      {"empty.profile.gz", "is not gzip data"},
      {"empty.profile", "is not well-formed XML"},
      {"cut.profile", "is not well-formed XML"},
      {"other.profile", "has no <profile> element"},
      {"1.profile", "is not a regular file"},
      {"pipe.profile", "is not a regular file"},
  };
  for (const auto& [file, error] : cases) {
    const ProfileState state = read_profile_state(file);
    EXPECT_EQ(state.error, error) << file;
    EXPECT_EQ(state.is_damaged, !error.empty() && error != "is not a regular file") << file;
  }
}

TEST_F(Profile, AStateThatIsTooLargeHereIsNotDamaged) {
  ASSERT_EQ(eclipse_shell::run_in_shell("head -c 3000000 /dev/zero | gzip > large.profile.gz").exit_code, 0);
  const ProfileState state = read_profile_state("large.profile.gz");
  EXPECT_EQ(state.error, "unpacks to more than 250 times its size");
  EXPECT_FALSE(state.is_damaged);
}

TEST_F(Profile, IsTheOneThatTheConfigurationNames) {
  write_state("P.profile/1.profile", "p");
  EXPECT_EQ(unit(), "p");
  write_state("Q.profile/2.profile", "q");
  EXPECT_EQ(unit(), "") << "either may be meant";
  fake::write_file("ide/configuration/config.ini", "eclipse.buildId=4\r\neclipse.p2.profile=P\r\n");
  EXPECT_EQ(unit(), "p");
}

TEST_F(Profile, SaysWhyItCannotBeRead) {
  EXPECT_EQ(profile_units_error("ide"), "") << "it is kept elsewhere";
  std::filesystem::create_directories("ide/configuration");
  std::filesystem::create_symlink("/dev/zero", "ide/configuration/config.ini");
  EXPECT_EQ(profile_units_error("ide"), "ide/configuration/config.ini is not a regular file");
  fake::write_file(registry() + "P.profile/1.profile", "<profile/>");
  EXPECT_EQ(profile_units_error("ide"), registry() + "P.profile/1.profile has no <units> element");
  fake::write_file(registry() + "P.profile/2.profile", "<profile");
  EXPECT_EQ(profile_units_error("ide"), registry() + "P.profile/2.profile is not well-formed XML");
}

/// Each list that is shared is there once, however many units have it.
TEST_F(Profile, UnitsOfOneIdShareTheirRequirers) {
  std::string units = "<unit id='r' version='1'><requires><required namespace='osgi.bundle' name='one'/></requires></unit>";
  for (int i = 0; i < 3; ++i) units += "<unit id='one' version='" + std::to_string(i) + "'/>";
  fake::write_file(registry() + "P.profile/1.profile", "<profile><units>" + units + "</units></profile>");
  const auto all = profile_units("ide");
  ASSERT_TRUE(all && all->size() == 4);
  EXPECT_EQ(all->at(1).required_by.get(), std::vector<std::string>{"r"});
  EXPECT_EQ(&all->at(1).required_by.get(), &all->at(3).required_by.get());
}

TEST_F(Profile, ThatCannotBeReadTellsNothing) {
  EXPECT_FALSE(profile_units("ide").has_value());
  EXPECT_FALSE(profile_units("").has_value());
  fake::write_file(registry() + "P.profile/readme", "");
  EXPECT_FALSE(profile_units("ide").has_value());
  for (const char* const content : {"", "<profile><units>", "<profile/>", "\x1F\x8B broken"}) {
    fake::write_file(registry() + "P.profile/1.profile", content);
    EXPECT_FALSE(profile_units("ide").has_value()) << content;
  }
  fake::write_file(registry() + "P.profile/1.profile", "<profile><units/></profile>");
  EXPECT_TRUE(profile_units("ide").has_value()) << "it has no units";
}

}  // namespace
