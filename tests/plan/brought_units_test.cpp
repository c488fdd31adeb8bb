#include "plan/brought_units.h"

#include <gtest/gtest.h>

namespace eclipse_plan {

namespace {

using Texts = std::vector<std::string>;

Plan plan(const Texts& features) {
  Plan plan;
  for (const std::string& feature : features) {
    PlannedRecord& record = plan.records.emplace_back();
    record.file = "p";
    record.line = plan.records.size();
    record.config.feature = feature;
    record.slot = static_cast<std::int64_t>(plan.records.size());
    record.status = RecordStatus::listed;
  }
  return plan;
}

/// All that is known of each unit, as text.
Texts described(const std::vector<BroughtUnit>& units) {
  Texts texts;
  for (const BroughtUnit& unit : units) {
    texts.push_back(std::to_string(unit.number) + " " + unit.record->place() + ": " + text_of(unit.named) + " in " +
                    unit.brought.version + (unit.rival.empty() ? "" : ", rival " + unit.rival));
  }
  return texts;
}

Offer offer() {
  Offer offer;
  offer.units = {{"a", {"1.0.0", "2.0.0"}}, {"b", {"1.0.0"}}};
  return offer;
}

TEST(BroughtUnits, AreThoseOfEachLineInOrder) {
  const Plan three = plan({"a,b", "", "'c'"});
  EXPECT_EQ(described(units_brought_by(three, offer(), {})),
            (Texts{"1 p:1: a in 2.0.0", "1 p:1: b in 1.0.0", "2 p:2:  in ", "3 p:3: c in "}));
}

TEST(BroughtUnits, MayBeRivals) {
  const Plan four = plan({"a/1.0.0", "b", "a", "b"});
  EXPECT_EQ(described(units_brought_by(four, offer(), {})),
            (Texts{"1 p:1: a/1.0.0 in 1.0.0, rival 2.0.0 (p:3)", "2 p:2: b in 1.0.0", "3 p:3: a in 2.0.0, rival 1.0.0 (p:1)",
                   "4 p:4: b in 1.0.0"}));
}

TEST(BroughtUnits, AreNoneInARemoval) {
  Plan removal = plan({"a"});
  removal.is_removal = true;
  EXPECT_EQ(described(units_brought_by(removal, offer(), {})), Texts());
}

}  // namespace

}  // namespace eclipse_plan
