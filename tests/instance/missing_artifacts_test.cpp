#include "instance/missing_artifacts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fake_host/temporary_directory.h"
#include "instance/profile_history.h"

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const std::string profile_directory = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";

std::string artifact(const std::string& name, const std::string& version) {
  return "<artifact classifier='" + std::string(name == "f" ? "org.eclipse.update.feature" : "osgi.bundle") + "' id='" + name +
         "' version='" + version + "'/>";
}

std::string unit(const std::string& name, const std::string& version, const std::string& touchpoint = "osgi") {
  return "<unit id='" + name + "' version='" + version + "'><touchpoint id='org.eclipse.equinox.p2." + touchpoint +
         "' version='1.0.0'/><artifacts>" + artifact(name, version) + "</artifacts></unit>";
}

std::string list_of(const std::string& artifacts) {
  return "<repository><artifacts>" + artifacts + "</artifacts></repository>";
}

void write_repository(const std::string& directory, const std::string& artifacts) {
  fake::write_file(directory + "/content.xml", "<repository><units/></repository>");
  fake::write_file(directory + "/artifacts.xml", list_of(artifacts));
}

/// The feature f with the bundle b was updated from 1.0.0 to 2.0.0. p2 keeps a bundle for some time, but no feature.
class MissingArtifactsTest : public testing::Test {
 protected:
  MissingArtifactsTest() {
    write_state("1", unit("f", "1.0.0") + unit("b", "1.0.0") + unit("c", "1.0.0"));
    write_state("2", unit("f", "2.0.0") + unit("b", "2.0.0") + unit("c", "1.0.0"));
    write_pool(artifact("f", "2.0.0") + artifact("b", "1.0.0") + artifact("b", "2.0.0"));
    write_repository("site", artifact("f", "2.0.0") + artifact("b", "2.0.0"));
  }

  std::string ide() const { return directory.path() + "/ide"; }
  std::string url(const std::string& name) const { return "file://" + directory.path() + "/" + name; }

  void write_state(const std::string& time, const std::string& units, const std::string& more_properties = "") const {
    fake::write_file(profile_directory + time + ".profile",
                     "<profile><properties><property name='org.eclipse.equinox.p2.cache' value='" + ide() +
                         "'/><property name='org.eclipse.equinox.p2.installFolder' value='" + ide() + "'/>" + more_properties +
                         "</properties><units>" + units + "</units></profile>");
  }
  static void write_pool(const std::string& artifacts) { fake::write_file("ide/artifacts.xml", list_of(artifacts)); }

  MissingArtifacts missing(const Texts& urls) const {
    return missing_artifacts(ide(), state_of_time(ide(), "2"), state_of_time(ide(), "1"), urls);
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(MissingArtifactsTest, AreInNoRepositoryAndNotInTheInstance) {
  const MissingArtifacts found = missing({url("site"), url("nowhere")});
  EXPECT_EQ(found.artifacts, Texts({"feature f 1.0.0"})) << "the bundle is still there, and c stays";
  EXPECT_EQ(found.unexamined, Texts());
  EXPECT_TRUE(found.is_certain());
  EXPECT_EQ(missing({}).artifacts, Texts({"feature f 1.0.0"}));
  fs::remove("ide/artifacts.xml");
  EXPECT_EQ(missing({}).artifacts, Texts()) << "without a list it is another kind of instance";
}

TEST_F(MissingArtifactsTest, AreFetchedFromARepository) {
  write_repository("old site", artifact("f", "1.0"));
  EXPECT_EQ(missing({url("site"), url("old%20site")}).artifacts, Texts());
  write_pool("");
  EXPECT_EQ(missing({url("old%20site")}).artifacts, Texts({"bundle b 1.0.0"}));
}

TEST_F(MissingArtifactsTest, AreFetchedFromWhatTheInstanceRemembers) {
  write_repository("old", artifact("f", "1.0.0"));
  const std::string setting = "repositories/file\\:_old/uri=file\\:" + directory.path() + "/old/\n";
  for (const std::string& settings :
       {profile_directory + ".data/.settings/", std::string("ide/p2/org.eclipse.equinox.p2.engine/"
                                                            ".settings/")}) {
    const std::string file = settings + "org.eclipse.equinox.p2.artifact.repository.prefs";
    fake::write_file(file, "eclipse.preferences.version=1\n" + setting);
    EXPECT_EQ(missing({}).artifacts, Texts()) << file;
    fs::remove(file);
  }
}

TEST_F(MissingArtifactsTest, AreNotFetchedFromWhatOnlyLooksRemembered) {
  write_repository("o=ld", artifact("f", "1.0.0"));
  const std::string file = "ide/p2/org.eclipse.equinox.p2.engine/.settings/org.eclipse.equinox.p2.artifact.repository.prefs";
  const std::string address = "file\\:" + directory.path() + "/o\\=ld/\r\n";
  for (const std::string key : {"repositories/file\\:_old/name=", "other/uri=", "repositories/uri="}) {
    fake::write_file(file, key + address);
    EXPECT_EQ(missing({}).artifacts, key == "repositories/uri=" ? Texts() : Texts({"feature f 1.0.0"})) << key;
  }
}

TEST_F(MissingArtifactsTest, AreAllNamed) {
  write_state("1", unit("f", "1.0.0") + unit("b", "0.5.0") + unit("c", "0.5.0"));
  EXPECT_EQ(missing({}).artifacts, Texts({"bundle b 0.5.0", "bundle c 0.5.0", "feature f 1.0.0"}));
  write_state("1", "<unit id='f' version='1.0.0'><touchpoint id='org.eclipse.equinox.p2.osgi' version='1.0.0'/><artifacts>" +
                       artifact("a", "1.0.0") + artifact("z", "1.0.0") + "</artifacts></unit>");
  EXPECT_EQ(missing({}).artifacts, Texts({"bundle a 1.0.0", "bundle z 1.0.0"}));
}

/// What is damaged is there: the director says so itself.
TEST_F(MissingArtifactsTest, AreNotThoseOfADamagedRepository) {
  fake::write_file("broken/content.xml", "<repository><un");
  fake::write_file("broken/artifacts.xml", list_of(artifact("f", "1.0.0")));
  const MissingArtifacts found = missing({url("broken")});
  EXPECT_EQ(found.artifacts, Texts({"feature f 1.0.0"}));
  EXPECT_TRUE(found.is_certain());
}

/// The pool and the cache of downloads, which have no metadata.
TEST_F(MissingArtifactsTest, AreNotInTheRepositoriesThatP2MakesItself) {
  fake::write_file("ide/p2/org.eclipse.equinox.p2.core/cache/artifacts.xml", list_of(artifact("b", "3.0.0")));
  fake::write_file("packed/artifacts.xml", "<repository><artifacts>");
  const MissingArtifacts found = missing({url("ide/"), url("ide/p2/org.eclipse.equinox.p2.core/cache/"), url("packed")});
  EXPECT_TRUE(found.is_certain()) << found.unexamined.front();
}

TEST_F(MissingArtifactsTest, MayBeInWhatCannotBeExamined) {
  fake::write_file("half/content.xml", "<repository><units/></repository>");
  fake::write_file("half/compositeArtifacts.xml",
                   "<repository><children><child location='https://example.org/site'/></children></repository>");
  const Texts unknown = {"https://example.org/site", "jar:file:/a.zip!/inside/", url("half")};
  const MissingArtifacts found = missing(unknown);
  EXPECT_EQ(found.artifacts, Texts({"feature f 1.0.0"}));
  EXPECT_EQ(found.unexamined, unknown);
  EXPECT_FALSE(found.is_certain());
  write_repository("old", artifact("f", "1.0.0"));
  EXPECT_EQ(missing({unknown[0], url("old")}).unexamined, Texts()) << "nothing is missing";
}

TEST_F(MissingArtifactsTest, MayBeBesideThePool) {
  write_state("2", unit("f", "2.0.0"),
              "<property name='org.eclipse.equinox.p2.cache.extensions' value='file:/a/.eclipseextension|file:/b/'/>");
  EXPECT_EQ(missing({}).unexamined, Texts({"file:/a/.eclipseextension", "file:/b/"}));
}

TEST_F(MissingArtifactsTest, AreNotKnownWhereTheBundlesAreNot) {
  for (const std::string touchpoint : {"native", "osgi"}) {
    write_state("1", unit("f", "1.0.0", touchpoint));
    EXPECT_EQ(missing({}).artifacts.empty(), touchpoint == "native");
  }
  fake::write_file(profile_directory + "2.profile", "<profile><units/></profile>");
  EXPECT_EQ(missing({}).artifacts, Texts());
}

}  // namespace

}  // namespace eclipse_instance
