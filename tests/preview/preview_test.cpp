#include "preview/preview.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/text.h"
#include "fake_host/temporary_directory.h"
#include "p2/director_command.h"
#include "preview/obstacle.h"

using namespace eclipse_preview;
using namespace eclipse_plan;
using eclipse_p2::InstalledUnit;
using eclipse_p2::InstalledUnits;

namespace {

using Texts = std::vector<std::string>;

std::string director(const std::string& features, bool is_removal = false) {
  return "/opt/ide/eclipse -nosplash -application org.eclipse.equinox.p2.director " +
         std::string(is_removal ? "-u " : "-repository file:///a -i ") + features + " 2>&1";
}

/// A command as a plan has it; these texts in it are changed by the shell.
PlannedCommand command(const std::string& features, std::size_t number, const Texts& changed = {}, bool is_removal = false) {
  const std::string text = director(features, is_removal);
  PlannedCommand command{text, {}, eclipse_shell::read_as_shell(text), {}, "", number};
  command.intended = {"/opt/ide/eclipse"};
  if (changed.empty()) command.intended = eclipse_p2::intended_words(*eclipse_p2::cut_director_command(text));
  for (const std::string& each : changed) command.causes.push_back({each, "origin of " + each, {{0, "effect on " + each}}});
  return command;
}

Plan plan_of(const Texts& features, bool is_removal = false) {
  Plan plan;
  plan.is_removal = is_removal;
  plan.executable = "/opt/ide/eclipse";
  for (const std::string& feature : features) {
    PlannedRecord& record = plan.records.emplace_back();
    record.file = "p";
    record.line = plan.records.size();
    record.config.feature = feature;
    record.config.repository = "site";
    record.config.base_dir = "/base";
    record.slot = static_cast<std::int64_t>(plan.records.size());
    record.status = RecordStatus::listed;
  }
  plan.command = command(eclipse_base::joined(features, ","), 0, {}, is_removal);
  plan.retry_count = features.size();
  return plan;
}

InstalledUnits installed(const std::vector<InstalledUnit>& units) {
  InstalledUnits installed;
  installed.all = units;
  installed.roots = eclipse_p2::roots_of(units);
  return installed;
}

InstalledUnit unit(const std::string& id, const std::string& version, bool is_root, const Texts& required_by = {}) {
  return {id, version, eclipse_p2::SharedIds(required_by), is_root, false};
}

/// Every part of each feature.
Texts described(const Preview& preview) {
  Texts texts;
  for (const PreviewedFeature& feature : preview.features) {
    texts.push_back(feature.place + " " + feature.feature + "|" + feature.unit + "|" + name_of(feature.change) + "|" +
                    feature.version + "|" + feature.installed + "|" + feature.repository + "|" + feature.remark);
  }
  for (const PreviewedRepository& repository : preview.repositories) {
    texts.push_back(repository.url + "|" + (repository.is_usable ? "usable" : "unusable") + "|" + repository.remark);
  }
  return texts;
}

Texts described(const Plan& plan, const Offer& offer, const std::optional<InstalledUnits>& units) {
  eclipse_p2::Repositories repositories;
  const Preview made = preview(plan, offer, units, repositories);
  EXPECT_EQ(made.knows_installed, units.has_value());
  return described(made);
}

Offer offer_of(const std::map<std::string, std::string>& versions) {
  Offer offer;
  for (const auto& [id, version] : versions) {
    offer.units[id].insert(version);
    offer.urls[id][version] = "file:///a";
  }
  return offer;
}

TEST(Preview, OfAnInstallationComparesWhatIsOfferedWithWhatIsInstalled) {
  const Offer offer = offer_of({{"new", "1.0.0"}, {"same", "1.0.0"}, {"came", "2.0.0"}, {"old", "2.0.0"}, {"newer", "1.0.0"}});
  const auto units = installed(
      {unit("same", "1.0.0", true), unit("came", "1.0.0", false), unit("old", "1.0.0", true), unit("newer", "2.0.0", true)});
  EXPECT_EQ(described(plan_of({"new", "same", "came", "old", "newer", "missing", "new/3.0.0"}), offer, units),
            (Texts{"p:1 new|new|add|1.0.0||file:///a|", "p:2 same|same|keep|1.0.0|1.0.0|file:///a|",
                   "p:3 came|came|other version|2.0.0|1.0.0|file:///a|version 1.0.0 was installed as a requirement of other "
                   "units, and may be replaced",
                   "p:4 old|old|other version|2.0.0|1.0.0|file:///a|is refused: the director does not replace version 1.0.0, "
                   "which was installed by name; --update does",
                   "p:5 newer|newer|other version|1.0.0|2.0.0|file:///a|will most likely fail: the director does not replace "
                   "the newer version 2.0.0, which was installed by name; --update with --allow-downgrade does",
                   "p:6 missing|missing|fail||||no repository of the session offers it",
                   "p:7 new/3.0.0|new/3.0.0|fail||||no repository of the session offers it, but version 1.0.0"}));
  Offer both = offer_of({{"two", "1.0.0"}});
  both.units["two"].insert("2.0.0");
  EXPECT_EQ(described(plan_of({"two/1.0.0", "two"}), both, units),
            (Texts{"p:1 two/1.0.0|two/1.0.0|add|1.0.0||file:///a|",
                   "p:2 two|two|fail|2.0.0|||will most likely fail: the session also brings version 1.0.0 (p:1)"}));
  EXPECT_EQ(described(plan_of({"new"}), offer, {}), Texts{"p:1 new|new|add|1.0.0||file:///a|"});
  Offer more = offer;
  more.is_all = false;
  EXPECT_EQ(described(plan_of({"missing"}), more, units),
            Texts{"p:1 missing|missing|add||||no repository that could be examined offers it"});
  more.hindrance = "a URL cannot be read";
  EXPECT_EQ(described(plan_of({"new"}), more, units), Texts{"p:1 new|new|fail|1.0.0||file:///a|a URL cannot be read"});
}

TEST(Preview, UnitsThatArePinnedStayUnlessTheSessionBringsWhatPinsThem) {
  InstalledUnit part = unit("a", "1.0.0", false, {"all"});
  part.pinned_by = "all";
  const InstalledUnits instance = installed({part, unit("all", "1.0.0", true)});
  const Offer offer = offer_of({{"a", "2.0.0"}, {"all", "2.0.0"}});
  EXPECT_EQ(
      described(plan_of({"a"}), offer, instance).front(),
      "p:1 a|a|fail|2.0.0|1.0.0|file:///a|will most likely fail: all, which was installed by name, requires version 1.0.0");
  EXPECT_EQ(described(plan_of({"a", "all"}), offer, instance).front(),
            "p:1 a|a|other version|2.0.0|1.0.0|file:///a|version 1.0.0 was installed as a requirement of other units, and may "
            "be replaced");
}

TEST(Preview, SaysWhatIsWrongWithARepository) {
  const fake::TemporaryDirectory directory;
  fake::write_file("good/content.xml", "<repository><units/></repository>");
  fake::write_file("broken/content.xml", "<repo");
  fake::write_file("none/readme", "");
  fake::write_file("outer/inner/content.xml", "<repository><units/></repository>");
  fake::write_file("remote/compositeContent.xml",
                   "<repository><children><child location='http://example.org/a'/></children></repository>");
  Plan plan = plan_of({"f"});
  Offer offer = offer_of({{"f", "1.0.0"}});
  for (const std::string name : {"bad", "broken", "good", "missing", "none", "outer", "remote"}) {
    plan.repositories.insert("file://" + directory.path() + "/" + name);
  }
  offer.url_errors["file://" + directory.path() + "/bad"] = {"a bad URL", false};
  Texts repositories = described(plan, offer, {});
  repositories.erase(repositories.begin());
  for (std::string& text : repositories) text = eclipse_base::replaced(text, "file://" + directory.path() + "/", "");
  EXPECT_EQ(repositories,
            (Texts{"bad|unusable|a bad URL", "broken|unusable|content.xml is not well-formed XML", "good|usable|",
                   "missing|unusable|does not exist", "none|unusable|has no p2 metadata",
                   "outer|unusable|has no p2 metadata, but \"inner/\" in it has",
                   "remote|usable|was not examined completely: its child http://example.org/a is not on this disk"}));
}

TEST(Preview, OfARemovalTellsWhatStaysAndWhatFails) {
  const auto units = installed({unit("a", "1.0.0", true), unit("b", "2.0.0", true, {"x", "y"}), unit("x", "1.0.0", true)});
  EXPECT_EQ(described(plan_of({"a", "b"}, true), {}, units),
            (Texts{"p:1 a|a|remove|1.0.0|1.0.0||", "p:2 b|b|keep|2.0.0|2.0.0||stays, because it is required by x"}));
  EXPECT_EQ(described(plan_of({"a", "b", "missing"}, true), {}, units),
            (Texts{"p:1 a|a|fail|1.0.0|1.0.0||stays, because another feature is not installed",
                   "p:2 b|b|keep|2.0.0|2.0.0||stays, because it is required by x",
                   "p:3 missing|missing|fail||||is not installed, so the director removes none of the features"}));
  const auto more = installed({unit("a", "1.0.0", true), unit("b", "2.0.0", true, {"x"}), unit("c", "1.0.0", true, {"x"}),
                               unit("d", "1.0.0", true), unit("x", "1.0.0", true)});
  EXPECT_EQ(described(plan_of({"b", "a", "c", "d", "missing"}, true), {}, more),
            (Texts{"p:1 b|b|keep|2.0.0|2.0.0||stays, because it is required by x",
                   "p:2 a|a|fail|1.0.0|1.0.0||stays, because another feature is not installed",
                   "p:3 c|c|keep|1.0.0|1.0.0||stays, because it is required by x",
                   "p:4 d|d|fail|1.0.0|1.0.0||stays, because another feature is not installed",
                   "p:5 missing|missing|fail||||is not installed, so the director removes none of the features"}));
  EXPECT_EQ(described(plan_of({"a"}, true), {}, {}), Texts{"p:1 a|a|remove||||"});
  Plan changed = plan_of({"a", "x"}, true);
  changed.command = command("a,x", 0, {"a", "x"}, true);
  EXPECT_EQ(described(changed, {}, units), (Texts{"p:1 a|a|fail|1.0.0|1.0.0||the shell changes origin of a: effect on a",
                                                  "p:2 x|x|fail|1.0.0|1.0.0||the shell changes origin of x: effect on x"}));
  changed.command = command("a,x", 0, {"x"}, true);
  changed.command->intended = changed.command->shell.commands.front();
  changed.command->intended.back() = "a,'x'";
  EXPECT_EQ(described(changed, {}, units),
            (Texts{"p:1 a|a|remove|1.0.0|1.0.0||", "p:2 x|x|fail|1.0.0|1.0.0||the shell changes origin of x: effect on x"}));
}

TEST(Preview, ChangesHaveNames) {
  EXPECT_STREQ(name_of(Change::fail), "fail");
  EXPECT_STREQ(name_of(Change::remove), "remove");
  EXPECT_STREQ(name_of(Change::other_version), "other version");
}

Texts obstacles(const Plan& plan) {
  const Obstacles obstacles(plan);
  Texts texts;
  std::size_t number = 0;
  for (const PlannedRecord& record : plan.records) texts.push_back(obstacles.of(record, ++number));
  return texts;
}

TEST(Obstacles, AreNoneForACommandThatRunsAsIntended) {
  EXPECT_EQ(obstacles(plan_of({"f", "g"})), (Texts{"", ""}));
  EXPECT_EQ(obstacles(plan_of({"-f"})), Texts{"the director reads it as an option"});
  setenv("LC_ALL", "C", 1);
  EXPECT_EQ(obstacles(plan_of({"\xC3\xA4"})),
            Texts{"it has non-ASCII characters, which the director cannot read in the current locale"});
  setenv("LC_ALL", "C.UTF-8", 1);
  EXPECT_EQ(obstacles(plan_of({"\xC3\xA4"})), Texts{""});
  unsetenv("LC_ALL");
}

TEST(Obstacles, OfTheWholeCommandKeepAllFeatures) {
  Plan plan = plan_of({"f", "g"});
  plan.command->executable_error = "it is not there";
  EXPECT_EQ(obstacles(plan), (Texts{"it is not there", "it is not there"}));
  Plan too_long = plan_of({"f"});
  too_long.command->text.resize(200'000, ' ');
  EXPECT_EQ(obstacles(too_long), Texts{"the command is too long to be started"});
  Plan unreadable = plan_of({"f"});
  unreadable.command->intended.push_back("more");
  EXPECT_EQ(obstacles(unreadable), Texts{"the shell changes the command"});
  unreadable.command->shell.error = "the closing quote is missing";
  EXPECT_EQ(obstacles(unreadable), Texts{"the closing quote is missing"});
}

TEST(Obstacles, AreThoseOfTheRetryOfAFeature) {
  Plan plan = plan_of({"f", "g", "h", "i$x"});
  plan.command = command("f,g,h,i", 0, {"g"});
  plan.retries = {command("f", 1), command("g", 2, {"g"})};
  plan.representative_retry = 1;
  const std::string of_g = "the shell changes origin of g: effect on g";
  EXPECT_EQ(obstacles(plan), (Texts{"", of_g, "", ""}));
  plan.retries_left_out = {4};
  EXPECT_EQ(obstacles(plan).back(), "the shell changes column 2 of p:4: the value of a variable is substituted");
  plan.records.back().config.feature = "'i'";
  EXPECT_EQ(obstacles(plan).back(), "") << "the shell only removes quotes";
  plan.records.back().config.feature = "i";
  EXPECT_EQ(obstacles(plan).back(), "the shell changes the command");
  plan.representative_retry = 0;
  EXPECT_EQ(obstacles(plan)[2], of_g) << "the command for all is the last one";
}

TEST(Obstacles, OfARemovalAreThoseOfItsOnlyCommand) {
  Plan plan = plan_of({"f", "g"}, true);
  plan.command = command("f,g", 0, {"g"}, true);
  plan.retries = {command("f", 1, {}, true)};
  const std::string of_g = "the shell changes origin of g: effect on g";
  EXPECT_EQ(obstacles(plan), (Texts{of_g, of_g}));
}

TEST(Obstacles, OfARepositoryOrADirectoryKeepTheirFeatures) {
  for (const std::string text : {"site", "/base", "f"}) {
    Plan plan = plan_of({"f", "g"}, true);
    plan.records[1].config.repository = plan.records[1].config.base_dir = "other";
    plan.command->causes.push_back({"first", "another", {{0, "effect on all"}}});
    plan.command->causes.push_back({text, "origin", {{0, "effect"}}});
    plan.command->shell.redirections.clear();
    plan.command->intended[1] = "-other";
    EXPECT_EQ(obstacles(plan), (Texts{"the shell changes origin: effect", "the shell changes another: effect on all"})) << text;
  }
}

TEST(Obstacles, AWordOfTheSameCountPassesTheOthers) {
  Plan plan = plan_of({"f", "g"}, true);
  plan.command->causes.push_back({"g", "origin", {{0, "effect"}}});
  plan.command->intended.back() = "f,'g'";
  EXPECT_EQ(obstacles(plan), (Texts{"", "the shell changes origin: effect"}));
  plan.command->causes.front().text = plan.command->intended.front();
  EXPECT_EQ(obstacles(plan), (Texts(2, "the shell changes origin: effect"))) << "the executable";
}

}  // namespace
