// Lint, plan and a run agree about a text: lint reports an error exactly when plan says that its feature fails, and then it
// does.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>

#include "base/packing.h"
#include "base/text.h"
#include "dry_run/command_pieces.h"
#include "lint/samples.h"
#include "p2/installation.h"
#include "p2/installed_units.h"
#include "p2/instance_paths.h"
#include "p2/repository_url.h"
#include "p2/unit_list.h"
#include "plan/make_plan.h"
#include "plan/offer.h"
#include "preview/preview.h"
#include "shell/command_runner.h"
#include "standalone_host/session_file.h"

using namespace lint_test;
namespace fs = std::filesystem;

namespace {

constexpr const char* session_file = R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{ "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/t"] } }]
})";

constexpr const char* feature = "org.example.one.feature.group";

/// Prints its arguments, each with a line feed after it.
constexpr const char* director = "#!/bin/sh\nprintf '%s\\n' \"$@\"\n";

enum class Use { as_feature, as_directory, as_archive };

std::string name_of(Use use) { return use == Use::as_feature ? "Feature" : use == Use::as_directory ? "Directory" : "Archive"; }

std::string descriptor_with(Use use, const std::string& text) {
  if (use == Use::as_feature) return "site\t" + text + "\n";
  return text + (use == Use::as_archive ? ".zip\t" : "\t") + feature + "\n";
}

std::string content_of(const std::set<std::string>& ids) {
  std::string units;
  for (std::string id : ids) {
    for (const auto& [character, escaped] :
         {std::pair("&", "&amp;"), std::pair("<", "&lt;"), std::pair("'", "&#39;"), std::pair("\t", "&#9;")}) {
      id = eclipse_base::replaced(id, character, escaped);
    }
    units += "<unit id='" + id + "' version='1.0.0'/>";
  }
  return "<?xml version='1.0'?><repository><units>" + units + "</units></repository>";
}

/// The text as it is written, and what somebody may mean by it: without quotes and backslashes, and what is between commas.
std::set<std::string> meanings_of(const std::string& text) {
  std::string bare = text;
  std::erase_if(bare, [](char byte) { return std::string_view("\"'\\").find(byte) != std::string_view::npos; });
  std::set<std::string> meanings = {text, bare, std::string(eclipse_base::trimmed(bare))};
  for (const std::string& part : eclipse_base::split(text, ',')) meanings.insert(part);
  // No unit is called like this, which is what the director makes of a list that begins with a comma.
  std::erase_if(meanings, [](const std::string& meaning) { return meaning.starts_with(','); });
  return meanings;
}

/// What a director does with its arguments: whether it finds all features in what it can load of the repositories.
bool succeeds(const std::vector<std::string>& arguments) {
  if (arguments.size() != 7 || arguments[6].starts_with('-')) return false;
  eclipse_p2::Repositories repositories;
  eclipse_p2::UnitVersions offered;
  for (const std::string& url : eclipse_base::split(arguments[4], ',')) {
    const bool is_archive = url.starts_with("jar:file://");
    if (!is_archive && !url.starts_with("file://")) return false;
    const std::string_view path = eclipse_dry_run::path_in(url);
    const auto& repository = repositories.at(path);
    const auto error = eclipse_p2::url_error(path, is_archive, repository);
    if (error && error->hinders_all) return false;
    if (!error && repository.units) offered.insert(repository.units->begin(), repository.units->end());
  }
  const auto units = eclipse_p2::units_named(arguments[6]);
  return !units.empty() && std::all_of(units.begin(), units.end(), [&](const auto& unit) {
    return eclipse_p2::highest_offered(unit, offered).has_value();
  });
}

class Agreement {
 public:
  explicit Agreement(Use use) : use_(use) {
    fake::write_file("session.json", session_file);
    fake::write_file("ide/eclipse", director);
    fs::permissions("ide/eclipse", fs::perms(0755));
  }

  /// The text in a descriptor, and all that may be meant by it on the disk.
  void set(const std::string& text) {
    fs::remove_all("tools");
    fake::write_file("tools/etc/eclipse/t", descriptor_with(use_, text));
    std::set<std::string> meanings = meanings_of(text);
    meanings.erase("");
    if (use_ == Use::as_feature) return fake::write_file("tools/site/content.xml", content_of(meanings));
    for (const std::string& meaning : meanings) {
      const std::string path = "tools/" + meaning;
      if (use_ == Use::as_directory) {
        fake::write_file(path + "/content.xml", content_of({feature}));
      } else {
        fake::write_file(path + ".zip", base_test::zipped({{"content.xml", content_of({feature})}}));
      }
    }
  }

  /// The rules that have errors.
  static std::set<std::string_view> errors() {
    std::set<std::string_view> rules;
    for (const eclipse_lint::Finding& finding : findings_in("session.json")) {
      if (finding.severity == eclipse_lint::Severity::error) rules.insert(finding.rule->name);
    }
    return rules;
  }

  void plan() {
    eclipse_host::Session session;
    eclipse_host::read_session_file("session.json", session);
    plan_ = eclipse_plan::make_plan(plugin_, session, eclipse_plan::Retries::all);
  }

  bool is_planned_to_fail() const {
    if (!plan_.command) return true;
    eclipse_p2::Repositories repositories;
    const auto offer = eclipse_plan::offered_to(plan_, repositories);
    const auto installed = eclipse_p2::recorded_units(eclipse_p2::instance_directory(plan_.executable));
    const auto preview = eclipse_preview::preview(plan_, offer, installed, repositories);
    return std::any_of(preview.features.begin(), preview.features.end(),
                       [](const auto& planned) { return planned.change == eclipse_preview::Change::fail; });
  }

  bool fails() const {
    return !plan_.command || (!succeeds(arguments_of(*plan_.command)) && !succeeds(arguments_of(plan_.retries.at(0))));
  }

 private:
  /// What the shell gives the director; nothing when it rejects the command.
  static std::vector<std::string> arguments_of(const eclipse_plan::PlannedCommand& command) {
    const auto result = eclipse_shell::run_in_shell(command.text);
    return result.exit_code == 0 ? eclipse_base::lines_of(result.output) : std::vector<std::string>();
  }

  Use use_;
  const eclipse_host::Plugin plugin_{ECLIPSE_INT_LIBRARY};
  eclipse_plan::Plan plan_;
};

// ---- Lint and plan ----

std::vector<std::string> short_texts() {
  std::vector<std::string> texts;
  // XML has no control characters, so no repository offers a name with one.
  for (int byte = ' '; byte < 256; ++byte) {
    if (byte != 0x7F && byte != '/' && byte != '.') texts.emplace_back(1, static_cast<char>(byte));
  }
  constexpr std::string_view special = " ;&|()<>\\'\"$`*?[]#~=%!{}^-,:0a";
  for (const char first : special) {
    for (const char second : special) texts.push_back({first, second});
  }
  return texts;
}

class ShellAgreement : public testing::TestWithParam<Use> {
 protected:
  const fake::TemporaryDirectory directory_;
};

TEST_P(ShellAgreement, HoldsForEachShortText) {
  Agreement agreement(GetParam());
  std::size_t good = 0;
  const auto texts = short_texts();
  for (const std::string& text : texts) {
    agreement.set(text);
    agreement.plan();
    const bool fails = agreement.is_planned_to_fail();
    const auto errors = Agreement::errors();
    EXPECT_EQ(!errors.empty(), fails) << testing::PrintToString(errors) << testing::PrintToString(text);
    if (!fails) ++good;
  }
  EXPECT_GT(good, texts.size() / 8);
  EXPECT_LT(good, texts.size());
}

INSTANTIATE_TEST_SUITE_P(Lint, ShellAgreement, testing::Values(Use::as_feature, Use::as_directory, Use::as_archive),
                         [](const auto& use) { return name_of(use.param); });

// ---- Lint and plan about what is offered and installed ----

TEST(Lookup, IsTheSameForLintAndPlan) {
  const fake::TemporaryDirectory directory;
  Agreement agreement(Use::as_feature);
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile",
                   "<profile><units><unit id='x.kept.feature.group' version='1.0.0'/></units></profile>");
  fake::write_file("tools/site/content.xml", content_of({"x.offered.feature.group"}));
  const std::string offered = "x.offered.feature.group";
  const std::string kept = "x.kept.feature.group";
  const std::string missing = "x.missing.feature.group";
  const std::vector<std::pair<std::string, bool>> columns = {{offered, false},
                                                             {offered + "/1.0.0", false},
                                                             {offered + "/2.0.0", true},
                                                             {"'" + offered + "'", false},
                                                             {missing, true},
                                                             {"'" + missing + "'", true},
                                                             {kept, false},
                                                             {kept + "/1.0", false},
                                                             {kept + "/2.0.0", true},
                                                             {offered + "," + kept, false},
                                                             {offered + "," + missing, true}};
  for (const auto& [column, fails] : columns) {
    fake::write_file("tools/etc/eclipse/t", descriptor_with(Use::as_feature, column));
    agreement.plan();
    EXPECT_EQ(agreement.is_planned_to_fail(), fails) << column;
    const auto errors = Agreement::errors();
    EXPECT_EQ(!errors.empty(), fails) << testing::PrintToString(errors) << column;
  }
}

// ---- Lint, plan and what the shell gives the director ----

const std::vector<std::string> texts = {
    "org.example.a", "a b",   " a",      "a ",   "a\tb",  "$HOME", "$(x)", "`x`",  "a$",    "a;b", "a&b",    "a|b",
    "'a'",           "\"a\"", "\"a b\"", "it's", "a\"b",  "'a",    "a\\b", "a\\",  "a\\ b", "\\a", "~",      "~root",
    "a~b",           "#a",    "a#b",     "*",    "a*b",   "t*s",   "a?b",  "[ab]", "a!b",   "!a",  "",       "\xC3\xA4",
    "\xE4",          "a%20b", "a%zb",    "%41",  "a,b",   ",a",    "a,",   "<a",   "a>b",   "2>a", "(a)",    "{a,b}",
    "a=b",           "-a",    "^a",      "a+b",  "a:b",   "a@b",   "a''b", "\"\"", "a\rb",  "1",   "a\\\"b", "a.b/c",
    "'-a'",          "\\-a",  "',a'",    "a,-b", "'a,b'", "' a '", "'a',b"};

class ThreeAgree : public testing::TestWithParam<std::tuple<Use, std::string>> {
 protected:
  const fake::TemporaryDirectory directory_;
};

TEST_P(ThreeAgree, AboutAText) {
  const auto& [use, text] = GetParam();
  Agreement agreement(use);
  agreement.set(text);
  agreement.plan();
  const bool fails = agreement.fails();
  const auto errors = Agreement::errors();
  EXPECT_EQ(!errors.empty(), fails) << testing::PrintToString(errors) << "lint about " << testing::PrintToString(text);
  EXPECT_EQ(agreement.is_planned_to_fail(), fails) << "plan about " << testing::PrintToString(text);
}

INSTANTIATE_TEST_SUITE_P(Lint, ThreeAgree,
                         testing::Combine(testing::Values(Use::as_feature, Use::as_directory, Use::as_archive),
                                          testing::ValuesIn(texts)),
                         [](const auto& it) {
                           const auto index = it.index % texts.size();
                           return name_of(std::get<0>(it.param)) + std::to_string(index);
                         });

}  // namespace
