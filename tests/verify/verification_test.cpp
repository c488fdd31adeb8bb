#include "verify/verification.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "fake_host/temporary_directory.h"

namespace eclipse_verify {

namespace {

using eclipse_p2::InstalledUnits;
using eclipse_p2::Unit;
using eclipse_plan::Plan;
using eclipse_plan::PlannedRecord;
using eclipse_plan::RecordStatus;
using Texts = std::vector<std::string>;

PlannedRecord record(std::size_t line, const std::string& feature, std::int64_t slot,
                     RecordStatus status = RecordStatus::listed) {
  PlannedRecord record;
  record.file = "p";
  record.line = line;
  record.config.feature = feature;
  record.slot = slot;
  record.status = status;
  return record;
}

Plan plan(bool is_removal) {
  Plan plan;
  plan.is_removal = is_removal;
  plan.records = {record(1, "b", 1), record(2, "a/2.0", 0), record(3, "c,b", 2), record(4, "b", 3, RecordStatus::repeated),
                  record(5, "d", 0, RecordStatus::no_repository)};
  return plan;
}

Texts texts_of(const std::vector<CheckedUnit>& units) {
  Texts texts;
  for (const CheckedUnit& checked : units) texts.push_back(text_of(checked.unit));
  return texts;
}

/// Without a profile, only the roots are known.
const InstalledUnits roots_only = {{{"a", "1.0.0"}, {"b", "1.0.0"}, {"local.ide", "4"}}, std::nullopt};

/// "c" came along with "b".
const InstalledUnits installed = {roots_only.roots,
                                  {{{"a", "1.0.0", {}}, {"b", "1.0.0", {}}, {"c", "1.0.0", {"b"}}, {"local.ide", "4", {}}}}};

TEST(Verification, LooksAtEachUnitOnceWithAllItsPlaces) {
  const Verification verification = compare(plan(false), installed);
  EXPECT_EQ(texts_of(verification.units), (Texts{"a/2.0", "b", "c"}));
  EXPECT_EQ(verification.units[1].places, (Texts{"p:1", "p:3", "p:4"}));
}

TEST(Verification, NamesWhatIsMissingAfterAnInstallation) {
  const Verification verification = compare(plan(false), installed);
  EXPECT_EQ(texts_of(verification.differences()), Texts{"a/2.0"});
  EXPECT_EQ(verification.differences()[0].other_versions, Texts{"1.0.0"});
  EXPECT_EQ(texts_of(verification.not_there()), Texts()) << "it is no removal";
  EXPECT_EQ(texts_of(verification.staying()), Texts()) << "it is no removal";
  EXPECT_EQ(texts_of(compare(plan(false), roots_only).differences()), (Texts{"a/2.0", "c"}));
}

TEST(Verification, NamesWhatIsSelectedForRemovalAndStillInstalledByName) {
  Plan plan;
  EXPECT_FALSE(is_verifiable(plan));
  plan.unremoved = {record(1, "x,b", 0), record(2, "c", 0), record(3, "a/2.0.0", 0), record(4, "b", 0)};
  EXPECT_TRUE(is_verifiable(plan));
  const InstalledUnits roots_and_c = {roots_only.roots, installed.all};
  const Verification verification = compare(plan, roots_and_c);
  EXPECT_EQ(texts_of(verification.unremoved), Texts{"b"}) << "c came along with b, and a is another version";
  EXPECT_EQ(verification.unremoved[0].places, (Texts{"p:1", "p:4"}));
  EXPECT_FALSE(verification.is_same());
  plan.unremoved.erase(plan.unremoved.begin());
  plan.unremoved.pop_back();
  EXPECT_TRUE(compare(plan, roots_and_c).is_same());
}

TEST(Verification, TellsRootsFromWhatCameAlong) {
  const Verification verification = compare(plan(false), installed);
  EXPECT_TRUE(verification.knows_all());
  EXPECT_TRUE(verification.units[1].is_root);
  EXPECT_TRUE(verification.units[2].is_installed);
  EXPECT_FALSE(verification.units[2].is_root);
  EXPECT_EQ(verification.units[2].required_by, Texts{"b"});
  EXPECT_FALSE(compare(plan(false), roots_only).knows_all());
}

/// All that is known of each unit, as text.
Texts described(const std::vector<CheckedUnit>& units) {
  Texts texts;
  for (const CheckedUnit& unit : units) {
    texts.push_back(text_of(unit.unit) + " of " + eclipse_base::joined(unit.places) + ": brought " + unit.brought +
                    (unit.is_installed ? "; installed" : "") + (unit.is_root ? "; root" : "") + "; required by " +
                    eclipse_base::joined(unit.required_by) + "; other versions " + eclipse_base::joined(unit.other_versions) +
                    "; newer " + unit.newer);
  }
  return texts;
}

TEST(Verification, ComparesWithTheVersionsThatAreBrought) {
  eclipse_plan::Offer offer;
  offer.units = {{"a", {"2.0.0"}}, {"b", {"0.9.0", "1.5.0"}}, {"c", {"0.5.0", "0.9.0"}}};
  InstalledUnits several = installed;
  several.roots = {{"b", "1.0.0"}, {"b", "1.2.0"}, {"c", "1.0.0"}, {"c", "0.1.0"}, {"e", "1.0.0"}};
  several.all->push_back({"b", "1.2.0", {}});
  EXPECT_EQ(described(compare(plan(false), several, offer).units),
            (Texts{"a/2.0 of p:2: brought 2.0.0; required by ; other versions 1.0.0; newer ",
                   "b of p:1, p:3, p:4: brought 1.5.0; required by ; other versions 1.0.0, 1.2.0; newer ",
                   "c of p:3: brought 0.9.0; installed; root; required by b; other versions ; newer 1.0.0"}));
  several.all.reset();
  EXPECT_EQ(described(compare(plan(false), several).units),
            (Texts{"a/2.0 of p:2: brought ; required by ; other versions ; newer ",
                   "b of p:1, p:3, p:4: brought ; installed; root; required by ; other versions ; newer ",
                   "c of p:3: brought ; installed; root; required by ; other versions ; newer "}));
  EXPECT_EQ(described(compare(plan(false), several, offer).units),
            (Texts{"a/2.0 of p:2: brought 2.0.0; required by ; other versions ; newer ",
                   "b of p:1, p:3, p:4: brought 1.5.0; required by ; other versions 1.0.0, 1.2.0; newer ",
                   "c of p:3: brought 0.9.0; installed; root; required by ; other versions 0.1.0; newer 1.0.0"}));
}

TEST(Verification, ByTheProfileSaysSo) {
  const fake::TemporaryDirectory directory;
  Plan made = plan(false);
  made.executable = directory.path() + "/ide/eclipse";
  eclipse_p2::ProfileStates states;
  EXPECT_FALSE(verify_by_profile(made, {}, states));
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                   "<profile><units><unit id='b' version='1.0.0'/></units></profile>");
  const auto verification = verify_by_profile(made, {}, states);
  ASSERT_TRUE(verification);
  EXPECT_EQ(verification->source, Source::profile);
  EXPECT_EQ(texts_of(verification->differences()), (Texts{"a/2.0", "c"}));
}

TEST(Verification, LooksForTheFilesOfWhatTheSessionInstalls) {
  const fake::TemporaryDirectory directory;
  const auto bundle = [](const std::string& id) {
    const std::string attributes = "id='" + id + "' version='1.0.0'";
    return "<unit " + attributes + "><provides><provided namespace='osgi.bundle' name='" + id +
           "' version='1.0.0'/></provides><artifacts><artifact classifier='osgi.bundle' " + attributes +
           "/></artifacts><touchpoint id='org.eclipse.equinox.p2.osgi' version='1.0.0'/></unit>";
  };
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                   "<profile><units><unit id='b' version='1.0.0'><requires><required namespace='osgi.bundle' name='own' "
                   "range='0.0.0'/></requires></unit>" +
                       bundle("own") + bundle("other") + "</units></profile>");
  fake::write_file("ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info",
                   "own,1.0.0,plugins/own.jar,4,false\nother,1.0.0,plugins/other.jar,4,false\n");
  Plan made;
  made.records = {record(1, "b", 0)};
  made.executable = directory.path() + "/ide/eclipse";
  eclipse_p2::ProfileStates states;
  const auto missing = verify_by_profile(made, {}, states)->missing_files;
  ASSERT_EQ(missing.size(), 1U);
  EXPECT_EQ(missing.front().path, directory.path() + "/ide/plugins/own.jar");
  EXPECT_FALSE(verify_by_profile(made, {}, states)->is_same());
  made.is_removal = true;
  EXPECT_TRUE(verify_by_profile(made, {}, states)->missing_files.empty());
  made.is_removal = false;
  fake::write_file("ide/plugins/own.jar", "");
  EXPECT_TRUE(verify_by_profile(made, {}, states)->is_same());
}

TEST(Verification, SaysOfAFeatureWhetherAllOfItIsInstalled) {
  const Verification verification = compare(plan(false), installed);
  EXPECT_EQ(verification.has("b"), true);
  EXPECT_EQ(verification.has("a/2.0"), false);
  EXPECT_EQ(verification.has("c,b"), true);
  EXPECT_EQ(verification.has("c,a/2.0"), false);
  EXPECT_EQ(verification.has("a/2.0,c"), false);
  EXPECT_EQ(verification.has("'c'"), true) << "the shell removes the quotes";
  EXPECT_EQ(verification.has("b,d"), std::nullopt) << "the session does not list it";
  EXPECT_EQ(verification.has(""), std::nullopt);
}

TEST(Verification, NamesWhatIsLeftAfterARemoval) {
  const Verification verification = compare(plan(true), installed);
  EXPECT_EQ(texts_of(verification.differences()), (Texts{"b", "c"}));
  EXPECT_EQ(texts_of(verification.not_there()), Texts{"a/2.0"});
  EXPECT_EQ(texts_of(compare(plan(true), roots_only).not_there()), (Texts{"a/2.0", "c"}));
}

TEST(Verification, NamesWhatOthersRequireThatStay) {
  EXPECT_EQ(texts_of(compare(plan(true), installed).staying()), Texts()) << "what requires it goes, too";
  EXPECT_EQ(texts_of(compare(plan(true), roots_only).staying()), Texts()) << "what requires it is not known";
  InstalledUnits more = installed;
  more.roots.push_back({"d", "1.0.0"});
  more.all->push_back({"d", "1.0.0", {}});
  more.all->at(2).required_by = {"b", "d"};
  const auto staying = compare(plan(true), more).staying();
  EXPECT_EQ(texts_of(staying), Texts{"c"});
  EXPECT_EQ(staying[0].required_by, Texts{"d"});
}

/// The units to be removed are "a/2.0", "b" and "c".
struct StayingCase {
  std::string description;
  InstalledUnits installed;
  Texts staying;
  Texts requirers;  ///< of the first one
};

const std::vector<StayingCase> staying_cases = {
    {"a chain goes with the root that it hangs on",
     {{{"b", "1"}, {"c", "1"}}, {{{"b", "1", {}}, {"x", "1", {"b"}}, {"c", "1", {"x"}}}}},
     {},
     {}},
    {"a chain stays with the root that it hangs on",
     {{{"b", "1"}, {"c", "1"}, {"d", "1"}},
      {{{"b", "1", {}}, {"d", "1", {}}, {"x", "1", {"d"}}, {"y", "1", {"x"}}, {"c", "1", {"b", "y"}}}}},
     {"c"},
     {"y"}},
    {"a cycle without a root goes",
     {{{"b", "1"}, {"c", "1"}}, {{{"b", "1", {"y"}}, {"x", "1", {"y", "b"}}, {"y", "1", {"x"}}, {"c", "1", {"x"}}}}},
     {},
     {}},
    {"a cycle stays with a root",
     {{{"c", "1"}, {"d", "1"}}, {{{"d", "1", {"c"}}, {"x", "1", {"d"}}, {"c", "1", {"x"}}}}},
     {"c"},
     {"x"}},
    {"what stays itself keeps what it requires",
     {{{"b", "1"}, {"c", "1"}, {"d", "1"}}, {{{"b", "1", {"d"}}, {"c", "1", {"b"}}, {"d", "1", {}}}}},
     {"b", "c"},
     {"d"}},
    {"the first one stays", {{{"a", "2.0.0"}, {"d", "1"}}, {{{"a", "2.0.0", {"d"}}, {"d", "1", {}}}}}, {"a/2.0"}, {"d"}},
    {"a root in another version is not removed",
     {{{"a", "1"}, {"c", "1"}}, {{{"a", "1", {}}, {"c", "1", {"a"}}}}},
     {"c"},
     {"a"}},
};

TEST(Verification, WhatStaysIsRequiredFromARootThatStays) {
  for (const auto& [description, state, expected, requirers] : staying_cases) {
    const auto staying = compare(plan(true), state).staying();
    EXPECT_EQ(texts_of(staying), expected) << description;
    EXPECT_EQ(staying.empty() ? Texts() : staying[0].required_by, requirers) << description;
  }
}

}  // namespace

}  // namespace eclipse_verify
