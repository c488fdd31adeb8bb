#include <gtest/gtest.h>

#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;

namespace {

/// The error in a file of suppressions, without the file's name; empty when there is none.
std::string error_of(const std::string& content) {
  const fake::TemporaryDirectory directory;
  write_file("suppressions.json", content);
  try {
    read_suppressions("suppressions.json");
    return "";
  } catch (const eclipse_base::FileError& error) {
    return std::string(error.what()).substr(std::string("suppressions.json:").size());
  }
}

/// The lines of the findings in a file of three pinned features, with the reasons of those that are suppressed.
std::vector<std::string> lines_with(const std::string& suppressions) {
  const fake::TemporaryDirectory directory;
  write_file("suppressions.json", suppressions);
  write_file("tools/etc/eclipse/t", "s\ta.b.feature.group/1\ns\ta.c.feature.group/1\ns\ta.d.feature.group/1\n");
  write_file("tools/s/compositeContent.xml",
             "<repository><children><child location='https://example.org/site'/></children></repository>");
  std::vector<std::string> lines;
  for (const Finding& finding : findings_in(
           "tools", {.disabled = {"repository-not-examined"}, .suppressions = read_suppressions("suppressions.json")})) {
    lines.push_back(std::to_string(finding.location.line) + (finding.reason ? " " + *finding.reason : ""));
  }
  return lines;
}

using Texts = std::vector<std::string>;

TEST(Suppressions, SuppressWhatTheyName) {
  EXPECT_EQ(lines_with("[]"), Texts({"1", "2", "3"}));
  EXPECT_EQ(lines_with(R"([{"rule": "feature-pinned", "reason": "why"}])"), Texts({"1 why", "2 why", "3 why"}));
  EXPECT_EQ(lines_with(R"([{"rule": "feature-pinned", "line": 2, "reason": "why"}])"), Texts({"1", "2 why", "3"}));
  EXPECT_EQ(lines_with(R"([{"rule": "feature-pinned", "file": "eclipse/t", "line": 3, "reason": "why"}])"),
            Texts({"1", "2", "3 why"}));
  EXPECT_EQ(lines_with(R"([{"rule": "feature-pinned", "file": "./tools/etc/eclipse/t", "line": 1, "reason": "why"}])"),
            Texts({"1 why", "2", "3"}));
  EXPECT_EQ(lines_with(R"([{"rule": "feature-pinned", "file": "lipse/t", "reason": "why"}])"), Texts({"1", "2", "3"}));
  EXPECT_EQ(lines_with(R"([{"rule": "comma-in-feature", "reason": "why"}])"), Texts({"1", "2", "3"}));
}

TEST(Suppressions, ErrorsAreReportedAtTheirLocations) {
  EXPECT_EQ(error_of(""), "1:1: document: is empty; write JSON into it");
  EXPECT_EQ(error_of("{}"), "1:1: document: expected an array, found an object; write it in [ ]");
  EXPECT_EQ(error_of(R"([{"reason": "why"}])"), "1:2: [0]: the key \"rule\" is missing; add it");
  EXPECT_EQ(error_of(R"([{"rule": "feature-pinned"}])"), "1:2: [0]: the key \"reason\" is missing; add it");
  EXPECT_EQ(error_of(R"([{"rule": "feature-pinned", "reason": " "}])"),
            "1:39: [0].reason: is empty; write why the finding is acceptable");
  EXPECT_EQ(error_of(R"([{"rule": "feature-pined", "reason": "why"}])"),
            "1:11: [0].rule: there is no rule \"feature-pined\"; did you mean \"feature-pinned\"?");
  EXPECT_EQ(error_of(R"([{"rule": "feature-pinned", "lines": 2, "reason": "why"}])"),
            "1:29: [0].lines: unknown key; did you mean \"line\"?");
  for (const std::string line : {"0", "-1", "1.5", "\"2\"", "1e3", "99999999999999999999999"}) {
    const std::string error = error_of(R"([{"rule": "feature-pinned", "line": )" + line + R"(, "reason": "why"}])");
    EXPECT_EQ(error, "1:37: [0].line: is not a line number; write a whole number from 1") << line;
  }
}

/// The findings as "RULE" or "RULE: REASON".
std::vector<std::string> found_in(const std::string& content) {
  const fake::TemporaryDirectory directory;
  fake::write_file("t", content);
  std::vector<std::string> found;
  for (const Finding& finding : lint_test::findings_in("t")) {
    EXPECT_EQ(finding.is_suppressed_in_file, finding.reason.has_value());
    found.push_back(std::string(finding.rule->name) + (finding.reason ? ": " + *finding.reason : ""));
  }
  return found;
}

using Texts = std::vector<std::string>;

TEST(Suppressions, AreForTheNextLine) {
  const std::string pinned = "s\tx.y.feature.group/1.0\n";
  EXPECT_EQ(found_in("# eclipse-int: disable-next-line=feature-pinned  as released \r\n" + pinned + pinned + "\n"),
            (Texts{"feature-pinned: as released", "duplicate-line", "feature-pinned"}));
  EXPECT_EQ(found_in("  #eclipse-int:disable-next-line=trailing-tab,feature-pinned\ns\tx.y.feature.group/1.0\t\n"),
            (Texts{"feature-pinned: suppressed by a comment", "trailing-tab: suppressed by a comment"}));
  EXPECT_EQ(found_in("# eclipse-int: disable-next-line=feature-pinned\n\n" + pinned), Texts{"feature-pinned"});
}

TEST(Suppressions, AreForAWholeFile) {
  EXPECT_EQ(found_in("Repository\tFeature\n# eclipse-int: disable-file=descriptor-without-data not yet\n"),
            Texts{"descriptor-without-data: not yet"});
}

TEST(Suppressions, MustBeUnderstood) {
  const std::string good = "\ns\tx.y.feature.group\n";
  for (const std::string comment : {"# eclipse-int: disable-next-line=feature-pined", "# eclipse-int: disable=feature-pinned",
                                    "# eclipse-int:", "# eclipse-int: disable-file=", "# eclipse-int: disable-file=lines"}) {
    EXPECT_EQ(found_in(comment + good), Texts{"suppression-not-understood"}) << comment;
  }
  EXPECT_EQ(found_in("# eclipse-integration: disable" + good), Texts());
}

}  // namespace
