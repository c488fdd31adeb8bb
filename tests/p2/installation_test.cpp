// What an installation meets, as the director of Eclipse 4.26 behaves.
#include "p2/installation.h"

#include <gtest/gtest.h>

using namespace eclipse_p2;

namespace {

const UnitVersions offered = {{"a", {"1.0.0", "1.10.0", "1.9.0"}}, {"b", {"2.0.0"}}};
const std::vector<InstalledUnit> installed = {{"b", "1.0.0", {}, true}, {"b", "0.5.0", {"x"}, false}, {"c", "3.0", {}, true}};

Installation of(const Unit& unit, const std::vector<InstalledUnit>& there = installed, bool is_all = true) {
  return InstallationForecast(offered, is_all, there).of(unit);
}

TEST(Installation, TakesTheHighestVersionThatIsWanted) {
  EXPECT_EQ(of({"a", ""}).step, InstallStep::add);
  EXPECT_EQ(of({"a", ""}).version, "1.10.0");
  EXPECT_EQ(of({"a", "1.9"}).version, "1.9.0");
}

TEST(Installation, KeepsWhatIsThereInThatVersion) {
  EXPECT_EQ(of({"a", ""}, {{"a", "1.10", {}, false}}).step, InstallStep::keep);
  EXPECT_EQ(of({"c", ""}).step, InstallStep::keep) << "no repository offers it";
  EXPECT_EQ(of({"c", "3.0.0"}).version, "3.0");
}

TEST(Installation, MeetsAnotherVersion) {
  const Installation conflict = of({"b", ""});
  EXPECT_EQ(conflict.step, InstallStep::conflict);
  EXPECT_EQ(conflict.version, "2.0.0");
  EXPECT_EQ(conflict.installed, "1.0.0") << "the root, which is not replaced";
  EXPECT_FALSE(conflict.installed_newer);
  EXPECT_TRUE(of({"b", ""}, {{"b", "2.0.1", {}, true}}).installed_newer);
  EXPECT_EQ(of({"b", ""}, {{"b", "1.0.0", {"x"}, false}}).step, InstallStep::upgrade);
}

TEST(Installation, OfWhatARootPinsNamesTheRoot) {
  EXPECT_EQ(of({"b", ""}, {{"b", "1.0.0", {"x"}, false, false, "x"}}).pinned_by, "x");
  EXPECT_EQ(of({"b", ""}, {{"b", "1.0.0", {"x"}, true, false, "x"}}).pinned_by, "") << "a root is not replaced anyway";
  EXPECT_EQ(of({"b", ""}, {{"b", "2.0.0", {"x"}, false, false, "x"}}).pinned_by, "") << "it stays";
}

TEST(Installation, DoesNotFindWhatNobodyOffers) {
  EXPECT_EQ(of({"d", ""}).step, InstallStep::not_found);
  EXPECT_EQ(of({"a", "7"}).step, InstallStep::not_found);
  EXPECT_EQ(of({"c", "4"}).step, InstallStep::not_found);
  const Installation unknown = of({"d", ""}, installed, false);
  EXPECT_EQ(unknown.step, InstallStep::add);
  EXPECT_EQ(unknown.version, "");
}

TEST(UnitVersions, AreAddedById) {
  UnitVersions units = {{"a", {"1.0.0"}}};
  add_to(units, {{"a", {"1.0.0", "2.0.0"}}, {"b", {"1.0.0"}}});
  EXPECT_EQ(units, (UnitVersions{{"a", {"1.0.0", "2.0.0"}}, {"b", {"1.0.0"}}}));
}

TEST(UnitVersions, OfferFeaturesIfOneIsAGroup) {
  EXPECT_FALSE(offers_features({{"a", {"1.0.0"}}, {"a.feature.jar", {"1.0.0"}}}));
  EXPECT_TRUE(offers_features({{"a", {"1.0.0"}}, {"a.feature.group", {"1.0.0"}}}));
}

}  // namespace
