#include "p2/missing_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "p2/kept_artifacts.h"

namespace eclipse_p2 {

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class MissingFiles : public testing::Test {
 protected:
  static void write_bundles(const Texts& locations) {
    std::string list = "#encoding=UTF-8\n";
    for (const std::string& location : locations) list += "a,1.0.0," + location + ",4,false\n";
    fake::write_file("ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info", list);
  }

  static Texts missing_of(const std::vector<InstalledUnit>& units) {
    Texts texts;
    for (const UnitFile& file : missing_files("ide", listed_artifacts("ide"), units))
      texts.push_back(text_of(file.unit) + " " + file.path.string());
    return texts;
  }

  const fake::TemporaryDirectory directory;
  const InstalledUnit bundle = {"a", "1.0.0", {}, false, true};
  const InstalledUnit feature = {"f.feature.jar", "1.0.0", {}};
};

TEST_F(MissingFiles, AreNoneWhereNothingSaysThatTheyExist) {
  EXPECT_EQ(missing_of({bundle, feature}), Texts());
  fake::write_file("ide/artifacts.xml", "<repository");
  EXPECT_EQ(missing_of({bundle, feature}), Texts());
}

TEST_F(MissingFiles, AreThoseOfBundlesWhereverTheyAre) {
  const std::string ide = directory.path() + "/ide/";
  const std::string elsewhere = directory.path() + "/else where/a.jar";
  write_bundles({"plugins/a.jar", "plugins/a%20b.jar", "../shared/a.jar", "file:" + directory.path() + "/else%20where/a.jar",
                 "reference:file:plugins/a.jar", "http://example.org/a.jar", "plugins/unpacked/"});
  EXPECT_EQ(missing_of({bundle}), (Texts{"a/1.0.0 " + ide + "plugins/a.jar", "a/1.0.0 " + ide + "plugins/a b.jar",
                                         "a/1.0.0 " + directory.path() + "/shared/a.jar", "a/1.0.0 " + elsewhere,
                                         "a/1.0.0 " + ide + "plugins/unpacked/"}));
  for (const char* const file : {"ide/plugins/a.jar", "ide/plugins/a b.jar", "else where/a.jar", "ide/plugins/unpacked/x"})
    fake::write_file(file, "");
  fs::create_directory("shared");
  fs::create_symlink("../ide/plugins/a.jar", "shared/a.jar");
  EXPECT_EQ(missing_of({bundle}), Texts());
  fs::remove("ide/plugins/a.jar");
  EXPECT_EQ(missing_of({bundle}).size(), 2U) << "the link dangles, too";
}

TEST_F(MissingFiles, AreThoseOfTheseUnitsAlone) {
  write_bundles({"plugins/a.jar"});
  EXPECT_EQ(missing_of({{"a", "2.0.0", {}, false, true}, {"b", "1.0.0", {}, false, true}}), Texts());
  EXPECT_EQ(missing_of({{"a", "1.0.0", {}}}), Texts()) << "it is no bundle";
}

/// A director that finds no jar deletes the line of its bundle.
TEST_F(MissingFiles, AreThoseThatBundlesInfoHasNamedBefore) {
  const std::string profile = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
  fake::write_file(profile + "1.profile", "<profile/>");
  write_bundles({"plugins/a.jar"});
  fake::write_file("ide/plugins/a.jar", "");
  const InstalledUnit other = {"b", "2.0.0", {}, false, true};
  EXPECT_EQ(missing_of({bundle, other}), Texts{"b/2.0.0 ide/plugins/b_2.0.0.jar"});
  EXPECT_EQ(missing_of({bundle, {"b", "2.0.0", {}}}), Texts()) << "it is no bundle";
  fake::write_file("ide/configuration/org.eclipse.equinox.source/source.info", "b,2.0.0,../pool/b.jar,-1,false\n");
  EXPECT_EQ(missing_of({bundle, other}), Texts()) << "it is one of source code, which may be elsewhere";
  fs::remove_all("ide/configuration/org.eclipse.equinox.source");
  for (const char* const file : {"ide/plugins/b_2.0.0.jar", "ide/plugins/b_2.0.0"}) {
    fs::create_directory(file);
    EXPECT_EQ(missing_of({bundle, other}), Texts()) << "somebody else has edited bundles.info";
    fs::remove(file);
  }
  fake::write_file(profile + "0.profile",
                   "<profile><units><unit id='b' version='2.0.0'><artifacts>"
                   "<artifact classifier='osgi.bundle' id='b' version='2.0.0'/></artifacts></unit></units>"
                   "</profile>");
  EXPECT_EQ(missing_of({bundle, other}), Texts()) << "it may never have had a file";
  fake::write_file(profile + "0.profile", "<profile><units>");
  EXPECT_EQ(missing_of({bundle, other}).size(), 1U) << "the oldest state is damaged";
  fs::remove_all("ide/p2");
  EXPECT_EQ(missing_of({bundle, other}), Texts());
}

TEST_F(MissingFiles, AreThoseOfFeaturesThatTheInstanceKeeps) {
  fake::write_file("ide/artifacts.xml",
                   "<repository><artifacts>"
                   "<artifact classifier='org.eclipse.update.feature' id='f' version='1.0.0'/>"
                   "<artifact classifier='org.eclipse.update.feature' id='g' version='1.0.0'/>"
                   "<artifact classifier='osgi.bundle' id='f.feature.jar' version='1.0.0'/>"
                   "</artifacts></repository>");
  EXPECT_EQ(missing_of({feature}), Texts{"f.feature.jar/1.0.0 ide/features/f_1.0.0"});
  fake::write_file("ide/features/f_1.0.0.jar", "");
  EXPECT_EQ(missing_of({feature}), Texts());
  fs::remove("ide/features/f_1.0.0.jar");
  fs::create_directory("ide/features/f_1.0.0");
  EXPECT_EQ(missing_of({feature}), Texts());
}

}  // namespace

}  // namespace eclipse_p2
