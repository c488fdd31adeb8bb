#include <array>
#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "base/printable.h"
#include "base/text.h"
#include "base/uri.h"
#include "lint/report.h"
#include "lint/rule.h"

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

Json correction_as_json(const Correction& correction) {
  Json edits = Json::array();
  for (const Edit& edit : correction.edits) {
    edits.push_back({{"offset", edit.offset}, {"length", edit.length}, {"replacement", edit.replacement}});
  }
  return {{"title", correction.title}, {"safe", correction.is_safe}, {"edits", edits}};
}

Json finding_as_json(const Finding& finding) {
  Json entry = {{"rule", finding.rule->name},
                {"group", name_of(finding.rule->group)},
                {"severity", name_of(finding.severity)},
                {"file", finding.location.file},
                {"line", finding.location.line},
                {"column", finding.location.column_in_characters()},
                {"length", finding.location.length_in_characters()},
                {"text", finding.location.text},
                {"message", finding.message},
                {"why", finding.rule->why},
                {"fix", finding.fix}};
  if (finding.correction) entry["correction"] = correction_as_json(*finding.correction);
  if (finding.reason) entry["suppression"] = *finding.reason;
  return entry;
}

Json location_of(const Location& location) {
  Json physical = {{"artifactLocation", {{"uri", uri_of(location.file)}}}};
  if (location.line != 0) {
    const std::size_t start = location.column_in_characters();
    physical["region"] = {{"startLine", location.line}};
    if (!location.text.empty() || location.length == 0) {
      physical["region"].update({{"startColumn", start},
                                 {"endColumn", start + location.length_in_characters()},
                                 {"snippet", {{"text", location.text}}}});
    }
  }
  return {{"physicalLocation", physical}};
}

/// What is not text has no lines, only bytes.
Json region_of(const Edit& edit) {
  if (edit.begin.line == 0) return {{"byteOffset", edit.offset}, {"byteLength", edit.length}};
  return {{"startLine", edit.begin.line},
          {"startColumn", edit.begin.column},
          {"endLine", edit.end.line},
          {"endColumn", edit.end.column}};
}

Json fix_of(const Finding& finding) {
  Json replacements = Json::array();
  for (const Edit& edit : finding.correction->edits) {
    replacements.push_back({{"deletedRegion", region_of(edit)}, {"insertedContent", {{"text", edit.replacement}}}});
  }
  const Json artifact = {{"uri", uri_of(finding.location.file)}};
  const Json change = {{"artifactLocation", artifact}, {"replacements", replacements}};
  return {{"description", {{"text", finding.correction->title}}}, {"artifactChanges", Json::array({change})}};
}

Json result_of(const Finding& finding) {
  Json result = {
      {"ruleId", finding.rule->name},
      {"ruleIndex", finding.rule - rules().data()},
      {"level", name_of(finding.severity)},
      {"message", {{"text", finding.message + ". " + std::string(finding.rule->why) + " Fix: " + finding.fix + "."}}},
      {"locations", Json::array({location_of(finding.location)})}};
  if (finding.correction) result["fixes"] = Json::array({fix_of(finding)});
  if (finding.reason) {
    result["suppressions"] =
        Json::array({{{"kind", finding.is_suppressed_in_file ? "inSource" : "external"}, {"justification", *finding.reason}}});
  }
  return result;
}

Json error_as_json(const FileError& error) {
  return {{"file", error.file().string()}, {"line", error.line()}, {"column", error.column()}, {"message", error.message()}};
}

Json notification_of(const FileError& error) {
  Json physical = {{"artifactLocation", {{"uri", uri_of(error.file().string())}}}};
  if (error.line() != 0) physical["region"] = {{"startLine", error.line()}, {"startColumn", error.column()}};
  const Json location = {{"physicalLocation", physical}};
  return {{"level", "error"}, {"message", {{"text", error.message()}}}, {"locations", Json::array({location})}};
}

template <typename AsJson>
Json list_of(const Errors& errors, const AsJson& as_json) {
  Json list = Json::array();
  for (const FileError& error : errors) list.push_back(as_json(error));
  return list;
}

Json rules_as_json() {
  Json all = Json::array();
  for (const Rule& rule : rules()) {
    all.push_back({{"id", rule.name},
                   {"shortDescription", {{"text", rule.title}}},
                   {"fullDescription", {{"text", rule.why}}},
                   {"help", {{"text", "Fix: " + std::string(rule.fix)}}},
                   {"defaultConfiguration", {{"level", name_of(rule.severity)}}},
                   {"properties", {{"tags", Json::array({name_of(rule.group)})}}}});
  }
  return all;
}

}  // namespace

void print_json(std::ostream& out, const Findings& findings, const Errors& errors) {
  Json list = Json::array();
  Json counts = {{"error", 0}, {"warning", 0}, {"note", 0}, {"suppressed", 0}};
  for (const Finding& finding : findings) {
    list.push_back(finding_as_json(finding));
    Json& count = counts[finding.reason ? "suppressed" : std::string(name_of(finding.severity))];
    count = count.get<int>() + 1;
  }
  Json json = {{"findings", list}, {"counts", counts}};
  if (!errors.empty()) json["errors"] = list_of(errors, error_as_json);
  out << json_text(json);
}

void print_sarif(std::ostream& out, const Findings& findings, const std::string& version, const Errors& errors) {
  Json results = Json::array();
  for (const Finding& finding : findings) results.push_back(result_of(finding));
  const Json driver = {{"name", "eclipse-int lint"}, {"version", version}, {"rules", rules_as_json()}};
  Json run = {{"tool", {{"driver", driver}}}, {"columnKind", "unicodeCodePoints"}, {"results", results}};
  if (!errors.empty()) {
    const Json notifications = list_of(errors, notification_of);
    run["invocations"] = Json::array({{{"executionSuccessful", false}, {"toolExecutionNotifications", notifications}}});
  }
  out << json_text(
      {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"}, {"version", "2.1.0"}, {"runs", Json::array({run})}});
}

}  // namespace eclipse_lint
