#include "lint/configuration.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/text.h"
#include "lint/samples.h"
#include "shell/command_runner.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

class ConfigurationFile : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;

  /// The configuration file that is found, relative to the test's directory; empty for none.
  std::string found(const std::string& linted) const {
    const auto file = find_configuration(linted);
    return file ? file->lexically_relative(directory.path()).string() : "";
  }
};

TEST_F(ConfigurationFile, IsTheNearest) {
  write_file(".git/HEAD", "");
  write_file(".eclipse-int.json", "{}");
  write_file("a/b/c/t", "");
  write_file("a/b/.eclipse-int.json", "{}");
  write_file("a/x/s.json", "{}");
  fs::create_symlink("b", "a/link");
  EXPECT_EQ(found("a/b/c/t"), "a/b/.eclipse-int.json");
  EXPECT_EQ(found("a/b/c/missing"), "a/b/.eclipse-int.json");
  EXPECT_EQ(found("a/b/c"), "a/b/.eclipse-int.json");
  EXPECT_EQ(found("a/b/c/"), "a/b/.eclipse-int.json");
  EXPECT_EQ(found("a/b"), "a/b/.eclipse-int.json");
  EXPECT_EQ(found("a/b/.."), ".eclipse-int.json");
  EXPECT_EQ(found("a/x/../b/c/t"), "a/b/.eclipse-int.json");
  EXPECT_EQ(found("a/link/c"), "a/link/.eclipse-int.json");
  EXPECT_EQ(found("a/x/s.json"), ".eclipse-int.json");
  EXPECT_EQ(found("a"), ".eclipse-int.json");
  EXPECT_EQ(found("."), ".eclipse-int.json");
  EXPECT_EQ(found("-"), ".eclipse-int.json");
}

TEST_F(ConfigurationFile, IsNotOutsideOfTheRepository) {
  write_file(".eclipse-int.json", "{}");
  write_file("repository/.git", "gitdir: elsewhere");
  write_file("repository/tools/t", "");
  write_file("other/t", "");
  EXPECT_EQ(found("repository/tools/t"), "");
  EXPECT_EQ(found("repository"), "");
  EXPECT_EQ(found("other/t"), ".eclipse-int.json");
}

TEST_F(ConfigurationFile, MayBeABrokenLinkAndIsThenAnError) {
  write_file("a/t", "");
  fs::create_symlink("missing", "a/.eclipse-int.json");
  write_file(".eclipse-int.json", "{}");
  EXPECT_EQ(found("a/t"), "a/.eclipse-int.json");
}

/// The findings in a component with three pinned features and one with a space, as "LINE SEVERITY RULE" and the reason.
Texts findings_with(const std::string& configuration, Settings settings = {}, const std::string& input = "tools") {
  const fake::TemporaryDirectory directory;
  write_file(".eclipse-int.json", configuration);
  write_file("named.json", R"({"rules": {"feature-pinned": "note"}})");
  write_file("tools/etc/eclipse/t", "s\ta.b.feature.group/1\ns\ta.c.feature.group/1\ns\ta.d.feature.group \n");
  write_file("tools/s/compositeContent.xml",
             "<repository><children><child location='https://example.org/site'/></children></repository>");
  settings.disabled.insert("repository-not-examined");
  settings.configuration.is_wanted = true;
  Texts texts;
  for (const Finding& finding : lint_test::findings_in(input, settings)) {
    texts.push_back(std::to_string(finding.location.line) + " " + std::string(name_of(finding.severity)) + " " +
                    std::string(finding.rule->name) + (finding.reason ? ": " + *finding.reason : ""));
  }
  return texts;
}

const std::string first = "1 warning feature-pinned";
const std::string second = "2 warning feature-pinned";
const std::string third = "3 error space-around-column";

TEST(Configuration, MayBeEmpty) { EXPECT_EQ(findings_with("// nothing yet\n{}"), Texts({first, second, third})); }

TEST(Configuration, SetsTheSeverityOfRulesAndGroups) {
  EXPECT_EQ(findings_with(R"({"rules": {"feature-pinned": "error"}})"),
            Texts({"1 error feature-pinned", "2 error feature-pinned", third}));
  EXPECT_EQ(findings_with(R"({"rules": {"features": "note"}})"),
            Texts({"1 note feature-pinned", "2 note feature-pinned", third}));
  EXPECT_EQ(findings_with(R"({"rules": {"feature-pinned": "off", "lines": "warning"}})"),
            Texts({"3 warning space-around-column"}));
}

TEST(Configuration, ARuleCountsMoreThanItsGroup) {
  for (const char* rules :
       {R"("feature-pinned": "note", "features": "off")", R"("features": "off", "feature-pinned": "note")"}) {
    EXPECT_EQ(findings_with(std::string(R"({"rules": {)") + rules + "}}"),
              Texts({"1 note feature-pinned", "2 note feature-pinned", third}));
  }
}

TEST(Configuration, SuppressesFindings) {
  const auto with_file = [](const std::string& file) {
    return findings_with(R"({"suppressions": [{"rule": "feature-pinned", "file": ")" + file + R"(", "reason": "why"}]})");
  };
  const Texts suppressed = {first + ": why", second + ": why", third};
  const Texts all = {first, second, third};
  EXPECT_EQ(findings_with(R"({"suppressions": [{"rule": "feature-pinned", "reason": "why"}]})"), suppressed);
  EXPECT_EQ(findings_with(R"({"suppressions": [{"rule": "feature-pinned", "line": 2, "reason": "why"}]})"),
            Texts({first, second + ": why", third}));
  for (const char* file : {"tools/etc/eclipse/t", "./tools//etc/eclipse/t", "tools", "tools/", "tools/etc", "."}) {
    EXPECT_EQ(with_file(file), suppressed) << file;
  }
  for (const char* file : {"t", "etc/eclipse/t", "ools", "tool", "tools/etc/eclipse/t/x", "/tools", "..x"}) {
    EXPECT_EQ(with_file(file), all) << file;
  }
}

TEST(Configuration, ItsPathsAreRelativeToIt) {
  const fake::TemporaryDirectory directory;
  write_file("product/.eclipse-int.json",
             R"({"suppressions": [{"rule": "feature-pinned", "file": "a/etc", "reason": "why"}]})");
  write_file("product/a/etc/eclipse/t", "s\ta.b.feature.group/1\n");
  write_file("product/b/etc/eclipse/t", "s\ta.b.feature.group/1\n");
  const Settings settings = {.disabled = {"repositories"}, .suppressions = {}, .configuration = {.is_wanted = true}};
  const auto reasons = [&](const std::string& input) {
    Texts texts;
    for (const Finding& finding : lint_test::findings_in(input, settings)) texts.push_back(finding.reason.value_or("none"));
    return texts;
  };
  EXPECT_EQ(reasons("product"), Texts({"why", "none"}));
  EXPECT_EQ(reasons("product/a"), Texts({"why"}));
  EXPECT_EQ(reasons(directory.path() + "/product/a/etc/eclipse/t"), Texts({"why"}));
  fs::current_path("product/a/etc");
  EXPECT_EQ(reasons("eclipse/t"), Texts({"why"}));
  EXPECT_EQ(reasons("../../b"), Texts({"none"}));
}

TEST(Configuration, TheSettingsOfACommandCountMore) {
  const std::string off = R"({"rules": {"feature-pinned": "off", "lines": "note"}})";
  EXPECT_EQ(findings_with(off), Texts({"3 note space-around-column"}));
  EXPECT_EQ(findings_with(off, {.disabled = {"lines"}, .suppressions = {}}), Texts());
  EXPECT_EQ(findings_with(off, {.disabled = {}, .selected = {"feature-pinned"}, .suppressions = {}}), Texts({first, second}));
  EXPECT_EQ(findings_with(R"({"suppressions": [{"rule": "feature-pinned", "reason": "why"}]})",
                          {.disabled = {}, .suppressions = {{"feature-pinned", {}, 1, "more"}}}),
            Texts({first + ": more", second + ": why", third}));
}

TEST(Configuration, AnotherOneCanBeNamed) {
  const Settings settings = {.disabled = {}, .suppressions = {}, .configuration = {.is_wanted = true, .file = "named.json"}};
  EXPECT_EQ(findings_with(R"({"rules": {"lines": "off"}})", settings),
            Texts({"1 note feature-pinned", "2 note feature-pinned", third}));
}

/// The errors in a configuration file, without the file's name; empty when there is none.
std::string errors_of(const std::string& content) {
  try {
    read_configuration(eclipse_base::JsonDocument("c", content));
    return "";
  } catch (const eclipse_base::FileError& errors) {
    std::string lines;
    for (const auto& error : errors.each()) lines += std::string(error.what()).substr(2) + "\n";
    return lines;
  }
}

TEST(Configuration, ErrorsAreReportedAtTheirLocations) {
  EXPECT_EQ(errors_of(""), "1:1: document: is empty; write JSON into it\n");
  EXPECT_EQ(errors_of("[]"), "1:1: document: expected an object, found an array; write it in { }\n");
  EXPECT_EQ(errors_of("{\"rules\": {},}"),
            "1:14: document: syntax error, unexpected '}'; a key in double quotes belongs here, and no comma after "
            "the last member\n");
  EXPECT_EQ(errors_of(R"({
  "$schema": 1,
  "rule": {},
  "rules": {
    "feature-pined": "off",
    "line": "note",
    "lines": "warn",
    "zebra": "off",
    "features": "none",
    "orders": false
  },
  "suppressions": [
    {"rule": "lines", "line": 0},
    {"rule": "feature-pinned", "files": "x", "reason": ""},
    "x"
  ]
})"),
            "2:14: $schema: expected a string, found a number; write it in double quotes\n"
            "3:3: rule: unknown key; did you mean \"rules\"?\n"
            "5:5: rules.feature-pined: there is no rule or group \"feature-pined\"; did you mean \"feature-pinned\"?\n"
            "6:5: rules.line: there is no rule or group \"line\"; did you mean \"lines\"?\n"
            "7:14: rules.lines: unknown severity \"warn\"; write \"error\", \"warning\", \"note\" or \"off\"\n"
            "8:5: rules.zebra: there is no rule or group \"zebra\"; \"eclipse-int explain\" lists them all\n"
            "9:17: rules.features: unknown severity \"none\"; write \"error\", \"warning\", \"note\" or \"off\"\n"
            "10:15: rules.orders: expected a string, found true or false; write it in double quotes\n"
            "13:5: suppressions[0]: the key \"reason\" is missing; add it\n"
            "13:14: suppressions[0].rule: there is no rule \"lines\"; \"eclipse-int explain\" lists them all\n"
            "13:31: suppressions[0].line: is not a line number; write a whole number from 1\n"
            "14:32: suppressions[1].files: unknown key; did you mean \"file\"?\n"
            "14:56: suppressions[1].reason: is empty; write why the finding is acceptable\n"
            "15:5: suppressions[2]: expected an object, found a string; write it in { }\n");
}

struct Sample {
  std::string document;
  bool by_schema;
  bool by_reader;
};

/// The verdicts of the schema on these documents.
Texts verdicts(const std::vector<Sample>& samples) {
  std::string command = "/usr/bin/python3 " SCHEMA_VERDICTS " " CONFIGURATION_SCHEMA;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::string file = std::to_string(i) + ".json";
    write_file(file, samples[i].document);
    command += " " + file;
  }
  return eclipse_base::lines_of(eclipse_shell::run_in_shell(command).output);
}

TEST(Configuration, TheSchemaSaysTheSameAsTheReader) {
  const fake::TemporaryDirectory directory;
  const auto entry = [](const std::string& members) { return R"({"suppressions": [{"rule": "lines-x")" + members + "}]}"; };
  const auto known = [](const std::string& members) {
    return R"({"suppressions": [{"rule": "feature-pinned")" + members + "}]}";
  };
  const std::vector<Sample> samples = {
      {"{}", true, true},
      {R"({"$schema": "x", "rules": {"feature-pinned": "off", "lines": "error"}, "suppressions": []})", true, true},
      {R"({"rules": {"orders": "note", "files": "warning"}})", true, true},
      {known(R"(, "reason": "x")"), true, true},
      {known(R"(, "reason": "x", "file": "", "line": 1)"), true, true},
      {"[]", false, false},
      {"null", false, false},
      {R"({"$schema": 1})", false, false},
      {R"({"rule": {}})", false, false},
      {R"({"rules": []})", false, false},
      {R"({"rules": {"lines": true}})", false, false},
      {R"({"rules": {"lines": "Error"}})", false, false},
      {R"({"rules": {"Lines": "error"}})", false, false},
      {R"({"suppressions": {}})", false, false},
      {R"({"suppressions": [1]})", false, false},
      {R"({"suppressions": [{"reason": "x"}]})", false, false},
      {known(""), false, false},
      {known(R"(, "reason": " ")"), false, false},
      {known(R"(, "reason": 1)"), false, false},
      {known(R"(, "reason": "x", "line": 0)"), false, false},
      {known(R"(, "reason": "x", "line": 1.5)"), false, false},
      {known(R"(, "reason": "x", "line": "1")"), false, false},
      {known(R"(, "reason": "x", "file": 1)"), false, false},
      {known(R"(, "reason": "x", "files": "1")"), false, false},
      // What JSON Schema does not say.
      {entry(R"(, "reason": "x")"), true, false},
      {R"({"rules": {"line": "error"}})", true, false}};
  const Texts by_schema = verdicts(samples);
  ASSERT_EQ(by_schema.size(), samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_EQ(by_schema[i], samples[i].by_schema ? "valid" : "invalid") << samples[i].document;
    EXPECT_EQ(errors_of(samples[i].document).empty(), samples[i].by_reader) << samples[i].document;
  }
}

}  // namespace
