#include "verify/verification.h"

#include <gtest/gtest.h>

namespace eclipse_verify {

namespace {

using eclipse_plan::Plan;
using eclipse_plan::PlannedRecord;
using eclipse_plan::RecordFate;
using Texts = std::vector<std::string>;

PlannedRecord record(std::size_t line, const std::string& feature, std::int64_t slot, RecordFate fate = RecordFate::listed) {
  PlannedRecord record;
  record.file = "p";
  record.line = line;
  record.config.feature = feature;
  record.slot = slot;
  record.fate = fate;
  return record;
}

Plan plan(bool is_removal) {
  Plan plan;
  plan.is_removal = is_removal;
  plan.records = {record(1, "b", 1), record(2, "a/2.0", 0), record(3, "c,b", 2), record(4, "b", 3, RecordFate::repeated),
                  record(5, "d", 0, RecordFate::no_repository)};
  return plan;
}

Texts texts_of(const std::vector<CheckedUnit>& units) {
  Texts texts;
  for (const CheckedUnit& checked : units) texts.push_back(text_of(checked.unit));
  return texts;
}

const std::vector<Unit> installed = {{"a", "1.0.0"}, {"b", "1.0.0"}, {"local.ide", "4"}};

TEST(Verification, LooksAtEachUnitOnceWithAllItsPlaces) {
  const Verification verification = compare(plan(false), installed);
  EXPECT_EQ(texts_of(verification.units), (Texts{"a/2.0", "b", "c"}));
  EXPECT_EQ(verification.units[1].places, (Texts{"p:1", "p:3", "p:4"}));
}

TEST(Verification, NamesWhatIsMissingAfterAnInstallation) {
  const Verification verification = compare(plan(false), installed);
  EXPECT_EQ(texts_of(verification.differences()), (Texts{"a/2.0", "c"}));
  EXPECT_EQ(verification.differences()[0].other_versions, Texts{"1.0.0"});
  EXPECT_EQ(texts_of(verification.not_there()), Texts()) << "it is no removal";
}

TEST(Verification, NamesWhatIsLeftAfterARemoval) {
  const Verification verification = compare(plan(true), installed);
  EXPECT_EQ(texts_of(verification.differences()), Texts{"b"});
  EXPECT_EQ(texts_of(verification.not_there()), (Texts{"a/2.0", "c"}));
}

TEST(Verification, TellsWhatCameInAndWentOut) {
  EXPECT_EQ(missing_in(installed, {{"b", "1.0.0"}, {"c", "1"}}), (std::vector<Unit>{{"a", "1.0.0"}, {"local.ide", "4"}}));
  EXPECT_EQ(missing_in(installed, installed), std::vector<Unit>());
}

}  // namespace

}  // namespace eclipse_verify
