#include "update/update.h"

#include <gtest/gtest.h>

namespace eclipse_update {

namespace {

using eclipse_p2::InstalledUnits;
using eclipse_p2::Unit;
using eclipse_plan::Offer;
using eclipse_plan::Plan;
using eclipse_plan::PlannedRecord;

Plan plan(const std::vector<std::string>& features) {
  Plan plan;
  plan.executable = "/opt/eclipse";
  plan.repositories = {"\"jar:file:///b.zip!/\"", "file:///a"};
  for (const std::string& feature : features) {
    PlannedRecord& record = plan.records.emplace_back();
    record.file = "p";
    record.line = plan.records.size();
    record.config.feature = feature;
    record.slot = static_cast<std::int64_t>(plan.records.size());
    record.status = eclipse_plan::RecordStatus::listed;
  }
  return plan;
}

Offer offer(eclipse_p2::UnitVersions units) {
  Offer offer;
  offer.units = std::move(units);
  return offer;
}

/// "older" and "newer" by name, "along" with "older".
const InstalledUnits installed = eclipse_p2::installed_of(
    {{"older", "1.0.0", {}, true}, {"newer", "3.0.0", {}, true}, {"same", "2.0.0", {}, true}, {"along", "1.0.0", {"older"}}});

const Offer of_several_sites = offer({{"older", {"1.0.0", "1.5.0", "2.0.0"}},
                                      {"newer", {"2.0.0"}},
                                      {"same", {"2.0.0"}},
                                      {"along", {"2.0.0"}},
                                      {"new", {"1.0.0"}}});

std::vector<std::string> texts_of(const std::vector<Replacement>& replacements) {
  std::vector<std::string> texts;
  for (const Replacement& each : replacements) {
    texts.push_back(text_of(each.installed) + " -> " + text_of(each.offered) + (each.is_downgrade ? " down" : "") + " " +
                    each.place);
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(Update, ReplacesRootsByTheHighestVersionOfAllSites) {
  const auto replacements =
      replacements_for(plan({"older", "newer", "same,along", "new", "older"}), of_several_sites, installed);
  EXPECT_EQ(texts_of(replacements), (Texts{"older/1.0.0 -> older/2.0.0 p:1", "newer/3.0.0 -> newer/2.0.0 down p:2"}));
}

TEST(Update, KeepsToAVersionThatIsNamed) {
  EXPECT_EQ(texts_of(replacements_for(plan({"older/1.5.0"}), of_several_sites, installed)),
            (Texts{"older/1.0.0 -> older/1.5.0 p:1"}));
  EXPECT_EQ(texts_of(replacements_for(plan({"older/1.0"}), of_several_sites, installed)), Texts());
  EXPECT_EQ(texts_of(replacements_for(plan({"older/7"}), of_several_sites, installed)), Texts()) << "nobody offers it";
}

TEST(Update, ReplacesEachUnitOfALine) {
  EXPECT_EQ(texts_of(replacements_for(plan({"same,newer,older"}), of_several_sites, installed)),
            (Texts{"newer/3.0.0 -> newer/2.0.0 down p:1", "older/1.0.0 -> older/2.0.0 p:1"}));
}

TEST(Update, IsNoMatterOfRemovalsAndUnknownInstances) {
  Plan removal = plan({"older"});
  removal.is_removal = true;
  EXPECT_TRUE(replacements_for(removal, of_several_sites, installed).empty());
  EXPECT_TRUE(replacements_for(plan({"older"}), of_several_sites, {installed.roots, std::nullopt}).empty());
}

TEST(Update, IsAskedForWhenAVersionIsOlder) {
  const auto older = replacements_for(plan({"older"}), of_several_sites, installed);
  EXPECT_EQ(refusal_for(older, {}),
            "older 1.0.0 is installed, and the session offers 2.0.0; the director would not replace the installed version; use "
            "--update");
  EXPECT_EQ(refusal_for(older, {true, false}), "");
}

TEST(Update, IsAskedForWithEachUnitThatIsOlder) {
  const auto two_older = eclipse_p2::installed_of({{"older", "1.0.0", {}, true}, {"new", "0.9.0", {}, true}});
  EXPECT_EQ(refusal_for(replacements_for(plan({"older", "new"}), of_several_sites, two_older), {}),
            "older 1.0.0 is installed, and the session offers 2.0.0, new 0.9.0 is installed, and the session offers 1.0.0; "
            "the director would not replace the installed version; use --update");
}

TEST(Update, GoesToALowerVersionOnlyOnRequest) {
  const auto newer = replacements_for(plan({"newer"}), of_several_sites, installed);
  EXPECT_EQ(refusal_for(newer, {}), "") << "up to the director";
  EXPECT_EQ(refusal_for(newer, {true, false}),
            "newer 3.0.0 is installed, and the session offers only 2.0.0; --allow-downgrade goes back to it");
  EXPECT_EQ(refusal_for(newer, {true, true}), "");
  EXPECT_EQ(refusal_for(replacements_for(plan({"older", "newer"}), of_several_sites, installed), {}),
            "older 1.0.0 is installed, and the session offers 2.0.0; the director would not replace the installed version; use "
            "--update (with "
            "--allow-downgrade, since newer 3.0.0 is installed, and the session offers only 2.0.0)");
}

TEST(Update, NamesTheFirstThreeOfMany) {
  std::vector<Replacement> replacements;
  for (const char* const id : {"a", "b", "c"}) replacements.push_back({{id, "1"}, {id, "2"}, "p:1", false, "3 (p:2)"});
  const std::string three =
      "a 1 is installed, and the session offers 2, b 1 is installed, and the session offers 2, "
      "c 1 is installed, and the session offers 2";
  const std::string contradictions =
      "the session offers a in the versions 2 (p:1) and 3 (p:2), "
      "the session offers b in the versions 2 (p:1) and 3 (p:2), "
      "the session offers c in the versions 2 (p:1) and 3 (p:2)";
  EXPECT_EQ(refusal_for(replacements, {}), contradictions + "; leave out all but one of the lines");
  replacements.push_back({{"d", "1"}, {"d", "2"}, "p:1", false, "3 (p:2)"});
  EXPECT_EQ(refusal_for(replacements, {}), contradictions + " and 1 more; leave out all but one of the lines");
  for (Replacement& replacement : replacements) replacement.rival.clear();
  EXPECT_EQ(refusal_for(replacements, {}),
            three + " and 1 more; the director would not replace the installed version; use --update");
}

TEST(Update, IsRefusedForASessionThatContradictsItself) {
  const auto contradictions = replacements_for(plan({"older/1.0.0", "newer", "older"}), of_several_sites, installed);
  ASSERT_EQ(contradictions.size(), 2U);
  const std::string refusal =
      "the session offers older in the versions 2.0.0 (p:3) and 1.0.0 (p:1); leave out all but one of the lines";
  for (const UpdateOptions& update_options :
       {UpdateOptions{false, false}, UpdateOptions{true, false}, UpdateOptions{true, true}}) {
    EXPECT_EQ(refusal_for(contradictions, update_options), refusal);
  }
  EXPECT_EQ(refusal_for(replacements_for(plan({"older/2", "older"}), of_several_sites, installed), {true, false}), "")
      << "the same version";
  EXPECT_EQ(refusal_for(replacements_for(plan({"newer", "newer/3"}), of_several_sites, installed), {}), "")
      << "up to the director";
}

TEST(Update, OfALineThatRepeatsAUnitTakesNoLonger) {
  std::string line = "older/1.0.0";
  for (int i = 0; i < 100'000; ++i) line += ",older";
  const auto replacements = replacements_for(plan({line}), of_several_sites, installed);
  ASSERT_EQ(replacements.size(), 1U);
  EXPECT_EQ(replacements.front().rival, "1.0.0 (p:1)");
}

TEST(Update, IsOneCommand) {
  const Plan both = plan({"older", "newer"});
  EXPECT_EQ(update_command(both, replacements_for(both, of_several_sites, installed)),
            "/opt/eclipse -nosplash -nl en -application org.eclipse.equinox.p2.director -repository "
            "'jar:file:///b.zip!/,file:///a' -u 'older/1.0.0,newer/3.0.0' -i 'older/2.0.0,newer/2.0.0' 2>&1");
}

}  // namespace

}  // namespace eclipse_update
