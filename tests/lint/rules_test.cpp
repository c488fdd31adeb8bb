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
  const Findings findings = findings_in(GetParam()->bad.input, {.disabled = {std::string(GetParam()->name)}, .overrides = {}});
  for (const Finding& finding : findings) EXPECT_NE(finding.rule, GetParam());
}

TEST_P(EveryRule, IsWrittenOutInFull) {
  const Rule& rule = *GetParam();
  EXPECT_TRUE(std::regex_match(std::string(rule.name), std::regex("[a-z0-9]+(-[a-z0-9]+)+")));
  EXPECT_TRUE(std::regex_match(std::string(rule.title), std::regex("[^\n]*[^. \n]"))) << rule.title;
  EXPECT_TRUE(std::regex_match(std::string(rule.why), std::regex("[^\n]*\\."))) << rule.why;
  EXPECT_TRUE(std::regex_match(std::string(rule.fix), std::regex("[^\n]*[^. \n]"))) << rule.fix;
}

INSTANTIATE_TEST_SUITE_P(
    Lint, EveryRule,
    [] {
      std::vector<const Rule*> all;
      for (const Rule& rule : rules()) all.push_back(&rule);
      return testing::ValuesIn(all);
    }(),
    [](const auto& parameter) {
      std::string name(parameter.param->name);
      std::replace(name.begin(), name.end(), '-', '_');
      return name;
    });

TEST(Rules, NamesDiffer) {
  std::set<std::string_view> names;
  for (const Rule& rule : rules()) EXPECT_TRUE(names.insert(rule.name).second) << rule.name;
}

TEST(Rules, MisspeltNamesLeadToTheRightOne) {
  EXPECT_EQ(find_rule("line-without-tabs"), nullptr);
  EXPECT_EQ(no_rule_called("line-without-tabs"), "there is no rule \"line-without-tabs\"; did you mean \"line-without-tab\"?");
}

TEST(Rules, NamesThatAreLikeNoOtherLeadToNone) {
  for (const std::string name : {"x", "", "no-such-rule", "unused-variable"}) {
    EXPECT_EQ(no_rule_called(name), "there is no rule \"" + name + "\"; \"eclipse-int explain\" lists them all");
  }
}

}  // namespace
