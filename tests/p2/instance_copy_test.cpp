// What is copied of an instance. That a director resolves on the copy as on the instance is a test with the real one.
#include "p2/instance_copy.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "fake_host/temporary_directory.h"
#include "p2/installed_units.h"
#include "p2/profile.h"

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

class CopyOfAnInstance : public testing::Test {
 protected:
  CopyOfAnInstance() {
    write_configuration("eclipse.p2.profile=P\neclipse.p2.data.area=@config.dir/../p2\n");
    write_state("P", 1, "old");
    write_state("P", 2, "new");
  }

  static void write_configuration(const std::string& text) { fake::write_file("ide/configuration/config.ini", text); }

  static void write_state(const std::string& profile, int time, const std::string& id) {
    fake::write_file(
        "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/" + profile + ".profile/" + std::to_string(time) + ".profile",
        "<profile><units><unit id='" + id + "' version='1.0.0'/></units></profile>");
  }

  static std::set<std::string> files_in(const fs::path& directory) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
      if (entry.is_regular_file()) files.insert(entry.path().lexically_relative(directory).string());
    }
    return files;
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(CopyOfAnInstance, HasTheConfigurationAndTheNewestStateAndIsRemoved) {
  fake::write_file("ide/plugins/large.jar", "");
  fake::write_file("ide/configuration/org.eclipse.osgi/cache", "");
  fake::write_file("ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info", "");
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/.settings/a.prefs", "");
  fake::write_file("ide/p2/org.eclipse.equinox.p2.repository/cache/content1.jar", "");
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/.data/.settings/b.prefs", "");
  const auto before = files_in("ide");
  fs::path copied;
  {
    const auto copy = InstanceCopy::of("ide");
    ASSERT_NE(copy, nullptr);
    copied = copy->directory();
    EXPECT_EQ(copy->configuration(), copied / "configuration");
    const std::string engine = "p2/org.eclipse.equinox.p2.engine/";
    EXPECT_EQ(files_in(copied),
              (std::set<std::string>{
                  "configuration/config.ini", "configuration/org.eclipse.equinox.simpleconfigurator/bundles.info",
                  engine + ".settings/a.prefs", engine + "profileRegistry/P.profile/.data/.settings/b.prefs",
                  engine + "profileRegistry/P.profile/2.profile", "p2/org.eclipse.equinox.p2.repository/cache/content1.jar"}));
    std::string last_line;
    std::ifstream configuration(copied / "configuration/config.ini");
    for (std::string line; std::getline(configuration, line);) last_line = line;
    EXPECT_EQ(last_line, "osgi.configuration.cascaded=false");
    const auto units = profile_units(copied);
    ASSERT_TRUE(units && units->size() == 1);
    EXPECT_EQ(units->front().id, "new");
  }
  EXPECT_FALSE(fs::exists(copied));
  EXPECT_EQ(files_in("ide"), before);
}

TEST_F(CopyOfAnInstance, IsMadeWhereverTheDirectorFindsTheCopiedProfile) {
  for (const std::string area : {"eclipse.p2.data.area=@config.dir/../p2/\r\n", ""}) {
    write_configuration("eclipse.p2.profile=P\r\n" + area);
    EXPECT_NE(InstanceCopy::of("ide"), nullptr) << area;
  }
}

TEST_F(CopyOfAnInstance, IsNotMadeOfWhatTheDirectorWouldNotFind) {
  for (const std::string& configuration : std::vector<std::string>{
           "eclipse.p2.data.area=@user.home/.p2\n", "eclipse.p2.data.area=" + fs::absolute("ide/p2").string() + "\n",
           "eclipse.p2.data.area=file\\:/home/me/.p2\n", "eclipse.p2.profile=Q\n"}) {
    write_configuration(configuration);
    EXPECT_EQ(InstanceCopy::of("ide"), nullptr) << configuration;
  }
  EXPECT_EQ(InstanceCopy::of("nowhere"), nullptr);
}

TEST_F(CopyOfAnInstance, StaysInItsDirectory) {
  write_configuration("eclipse.p2.profile=../P\n");
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/P.profile/1.profile", "<profile><units/></profile>");
  ASSERT_NE(profile_file("ide"), "");
  EXPECT_EQ(InstanceCopy::of("ide"), nullptr);
}

TEST_F(CopyOfAnInstance, SaysWhyItCannotBeMade) {
  setenv("TMPDIR", "/dev/null", 1);
  try {
    InstanceCopy::of("ide");
    ADD_FAILURE() << "made without a temporary directory";
  } catch (const InstanceError& error) {
    EXPECT_EQ(std::string(error.what()).rfind("\"ide\" cannot be copied to ask its director: ", 0), 0U) << error.what();
  }
  unsetenv("TMPDIR");
}

}  // namespace

}  // namespace eclipse_p2
