#include <gtest/gtest.h>

#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;

namespace {

/// The fault in a file of overrides, without the file's name; empty when there is none.
std::string fault_of(const std::string& content) {
  const fake::TemporaryDirectory directory;
  write_file("overrides.json", content);
  try {
    read_overrides("overrides.json");
    return "";
  } catch (const eclipse_base::FileError& fault) {
    return std::string(fault.what()).substr(std::string("overrides.json:").size());
  }
}

/// The rules whose findings are left in a file of three pinned features, and the reasons of the others.
std::vector<std::string> left_with(const std::string& overrides) {
  const fake::TemporaryDirectory directory;
  write_file("overrides.json", overrides);
  write_file("tools/etc/eclipse/t", "s\ta.b.feature.group/1\ns\ta.c.feature.group/1\ns\ta.d.feature.group/1\n");
  write_file("tools/s/compositeContent.xml",
             "<repository><children><child location='https://example.org/site'/></children></repository>");
  std::vector<std::string> left;
  for (const Finding& finding :
       findings_in("tools", {.disabled = {"repository-not-looked-into"}, .overrides = read_overrides("overrides.json")})) {
    left.push_back(std::to_string(finding.location.line) + (finding.reason ? " " + *finding.reason : ""));
  }
  return left;
}

using Texts = std::vector<std::string>;

TEST(Overrides, SuppressWhatTheyName) {
  EXPECT_EQ(left_with("[]"), Texts({"1", "2", "3"}));
  EXPECT_EQ(left_with(R"([{"rule": "feature-pinned", "reason": "why"}])"), Texts({"1 why", "2 why", "3 why"}));
  EXPECT_EQ(left_with(R"([{"rule": "feature-pinned", "line": 2, "reason": "why"}])"), Texts({"1", "2 why", "3"}));
  EXPECT_EQ(left_with(R"([{"rule": "feature-pinned", "file": "eclipse/t", "line": 3, "reason": "why"}])"),
            Texts({"1", "2", "3 why"}));
  EXPECT_EQ(left_with(R"([{"rule": "feature-pinned", "file": "./tools/etc/eclipse/t", "line": 1, "reason": "why"}])"),
            Texts({"1 why", "2", "3"}));
  EXPECT_EQ(left_with(R"([{"rule": "feature-pinned", "file": "lipse/t", "reason": "why"}])"), Texts({"1", "2", "3"}));
  EXPECT_EQ(left_with(R"([{"rule": "comma-in-feature", "reason": "why"}])"), Texts({"1", "2", "3"}));
}

TEST(Overrides, ErrorsAreReportedAtTheirLocations) {
  EXPECT_EQ(fault_of(""), "1:1: document: is empty; write JSON into it");
  EXPECT_EQ(fault_of("{}"), "1:1: document: found an object, wanted a list; write it in [ ]");
  EXPECT_EQ(fault_of(R"([{"reason": "why"}])"), "1:2: [0]: the key \"rule\" is missing; add it");
  EXPECT_EQ(fault_of(R"([{"rule": "feature-pinned"}])"), "1:2: [0]: the key \"reason\" is missing; add it");
  EXPECT_EQ(fault_of(R"([{"rule": "feature-pinned", "reason": " "}])"),
            "1:39: [0].reason: is empty; write why the finding is acceptable");
  EXPECT_EQ(fault_of(R"([{"rule": "feature-pined", "reason": "why"}])"),
            "1:11: [0].rule: there is no rule \"feature-pined\"; did you mean \"feature-pinned\"?");
  EXPECT_EQ(fault_of(R"([{"rule": "feature-pinned", "lines": 2, "reason": "why"}])"),
            "1:29: [0].lines: unknown key; did you mean \"line\"?");
  for (const std::string line : {"0", "-1", "1.5", "\"2\"", "1e3", "99999999999999999999999"}) {
    const std::string fault = fault_of(R"([{"rule": "feature-pinned", "line": )" + line + R"(, "reason": "why"}])");
    EXPECT_EQ(fault, "1:37: [0].line: is not a line number; write a whole number from 1") << line;
  }
}

}  // namespace
