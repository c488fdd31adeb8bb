// What is copied of an instance. That a director resolves on the copy as on the instance is a test with the real one.
#include "instance/copy.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <set>

#include "base/limits.h"
#include "fake_host/temporary_directory.h"
#include "p2/instance_error.h"
#include "p2/profile.h"

namespace fs = std::filesystem;

using namespace eclipse_p2;

namespace eclipse_instance {

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

  static std::string error_of_limit(const std::string& file) {
    return "\"ide\" cannot be copied to ask its director: " + file +
           ": makes the copy larger than 512 MiB; remove files that do not belong there";
  }

  const std::string settings = "p2/org.eclipse.equinox.p2.engine/.settings/";
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

TEST_F(CopyOfAnInstance, HasTheTimesThatTheDirectorCompares) {
  const std::string kept = "p2/org.eclipse.equinox.p2.repository/cache/content1.jar";
  fake::write_file("ide/" + kept, "");
  const auto time = fs::last_write_time("ide/" + kept) - std::chrono::hours(1);
  fs::last_write_time("ide/" + kept, time);
  const auto copy = InstanceCopy::of("ide");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(fs::last_write_time(copy->directory() / kept), time);
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
  EXPECT_EQ(InstanceCopy::of("ide"), nullptr);
}

TEST_F(CopyOfAnInstance, HasOnlyRegularFiles) {
  fake::write_file("ide/" + settings + "a.prefs", "a");
  fake::write_file("elsewhere/b.prefs", "b");
  fs::create_symlink(fs::absolute("elsewhere/b.prefs"), "ide/" + settings + "b.prefs");
  fs::create_directory_symlink(".", "ide/" + settings + "circle");
  fs::create_symlink("nowhere", "ide/" + settings + "dangling");
  fs::create_symlink("itself", "ide/" + settings + "itself");
  ASSERT_EQ(mkfifo(("ide/" + settings + "pipe").c_str(), 0600), 0);
  const auto copy = InstanceCopy::of("ide");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(files_in(copy->directory() / settings), (std::set<std::string>{"a.prefs", "b.prefs"}));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(copy->directory() / settings / "b.prefs")));
}

std::string error_of_copy() {
  try {
    InstanceCopy::of("ide");
  } catch (const InstanceError& error) {
    return error.what();
  }
  return "none";
}

TEST_F(CopyOfAnInstance, HasALimit) {
  fs::create_directory("temporary");
  const fake::PlaceOfTemporaryFiles elsewhere(fs::absolute("temporary"));
  const std::string cache = "ide/p2/org.eclipse.equinox.p2.repository/cache/";
  for (const char* const name : {"a", "b"}) {
    fake::write_file(cache + name, "");
    fs::resize_file(cache + name, eclipse_base::largest::copy / 2 + 1);
  }
  const std::string error = error_of_copy();
  EXPECT_TRUE(error == error_of_limit(cache + "a") || error == error_of_limit(cache + "b")) << error;
  EXPECT_TRUE(fs::is_empty("temporary"));
  fs::remove(cache + "b");
  const auto others = fs::file_size("ide/configuration/config.ini") +
                      fs::file_size("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/2.profile");
  fs::resize_file(cache + "a", eclipse_base::largest::copy - others);
  EXPECT_EQ(error_of_copy(), "none");
  fs::resize_file(cache + "a", eclipse_base::largest::copy - others + 1);
  EXPECT_NE(error_of_copy(), "none");
  fs::resize_file(cache + "a", std::uintmax_t{6} << 30U);
  EXPECT_EQ(error_of_copy(), error_of_limit(cache + "a"));
  EXPECT_TRUE(fs::is_empty("temporary"));
}

TEST_F(CopyOfAnInstance, CanBeEndedAtEachFile) {
  struct End {};
  fs::create_directory("temporary");
  const fake::PlaceOfTemporaryFiles elsewhere(fs::absolute("temporary"));
  for (const char* const name : {"a", "b", "c"}) fake::write_file("ide/" + settings + name + ".prefs", name);
  int count = 0;
  InstanceCopy::of("ide", [&] { ++count; });
  EXPECT_GE(count, 5) << "config.ini, three files and the state of the profile";
  for (int n = 1; n <= count; ++n) {
    int so_far = 0;
    const auto end = [&] {
      if (++so_far == n) throw End();
    };
    EXPECT_THROW(InstanceCopy::of("ide", end), End) << n;
    EXPECT_TRUE(fs::is_empty("temporary")) << n;
  }
}

TEST_F(CopyOfAnInstance, SaysWhyItCannotBeMade) {
  const fake::PlaceOfTemporaryFiles nowhere("/dev/null");
  const std::string error = error_of_copy();
  EXPECT_EQ(error.rfind("\"ide\" cannot be copied to ask its director: ", 0), 0U) << error;
  EXPECT_TRUE(error.ends_with("; set TMPDIR to a directory with enough space that this user can write to")) << error;
}

TEST_F(CopyOfAnInstance, NeedsSpace) {
  fs::create_directory("temporary");
  const std::string temporary = fs::absolute("temporary").string();
  const fake::PlaceOfTemporaryFiles elsewhere(temporary);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  const rlimit ten_bytes{10, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &ten_bytes), 0);
  const std::string error = error_of_copy();
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, handler);
  EXPECT_TRUE(error.starts_with("\"ide\" cannot be copied to ask its director: " + temporary + "/")) << error;
  EXPECT_TRUE(
      error.ends_with("/configuration/config.ini: cannot be written: File too large; set TMPDIR to a directory with "
                      "enough space that this user can write to"))
      << error;
  EXPECT_TRUE(fs::is_empty("temporary"));
}

}  // namespace

}  // namespace eclipse_instance
