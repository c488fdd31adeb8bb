// That each rule finds its own mistake, and is quiet where there is none.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;

namespace {

class EveryRule : public testing::TestWithParam<const Rule*> {};

TEST_P(EveryRule, HasAFindingInItsBadSample) {
  const fake::TemporaryDirectory directory;
  write_sample(GetParam()->bad);
  const Findings findings = findings_in(GetParam()->bad.input);
  const auto is_its = [](const Finding& finding) { return finding.rule == GetParam(); };
  EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), is_its)) << testing::PrintToString(summary_of(findings));
}

TEST_P(EveryRule, LeavesNothingToSayOfItsGoodSample) {
  const fake::TemporaryDirectory directory;
  write_sample(GetParam()->good);
  EXPECT_EQ(summary_of(findings_in(GetParam()->good.input)), std::vector<std::string>());
}

TEST_P(EveryRule, CanBeDisabled) {
  const fake::TemporaryDirectory directory;
  write_sample(GetParam()->bad);
  const Findings findings =
      findings_in(GetParam()->bad.input, {.disabled = {std::string(GetParam()->name)}, .suppressions = {}});
  for (const Finding& finding : findings) EXPECT_NE(finding.rule, GetParam());
}

TEST_P(EveryRule, IsWrittenOutInFull) {
  const Rule& rule = *GetParam();
  EXPECT_TRUE(std::regex_match(std::string(rule.name), std::regex("[a-z0-9]+(-[a-z0-9]+)+")));
  EXPECT_TRUE(std::regex_match(std::string(rule.title), std::regex("[^\n]*[^. \n]"))) << rule.title;
  EXPECT_TRUE(std::regex_match(std::string(rule.why), std::regex("[^\n]*\\."))) << rule.why;
  EXPECT_TRUE(std::regex_match(std::string(rule.fix), std::regex("[^\n]*[^. \n]"))) << rule.fix;
}

INSTANTIATE_TEST_SUITE_P(Lint, EveryRule, testing::ValuesIn(every_rule()),
                         [](const auto& parameter) { return test_name_of(*parameter.param); });

TEST(Rules, NamesDiffer) {
  std::set<std::string_view> names;
  for (const Rule& rule : rules()) EXPECT_TRUE(names.insert(rule.name).second) << rule.name;
}

TEST(Rules, StandInTheOrderOfTheirGroups) {
  EXPECT_TRUE(std::is_sorted(rules().begin(), rules().end(),
                             [](const Rule& one, const Rule& other) { return one.group < other.group; }));
}

TEST(Rules, EveryGroupHasRulesAndANameOfItsOwn) {
  std::set<std::string_view> names;
  std::size_t count = 0;
  for (const Group group : groups) {
    const std::string name(name_of(group));
    EXPECT_TRUE(names.insert(name_of(group)).second) << name;
    EXPECT_EQ(find_group(name), group);
    EXPECT_EQ(find_rule(name), nullptr);
    EXPECT_NE(heading_of(group), "");
    EXPECT_FALSE(rules_named(name).empty()) << name;
    for (const Rule* const rule : rules_named(name)) EXPECT_EQ(rule->group, group) << rule->name;
    count += rules_named(name).size();
  }
  EXPECT_EQ(count, rules().size());
}

TEST(Rules, NameARuleOrAGroup) {
  EXPECT_EQ(rules_named("order-taken"), std::vector<const Rule*>{find_rule("order-taken")});
  EXPECT_EQ(rules_named("order"), std::vector<const Rule*>());
  EXPECT_EQ(find_group("order"), std::nullopt);
}

TEST(Rules, AreSelectedAndDisabledByNameOrGroup) {
  const auto enabled = [](const Settings& settings) {
    std::set<std::string_view> names;
    for (const Rule& rule : rules()) {
      if (is_enabled(rule, settings)) names.insert(rule.name);
    }
    return names;
  };
  const auto named = [](const std::string& name) {
    std::set<std::string_view> names;
    for (const Rule* const rule : rules_named(name)) names.insert(rule->name);
    return names;
  };
  using Names = std::set<std::string_view>;
  EXPECT_EQ(enabled({}).size(), rules().size());
  EXPECT_EQ(enabled({.disabled = {}, .selected = {"orders"}, .suppressions = {}}), named("orders"));
  EXPECT_EQ(enabled({.disabled = {}, .selected = {"order-taken", "comma-in-feature"}, .suppressions = {}}),
            (Names{"order-taken", "comma-in-feature"}));
  Names without_one = named("orders");
  without_one.erase("order-taken");
  EXPECT_EQ(enabled({.disabled = {"order-taken"}, .selected = {"orders"}, .suppressions = {}}), without_one);
  EXPECT_EQ(enabled({.disabled = {"orders"}, .selected = {"order-taken"}, .suppressions = {}}), Names());
  EXPECT_EQ(enabled({.disabled = {"orders"}, .suppressions = {}}).size(), rules().size() - named("orders").size());
}

TEST(Rules, MisspelledNamesLeadToTheRightOne) {
  EXPECT_EQ(find_rule("line-without-tabs"), nullptr);
  EXPECT_EQ(unknown_rule("line-without-tabs"), "there is no rule \"line-without-tabs\"; did you mean \"line-without-tab\"?");
  EXPECT_EQ(unknown_rule_or_group("line-without-tabs"),
            "there is no rule or group \"line-without-tabs\"; did you mean \"line-without-tab\"?");
  EXPECT_EQ(unknown_rule_or_group("order"), "there is no rule or group \"order\"; did you mean \"orders\"?");
}

TEST(Rules, NamesThatAreLikeNoOtherLeadToNone) {
  for (const std::string name : {"x", "", "no-such-rule", "unused-variable"}) {
    EXPECT_EQ(unknown_rule(name), "there is no rule \"" + name + "\"; \"eclipse-int explain\" lists them all");
    EXPECT_EQ(unknown_rule_or_group(name),
              "there is no rule or group \"" + name + "\"; \"eclipse-int explain\" lists them all");
  }
}

}  // namespace
