#include "p2/configuration_files.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "p2/unit.h"

namespace eclipse_p2 {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const std::string settings_file = "ide/configuration/config.ini";
const std::string list_file = "ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";
const std::string configurator = "org.eclipse.equinox.simpleconfigurator";

/// Every part of it.
std::string text_of_damage(const std::optional<ConfigurationDamage>& damage) {
  if (!damage) return "";
  std::string text = damage->file.string() + " " + damage->error + ", " + damage->consequence;
  text += damage->is_startable ? "" : " [not startable]";
  text += damage->time_before.empty() ? "" : " [before: " + damage->time_before + "]";
  text += damage->is_replaced ? " [replaced]" : "";
  for (const Unit& unit : damage->surplus) text += " [surplus: " + text_of(unit) + "]";
  return text;
}

class StartedFiles : public testing::Test {
 protected:
  StartedFiles() { fake::write_file(settings_file, "#comment\na=b\n"); }

  static fs::path state(const std::string& time) {
    return "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/" + time + ".profile";
  }

  /// A state whose instance is in `folder`, relative to the temporary directory, with a feature and these bundles.
  ProfileState written(const std::string& time, const Names& bundles, const std::string& folder = "ide") const {
    std::string text = "<profile><properties><property name='org.eclipse.equinox.p2.installFolder' value='" + directory.path() +
                       "/" + folder + "'/></properties><units><unit id='f.feature.group' version='1.0.0'/>";
    for (const std::string& name : bundles) {
      text += "<unit id='" + name + "' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='" + name +
              "' version='1.0.0'/></artifacts></unit>";
    }
    fake::write_file(state(time), text + "</units></profile>");
    return read_profile_state(state(time));
  }

  static void write_list(const Names& bundles) {
    std::string text = "#encoding=UTF-8\n#version,1\n";
    for (const std::string& name : bundles) text += name + ",1.0.0,plugins/" + name + "_1.0.0.jar,4,false\n";
    fake::write_file(list_file, text);
  }

  static std::string damage(const ProfileState& state, const std::vector<fs::path>& known = {}) {
    return text_of_damage(configuration_damage("ide", state, known));
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(StartedFiles, BundlesAreLinesWithAVersion) {
  fake::write_file(list_file, "#a,1\n\nb\nc,1\nd,2,plugins/d.jar,4,true\n #e,3\n");
  EXPECT_EQ(listed_bundles("ide"), (std::set<Unit>{{" #e", "3"}, {"c", "1"}, {"d", "2"}}));
  EXPECT_EQ(listed_bundles("elsewhere"), std::set<Unit>());
}

TEST_F(StartedFiles, ValuesLoseTheirEscapes) {
  EXPECT_EQ(unescaped(R"(file\:a\\b\=c\u00E4\)"), R"(file:a\b=c\u00E4\)");
  EXPECT_EQ(unescaped(""), "");
}

TEST_F(StartedFiles, WithoutUnitsThereIsNoDamage) {
  fs::remove(settings_file);
  const auto none = written("1", {});
  EXPECT_EQ(damage(none), "");
  ProfileState empty = none;
  empty.units->clear();
  EXPECT_EQ(damage(empty, {"configuration/config.ini"}), "") << "somebody removes the whole product";
  empty.units.reset();
  EXPECT_EQ(damage(empty, {"configuration/config.ini"}), "");
}

TEST_F(StartedFiles, SettingsAreLinesWithAnEqualsSign) {
  const auto state = written("1", {});
  const std::string damaged = settings_file + " has no settings, so every director fails [not startable]";
  for (const char* content : {"", "#a=b\n", "a\nb\n"}) {
    fake::write_file(settings_file, content);
    EXPECT_EQ(damage(state), damaged) << content;
  }
  for (const char* content : {"a=", "#a=b\n=\n"}) {
    fake::write_file(settings_file, content);
    EXPECT_EQ(damage(state), "") << content;
  }
  fake::write_file(settings_file, "");
  fs::resize_file(settings_file, std::uintmax_t{1} << 40U);
  EXPECT_EQ(damage(state), "") << "it cannot be read, so it is unknown";
}

TEST_F(StartedFiles, WhatIsKnownToHaveBeenThereIsMissing) {
  const auto state = written("1", {"a"});
  EXPECT_EQ(damage(state, {"artifacts.xml"}),
            "ide/artifacts.xml is missing, so the next director starts a new list of artifacts [replaced]");
  EXPECT_EQ(damage(state, {"artifacts.xml", list_file.substr(4)}),
            list_file + " is missing, so Eclipse no longer starts once a director has run [not startable]");
  fs::remove(settings_file);
  EXPECT_EQ(damage(state, {"artifacts.xml", list_file.substr(4), "configuration/config.ini"}),
            settings_file + " is missing, so every director fails [not startable]");
  EXPECT_EQ(damage(state), "");
}

TEST_F(StartedFiles, TheListOfBundlesIsKnownByTheConfigurator) {
  const auto state = written("1", {configurator});
  const std::string missing = list_file + " is missing, so Eclipse no longer starts once a director has run [not startable]";
  EXPECT_EQ(damage(state), missing);
  const std::string key = "org.eclipse.equinox.simpleconfigurator.configUrl=";
  fake::write_file(settings_file, key + "file\\:org.eclipse.equinox.simpleconfigurator/bundles.info\n");
  EXPECT_EQ(damage(state), missing);
  fake::write_file(settings_file, key + "file\\:/elsewhere/bundles.info\n");
  EXPECT_EQ(damage(state), "");
}

TEST_F(StartedFiles, AListWithLessThanHalfOfTheBundlesWasCut) {
  const auto state = written("1", {"a", "b", "c", "d"});
  write_list({"a"});
  EXPECT_EQ(damage(state), list_file +
                               " lists 1 of the 4 bundles that the p2 profile lists as installed, so every director fails "
                               "[not startable]");
  write_list({"a", "b"});
  EXPECT_EQ(damage(state), "") << "the others were never listed";
  const auto single = written("1", {"a"});
  write_list({});
  EXPECT_EQ(damage(single), list_file +
                                " lists 0 of the 1 bundle that the p2 profile lists as installed, so every director fails "
                                "[not startable]");
  EXPECT_EQ(damage(written("1", {"a"}, "elsewhere")), "");
  fs::resize_file(list_file, std::uintmax_t{1} << 40U);
  EXPECT_EQ(damage(single), "") << "it cannot be read, so it is unknown";
}

TEST_F(StartedFiles, UnlistedBundlesAreThoseThatTheOldestStateLacks) {
  written("1", {"a", "x"});
  written("2", {"a", "b", "x"});
  const auto newest = written("3", {"a", "b", "c", "x"});
  write_list({"a", "b"});
  const std::string end = ", although the p2 profile lists it as installed, so Eclipse does not start it";
  EXPECT_EQ(damage(newest), list_file + " does not list c/1.0.0" + end + " [before: 2]");
  fake::write_file(state("2"), "<prof");
  EXPECT_EQ(damage(newest), list_file + " does not list c/1.0.0" + end + " [before: 1]");
  write_list({"a", "b", "x"});
  fs::remove(state("1"));
  EXPECT_EQ(damage(newest), list_file + " does not list c/1.0.0" + end) << "no other state can be read";
  fs::remove(state("2"));
  EXPECT_EQ(damage(newest), "") << "this one is the oldest";
  fs::remove(state("3"));
  EXPECT_EQ(damage(newest), "") << "there is no state at all";
}

TEST_F(StartedFiles, TheListOfArtifactsIsReadUnlessItIsTooLarge) {
  const auto state = written("1", {});
  const std::string file = "ide/artifacts.xml";
  const std::string end = ", so the next director starts a new list of artifacts [replaced]";
  for (const auto& [content, error] : std::vector<std::pair<std::string, std::string>>{
           {"<repository/>", ""}, {"<repo", " is not well-formed XML"}, {"<other/>", " has no <repository> element"}}) {
    fake::write_file(file, content);
    EXPECT_EQ(damage(state), error.empty() ? "" : file + error + end);
  }
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(damage(state, {"artifacts.xml"}), file + " is not a regular file" + end);
  EXPECT_EQ(damage(state), "");
}

TEST_F(StartedFiles, ADirectorThatCannotStartIsReportedFirst) {
  written("1", {"a", "b"});
  const auto state = written("2", {"a", "b", "c"});
  fake::write_file("ide/artifacts.xml", "<repo");
  write_list({"a", "b"});
  EXPECT_EQ(damage(state).substr(0, 17), "ide/artifacts.xml");
  write_list({"a"});
  EXPECT_EQ(damage(state).substr(0, list_file.size()), list_file);
}

TEST_F(StartedFiles, OfACopyTheFilesOfTheCopyAreDamaged) {
  const auto state = written("1", {"a", "b"});
  write_list({"a", "b"});
  fake::write_file("copy/configuration/config.ini", "");
  EXPECT_EQ(text_of_damage(damage_of_copy("copy", "ide", state)),
            "copy/configuration/config.ini has no settings, so every director fails [not startable]");
  EXPECT_EQ(damage(state), "");
}

TEST_F(StartedFiles, SurplusBundlesAreThoseOfStatesThatWereMovedAside) {
  const auto newest = written("1", {"a"});
  written("2", {"a", "b", "c"});
  fs::rename(state("2"), state("2").string() + ".damaged");
  write_list({"a", "b", "mine"});
  EXPECT_EQ(text_of_damage(surplus_bundles("ide", newest)),
            list_file +
                " lists b/1.0.0, which only states that were renamed contain, so Eclipse keeps starting bundles "
                "that no director can remove [surplus: b/1.0.0]");
  write_list({"a", "mine"});
  EXPECT_EQ(text_of_damage(surplus_bundles("ide", newest)), "");
  write_list({"a"});
  EXPECT_EQ(text_of_damage(surplus_bundles("ide", newest)), "");
  write_list({"a", "b"});
  EXPECT_EQ(text_of_damage(surplus_bundles("ide", written("1", {"a"}, "elsewhere"))), "");
  fake::write_file(state("1"), "<profile/>");
  EXPECT_EQ(text_of_damage(surplus_bundles("ide", read_profile_state(state("1")))), "");
}

TEST_F(StartedFiles, BundlesThatOnlyTheFirstStateHasAreLeftIfTheyAreListed) {
  const auto first = written("2", {"a", "b", "c"});
  const auto second = written("1", {"a", "d"});
  write_list({"a", "b", "d"});
  EXPECT_EQ(orphaned_bundles("ide", first, second), (std::vector<Unit>{{"b", "1.0.0"}}));
}

}  // namespace

}  // namespace eclipse_p2
