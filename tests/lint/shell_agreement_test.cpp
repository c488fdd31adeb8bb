// Lint and plan agree about what the shell does with a text: lint has a finding exactly when a command is not passed on.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "lint/samples.h"
#include "plan/make_plan.h"
#include "standalone_host/session_file.h"

using namespace lint_test;

namespace {

constexpr const char* session_file = R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{ "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/t"] } }]
})";

/// Where a text is put into a descriptor, and the rules that are about the shell there.
struct Use {
  const char* before;
  const char* after;
  std::set<std::string_view> rules;
};

const Use as_feature = {"site\t", "\n", {"feature-needs-shell-quoting", "quoted-column", "space-around-column"}};
const Use as_directory = {"",
                          "\torg.example.one.feature.group\n",
                          {"repository-needs-shell-quoting", "space-in-repository", "glob-in-repository", "quoted-column",
                           "space-around-column", "backslash-in-repository"}};
/// In quotes, a space and a backslash are not always the shell's.
const Use as_archive = {"",
                        ".zip\torg.example.one.feature.group\n",
                        {"repository-needs-shell-quoting", "space-in-repository", "glob-in-repository", "quoted-column"}};

std::vector<std::string> texts() {
  std::vector<std::string> texts;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '\t' && byte != '\n') texts.emplace_back(1, static_cast<char>(byte));
  }
  constexpr std::string_view special = " ;&|()<>\\'\"$`*?[]#~=%!{}^-,:/.0a";
  for (const char first : special) {
    for (const char second : special) texts.push_back({first, second});
  }
  return texts;
}

class ShellAgreement : public testing::TestWithParam<const Use*> {
 protected:
  ShellAgreement() {
    fake::write_file("session.json", session_file);
    fake::write_file("ide/eclipse", "#!/bin/sh\n");
    std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0755));
  }

  /// What supersedes other findings is left out.
  static bool has_finding() {
    const auto findings = findings_in(
        "session.json", {.disabled = {"comment-is-data", "header-not-recognised", "columns-swapped"}, .overrides = {}});
    return std::any_of(findings.begin(), findings.end(),
                       [](const eclipse_lint::Finding& finding) { return GetParam()->rules.count(finding.rule->name) != 0; });
  }

  bool is_passed_on() {
    eclipse_host::Session session;
    eclipse_host::read_session_file("session.json", session);
    const auto plan = eclipse_plan::make_plan(plugin_, session, eclipse_plan::Retries::all);
    return plan.command.value().is_passed_on() && plan.retries.at(0).is_passed_on();
  }

  const fake::TemporaryDirectory directory_;
  const eclipse_host::Plugin plugin_{ECLIPSE_INT_LIBRARY};
};

TEST_P(ShellAgreement, HoldsForEachShortText) {
  std::size_t passed_on = 0;
  for (const std::string& text : texts()) {
    fake::write_file("tools/etc/eclipse/t", GetParam()->before + text + GetParam()->after);
    EXPECT_NE(has_finding(), is_passed_on()) << testing::PrintToString(text);
    if (is_passed_on()) ++passed_on;
  }
  EXPECT_GT(passed_on, texts().size() / 4);
  EXPECT_LT(passed_on, texts().size());
}

INSTANTIATE_TEST_SUITE_P(Lint, ShellAgreement, testing::Values(&as_feature, &as_directory, &as_archive), [](const auto& use) {
  return std::string(use.param == &as_feature ? "Feature" : use.param == &as_directory ? "Directory" : "Archive");
});

}  // namespace
