// Whether a unit is brought in two versions, and which of them goes in.
#include "p2/brought_versions.h"

#include <gtest/gtest.h>

using namespace eclipse_p2;

namespace {

const UnitVersions offered = {{"a", {"1.0.0", "2.0.0"}}, {"b", {"1.0.0"}}};

/// Each as "VERSION", with " RIVAL" if it has one, and " kept out".
std::vector<std::string> brought(const std::vector<Unit>& named, const std::vector<InstalledUnit>& installed = {},
                                 bool is_all = true) {
  std::vector<std::string> texts;
  for (const BroughtVersion& unit : versions_brought_by(named, InstallationForecast(offered, is_all, installed))) {
    texts.push_back(unit.version + (unit.rival ? " " + std::to_string(*unit.rival) : "") +
                    (unit.is_kept_out_by_rival() ? " kept out" : ""));
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(BroughtVersions, TwoOfAUnitAreRivals) {
  EXPECT_EQ(brought({{"a", ""}, {"b", ""}, {"a", "1.0"}}), (Texts{"2.0.0 2", "1.0.0", "1.0.0 0 kept out"}));
  EXPECT_EQ(brought({{"a", "1.0.0"}, {"a", ""}, {"a", "2.0.0"}}), (Texts{"1.0.0 1", "2.0.0 0 kept out", "2.0.0 0 kept out"}));
}

TEST(BroughtVersions, OneVersionInTwoSpellingsIsNoRival) {
  EXPECT_EQ(brought({{"a", "2.0"}, {"a", ""}, {"a", "02.0.0"}}), (Texts{"2.0.0", "2.0.0", "2.0.0"}));
}

TEST(BroughtVersions, VersionThatNoRepositoryOffersIsNotBrought) {
  EXPECT_EQ(brought({{"a", "3.0.0"}, {"a", ""}}), (Texts{"", "2.0.0"}));
}

TEST(BroughtVersions, PinnedVersionMayBeInARepositoryThatIsNotKnown) {
  EXPECT_EQ(brought({{"c", "1.0.0"}, {"c", "2.0.0"}}, {}, false), (Texts{"1.0.0 1", "2.0.0 0 kept out"}));
  EXPECT_EQ(brought({{"c", "1.0.0"}, {"c", ""}}, {}, false), (Texts{"1.0.0", ""})) << "any version may be taken";
}

TEST(BroughtVersions, TheInstalledOneStays) {
  EXPECT_EQ(brought({{"a", ""}, {"a", "1.0.0"}}, {{"a", "1.0.0", {}, true}}), (Texts{"2.0.0 1 kept out", "1.0.0 0"}));
}

}  // namespace
