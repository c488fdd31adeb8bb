// The three forms of a report, from the same findings.
#include "lint/report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/samples.h"
#include "shell/command_runner.h"

using namespace eclipse_base;
using namespace eclipse_lint;
using fake::write_file;
using Json = nlohmann::json;

namespace {

const Rule& pinned = *find_rule("feature-pinned");

Finding finding(Location location, const std::string& message = "the message", const std::string& fix = "the fix") {
  return {&pinned, Severity::warning, std::move(location), message, fix, std::nullopt};
}

std::string text_of(const Findings& findings, bool in_colour = false) {
  std::ostringstream out;
  print_text(out, findings, in_colour);
  return out.str();
}

Json sarif_of(const Findings& findings, const Errors& errors = {}) {
  std::ostringstream out;
  print_sarif(out, findings, "1.2.3", errors);
  return Json::parse(out.str());
}

const std::string effect = "  why: " + std::string(pinned.why) + "\n  fix: the fix\n";

TEST(TextReport, MarksThePlace) {
  EXPECT_EQ(text_of({finding({"dir/t", 12, 3, 4, "s\tfeat\tx"})}),
            "dir/t:12:3: warning: the message [feature-pinned]\n"
            "  12 | s→feat→x\n"
            "     |   ^~~~\n" +
                effect);
}

TEST(TextReport, OfAFileAsAWholeHasNoLine) {
  EXPECT_EQ(text_of({finding({"dir/t"})}), "dir/t: warning: the message [feature-pinned]\n" + effect);
}

TEST(TextReport, MarkIsUnderThePlaceWhateverStandsBeforeIt) {
  EXPECT_EQ(text_of({finding({"t", 1, 8, 2, "\x1B\xC3\xA4\xFF\t\x7F\tab"})}),
            "t:1:7: warning: the message [feature-pinned]\n"
            "  1 | \\x1Bä\\xFF→\\x7F→ab\n"
            "    |                ^~\n" +
                effect);
}

const Location after_two_umlauts = {"t", 1, 7, 3, "\xC3\xA4\t\xC3\xA4\t\xC3\xA4x\t"};

TEST(TextReport, CountsColumnsInCharacters) {
  const std::string report = text_of({finding(after_two_umlauts)});
  EXPECT_EQ(report.substr(0, report.find(" w")), "t:1:5:");
}

TEST(BriefReport, CountsColumnsInCharacters) {
  std::ostringstream out;
  print_brief(out, {finding(after_two_umlauts)}, false);
  EXPECT_TRUE(out.str().starts_with("t:1:5: ")) << out.str();
}

TEST(GithubReport, CountsColumnsInCharacters) {
  std::ostringstream out;
  print_github(out, {finding(after_two_umlauts)});
  EXPECT_NE(out.str().find(",line=1,col=5,"), std::string::npos) << out.str();
}

TEST(JsonReport, CountsColumnsInCharacters) {
  std::ostringstream out;
  print_json(out, {finding(after_two_umlauts)});
  const Json entry = Json::parse(out.str())["findings"][0];
  EXPECT_EQ(entry["column"], 5);
  EXPECT_EQ(entry["length"], 2);
}

TEST(TextReport, OfALongLineShowsWhatSurroundsThePlace) {
  const std::string text = std::string(500, 'a') + "bad" + std::string(500, 'c');
  const std::string report = text_of({finding({"t", 1, 501, 3, text})});
  EXPECT_EQ(report, "t:1:501: warning: the message [feature-pinned]\n  1 | " + std::string(40, 'a') + "bad" +
                        std::string(117, 'c') + "\n    | " + std::string(40, ' ') + "^~~\n" + effect);
}

TEST(TextReport, NothingInATextSteersTheTerminal) {
  const std::string report = text_of({finding({"\x1B[31m"}, "a", "c")});
  EXPECT_EQ(report.find('\x1B'), std::string::npos);
  EXPECT_EQ(report.substr(0, report.find('\n')), "\\x1B[31m: warning: a [feature-pinned]");
}

TEST(TextReport, IsColouredOnDemand) {
  EXPECT_EQ(text_of({finding({"t", 1, 1, 1, "a"})}, true),
            "\x1B[1mt:1:1:\x1B[0m \x1B[1;35mwarning:\x1B[0m the message [feature-pinned]\n"
            "  1 | a\n"
            "    | \x1B[1;35m^\x1B[0m\n"
            "  \x1B[2mwhy:\x1B[0m " +
                std::string(pinned.why) + "\n  \x1B[2mfix:\x1B[0m the fix\n");
}

TEST(TextReport, LeavesOutSuppressedFindings) {
  Finding suppressed = finding({"t"});
  suppressed.reason = "why";
  EXPECT_EQ(text_of({suppressed}), "");
  EXPECT_EQ(text_of({}), "");
}

TEST(JsonReport, HoldsAllOfAFinding) {
  Finding suppressed = finding({"u", 1, 1, 1, "\xFF"});
  suppressed.reason = "why";
  std::ostringstream out;
  print_json(out, {finding({"t", 2, 3, 4, "s\tfeat"}), suppressed});
  const Json first = {{"rule", "feature-pinned"},
                      {"group", "features"},
                      {"severity", "warning"},
                      {"file", "t"},
                      {"line", 2},
                      {"column", 3},
                      {"length", 4},
                      {"text", "s\tfeat"},
                      {"message", "the message"},
                      {"why", pinned.why},
                      {"fix", "the fix"}};
  Json second = first;
  second.update({{"file", "u"}, {"line", 1}, {"column", 1}, {"length", 1}, {"text", "\xEF\xBF\xBD"}, {"suppression", "why"}});
  EXPECT_EQ(Json::parse(out.str()),
            Json({{"findings", {first, second}}, {"counts", {{"error", 0}, {"warning", 1}, {"note", 0}, {"suppressed", 1}}}}));
}

const Correction correction = {"remove the spaces", false, {{12, 1, "", {2, 3}, {2, 4}}, {15, 2, "\xC3\xA4", {2, 6}, {3, 1}}}};

TEST(JsonReport, HasTheEditsOfACorrection) {
  Finding corrected = finding({"t", 2, 3, 4, "s\tfeat"});
  corrected.correction = correction;
  std::ostringstream out;
  print_json(out, {corrected});
  EXPECT_EQ(Json::parse(out.str())["findings"][0]["correction"],
            Json({{"title", "remove the spaces"},
                  {"safe", false},
                  {"edits",
                   {{{"offset", 12}, {"length", 1}, {"replacement", ""}},
                    {{"offset", 15}, {"length", 2}, {"replacement", "\xC3\xA4"}}}}}));
}

TEST(SarifReport, HasTheEditsOfACorrection) {
  Finding corrected = finding({"my dir/t", 2, 3, 4, "s\tfeat"});
  corrected.correction = correction;
  corrected.correction->edits.push_back({20, 3, "x"});
  const Json region = {{"startLine", 2}, {"startColumn", 3}, {"endLine", 2}, {"endColumn", 4}};
  const Json lines = {{"startLine", 2}, {"startColumn", 6}, {"endLine", 3}, {"endColumn", 1}};
  const Json bytes = {{"byteOffset", 20}, {"byteLength", 3}};
  const auto replacement = [](const Json& deleted, const std::string& text) {
    return Json({{"deletedRegion", deleted}, {"insertedContent", {{"text", text}}}});
  };
  const Json replacements = Json::array({replacement(region, ""), replacement(lines, "\xC3\xA4"), replacement(bytes, "x")});
  const Json change = {{"artifactLocation", {{"uri", "my%20dir/t"}}}, {"replacements", replacements}};
  EXPECT_EQ(sarif_of({corrected})["runs"][0]["results"][0]["fixes"],
            Json::array({{{"description", {{"text", "remove the spaces"}}}, {"artifactChanges", Json::array({change})}}}));
  EXPECT_FALSE(sarif_of({finding({"t"})})["runs"][0]["results"][0].contains("fixes"));
}

TEST(SarifReport, CountsColumnsInCharacters) {
  const Json result = sarif_of({finding({"my dir/t", 2, 5, 3, "\xC3\xA4s\tfea"})})["runs"][0]["results"][0];
  EXPECT_EQ(result["ruleId"], "feature-pinned");
  EXPECT_EQ(result["level"], "warning");
  EXPECT_EQ(
      result["locations"][0]["physicalLocation"],
      Json({{"artifactLocation", {{"uri", "my%20dir/t"}}},
            {"region", {{"startLine", 2}, {"startColumn", 4}, {"endColumn", 7}, {"snippet", {{"text", "\xC3\xA4s\tfea"}}}}}}));
}

TEST(SarifReport, NamesTheRuleThatItPointsTo) {
  const Json run = sarif_of({finding({"/t"})})["runs"][0];
  const Json& result = run["results"][0];
  EXPECT_EQ(run["tool"]["driver"]["rules"].size(), rules().size());
  EXPECT_EQ(run["tool"]["driver"]["rules"][result["ruleIndex"].get<std::size_t>()]["id"], "feature-pinned");
  EXPECT_EQ(result["locations"][0]["physicalLocation"], Json({{"artifactLocation", {{"uri", "file:///t"}}}}));
}

TEST(SarifReport, TagsEachRuleWithItsGroup) {
  const Json described = sarif_of({})["runs"][0]["tool"]["driver"]["rules"];
  ASSERT_EQ(described.size(), rules().size());
  for (std::size_t i = 0; i < rules().size(); ++i) {
    EXPECT_EQ(described[i]["properties"]["tags"], Json::array({name_of(rules()[i].group)})) << rules()[i].name;
  }
}

TEST(SarifReport, MarksSuppressedFindings) {
  Finding suppressed = finding({"t"});
  suppressed.reason = "why";
  EXPECT_EQ(sarif_of({suppressed})["runs"][0]["results"][0]["suppressions"],
            Json::array({{{"kind", "external"}, {"justification", "why"}}}));
}

/// What a JSON schema says of documents, each "valid" or "invalid".
std::string verdicts(const std::vector<Json>& documents) {
  std::string command = "/usr/bin/python3 '" SCHEMA_VERDICTS "' '" SARIF_SCHEMA "'";
  for (const Json& document : documents) {
    const std::string name = "document" + std::to_string(&document - documents.data());
    write_file(name, document.dump());
    command += " " + name;
  }
  const auto run = eclipse_shell::run_in_shell(command);
  return run.output + run.error_output;
}

TEST(SarifReport, KeepsToItsSchema) {
  const fake::TemporaryDirectory directory;
  Findings findings;
  for (const Rule& rule : rules()) {
    lint_test::write_sample(rule.bad);
    for (const Finding& each : lint_test::findings_in(rule.bad.input)) findings.push_back(each);
    for (const auto& entry : std::filesystem::directory_iterator(".")) std::filesystem::remove_all(entry.path());
  }
  ASSERT_GT(findings.size(), rules().size());
  findings.front().reason = "why";
  const Json report = sarif_of(findings, {FileError("my dir/t", "cannot be read"), FileError("t", 2, 3, "is wrong")});
  EXPECT_EQ(report["runs"][0]["invocations"], Json::parse(R"([{"executionSuccessful": false, "toolExecutionNotifications": [
      {"level": "error", "message": {"text": "cannot be read"},
       "locations": [{"physicalLocation": {"artifactLocation": {"uri": "my%20dir/t"}}}]},
      {"level": "error", "message": {"text": "is wrong"},
       "locations": [{"physicalLocation": {"artifactLocation": {"uri": "t"}, "region": {"startLine": 2, "startColumn": 3}}}]}]}])"));
  Json without_text = report;
  without_text["runs"][0]["results"][0]["message"].erase("text");
  Json with_zero_column = sarif_of({finding({"t", 1, 1, 1, "a"})});
  with_zero_column["runs"][0]["results"][0]["locations"][0]["physicalLocation"]["region"]["startColumn"] = 0;
  Json with_unknown_level = report;
  with_unknown_level["runs"][0]["results"][0]["level"] = "fatal";
  EXPECT_EQ(verdicts({report, without_text, with_zero_column, with_unknown_level}), "valid\ninvalid\ninvalid\ninvalid\n");
}

}  // namespace
