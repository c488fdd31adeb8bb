// What can be foreseen of a run from the director's verdicts.
#include "resolve/resolution.h"

#include <gtest/gtest.h>

using namespace eclipse_resolve;
using eclipse_p2::Failure;
using eclipse_p2::Layer;

namespace {

using Texts = std::vector<std::string>;

Verdict good(const Texts& features) { return {features, std::nullopt, 0}; }

Verdict bad(const Texts& features, Layer layer = Layer::director) {
  return {features, Failure{layer, "it could not", {}, std::nullopt}, 13};
}

/// Of "a", "b" and "c" at once, and of each.
Resolution resolution(Verdict all, std::vector<Verdict> each = {}, std::optional<Verdict> those = std::nullopt) {
  Resolution made;
  made.all = std::move(all);
  made.each = std::move(each);
  made.those = std::move(those);
  return made;
}

const Texts abc = {"a", "b", "c"};

TEST(Resolution, ExpectsAllWhenAllResolve) {
  EXPECT_EQ(resolution(good(abc)).expected(), abc);
  EXPECT_FALSE(resolution(good(abc)).fails());
}

TEST(Resolution, ExpectsThoseThatResolveAloneAndTogether) {
  const auto those = resolution(bad(abc), {good({"a"}), bad({"b"}), good({"c"})}, good({"a", "c"}));
  EXPECT_TRUE(those.fails());
  EXPECT_EQ(those.resolving_alone(), (Texts{"a", "c"}));
  EXPECT_EQ(those.expected(), (Texts{"a", "c"}));
  EXPECT_EQ(resolution(bad(abc), {bad({"a"}), good({"b"}), bad({"c"})}).expected(), Texts{"b"});
  EXPECT_EQ(resolution(bad(abc), {bad({"a"}), bad({"b"}), bad({"c"})}).expected(), Texts());
  EXPECT_EQ(resolution(bad({"a"})).expected(), Texts());
}

TEST(Resolution, DoesNotForeseeWhichOfSeveralThatConflictGoIn) {
  EXPECT_EQ(resolution(bad(abc), {good({"a"}), good({"b"}), good({"c"})}).expected(), std::nullopt);
  EXPECT_EQ(resolution(bad(abc), {good({"a"}), bad({"b"}), good({"c"})}, bad({"a", "c"})).expected(), std::nullopt);
}

TEST(Resolution, ExpectsNothingOfARemovalThatFailsAtOnce) {
  auto removal = resolution(bad(abc), {good({"a"}), bad({"b"}), good({"c"})}, good({"a", "c"}));
  removal.is_removal = true;
  EXPECT_EQ(removal.expected(), Texts());
}

TEST(Resolution, ExpectsNothingWhenNoDirectorAnswers) {
  EXPECT_EQ(resolution(bad(abc, Layer::launcher)).expected(), Texts());
  EXPECT_EQ(Resolution().expected(), std::nullopt) << "it was not asked";
  EXPECT_FALSE(Resolution().fails());
}

}  // namespace
