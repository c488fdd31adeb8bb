#include "language_server/check.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/file_error.h"
#include "base/json_document.h"
#include "base/limits.h"
#include "lint/configuration.h"
#include "lint/finding.h"
#include "lint/fix.h"
#include "lint/rule.h"
#include "p2/repository.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;
using namespace eclipse_lint;

namespace fs = std::filesystem;

namespace eclipse_language_server {

namespace {

constexpr const char* source = "eclipse-int";

/// As the protocol numbers them.
int number_of(Severity severity) {
  switch (severity) {
    case Severity::error:
      return 1;
    case Severity::warning:
      return 2;
    case Severity::note:
      break;
  }
  return 3;
}

std::unique_ptr<const JsonDocument> json_document(const Document& document) {
  FileContent content = limited_content(document.content(), largest::json);
  if (!content.error.empty()) throw FileError(*document.file(), content.error);
  return std::make_unique<const JsonDocument>(*document.file(), std::move(content.bytes));
}

/// The directory whose component a descriptor file belongs to, or the file itself.
fs::path path_to_lint(const Document& document) {
  std::error_code error;
  const bool has_component = document.is_in_descriptor_directory() && fs::exists(*document.file(), error);
  return has_component ? document.file()->parent_path() : *document.file();
}

/// Those in the document itself that nothing suppresses.
Findings findings_in(const Linter& linter, DescriptorFiles& files, const Document& document) {
  Findings findings;
  eclipse_p2::Repositories sites;
  eclipse_p2::ProfileStates states;
  if (document.is_configuration()) {
    read_configuration(*json_document(document));
  } else if (document.is_session()) {
    findings = lint_session(linter.library, sites, states, files, json_document(document), linter.settings);
  } else {
    findings = lint(linter.library, sites, states, files, path_to_lint(document), linter.settings);
  }
  std::erase_if(findings,
                [&](const Finding& finding) { return finding.reason || finding.location.file != document.file()->string(); });
  return findings;
}

/// Null when the editor does not show what is to be replaced.
Json as_json(const Correction& correction, const Document& document, PositionEncoding encoding) {
  Json edits = Json::array();
  for (const Edit& edit : correction.edits) {
    const auto range = document.range_of_bytes(edit.offset, edit.length, encoding);
    if (!range) return nullptr;
    edits.push_back({{"range", as_json(*range)}, {"newText", edit.replacement}});
  }
  return {{"title", correction.title}, {"safe", correction.is_safe}, {"edits", std::move(edits)}};
}

Json as_json(const Finding& finding, const Document& document, PositionEncoding encoding) {
  const Location& location = finding.location;
  const std::string rule(finding.rule->name);
  Json diagnostic = {{"range", as_json(document.range_of(location.line, location.column, location.length, encoding))},
                     {"severity", number_of(finding.severity)},
                     {"code", rule},
                     {"source", source},
                     {"message", finding.message + "\nFix: " + finding.fix},
                     {"data", {{"rule", rule}, {"group", name_of(finding.rule->group)}, {"fix", finding.fix}}}};
  Json result = {{"rule", rule}, {"diagnostic", std::move(diagnostic)}};
  if (finding.correction) {
    Json correction = as_json(*finding.correction, document, encoding);
    if (!correction.is_null()) result["correction"] = std::move(correction);
  }
  return result;
}

/// An error of the document's own is marked where it is; that of another file on the first line.
Json as_json(const FileError& error, const Document& document, PositionEncoding encoding) {
  const bool is_inside = error.file() == *document.file() && error.line() != 0;
  Range range = document.range_of(0, 0, 0, encoding);
  if (is_inside) {
    const Line line = document.line(error.line() - 1);
    const auto offset = [&](std::size_t characters) {
      return line.start + bytes_in(line.text, characters, PositionEncoding::utf32);
    };
    range = document.range_between(offset(error.column() - 1), offset(error.column()), encoding);
  }
  Json diagnostic = {{"range", as_json(range)},
                     {"severity", number_of(Severity::error)},
                     {"source", source},
                     {"message", error.file() == *document.file() ? error.message() : error.what()}};
  return {{"diagnostic", std::move(diagnostic)}};
}

/// That there are more findings than are shown.
Json left_out(std::size_t count, const Document& document, PositionEncoding encoding) {
  const std::string message = "only the first " + std::to_string(largest::document_findings) + " of " + std::to_string(count) +
                              " findings are shown here; eclipse-int lint shows all";
  Json diagnostic = {{"range", as_json(document.range_of(0, 0, 0, encoding))},
                     {"severity", number_of(Severity::note)},
                     {"source", source},
                     {"message", message}};
  return {{"diagnostic", std::move(diagnostic)}};
}

}  // namespace

DescriptorFiles files_as_open(const std::vector<const Document*>& open) {
  DescriptorFiles files;
  for (const Document* const document : open) {
    if (document->is_descriptor()) files.set_unsaved(*document->file(), document->content());
  }
  return files;
}

Json check(const Linter& linter, const std::vector<const Document*>& open, const Document& document,
           PositionEncoding encoding) {
  Json results = Json::array();
  try {
    DescriptorFiles files = files_as_open(open);
    const Findings findings = findings_in(linter, files, document);
    for (std::size_t i = 0; i < std::min(findings.size(), largest::document_findings); ++i) {
      results.push_back(as_json(findings[i], document, encoding));
    }
    if (findings.size() > largest::document_findings) results.push_back(left_out(findings.size(), document, encoding));
  } catch (const FileError& error) {
    for (const FileError& each : error.each()) results.push_back(as_json(each, document, encoding));
  }
  return results;
}

Json safe_corrections(const Linter& linter, const std::vector<const Document*>& open, const Document& document,
                      PositionEncoding encoding) {
  const auto lint_document = [&](DescriptorFiles& files) { return findings_in(linter, files, document); };
  Json edits = Json::array();
  for (const FixedFile& fixed : fix(lint_document, false, files_as_open(open)).files) {
    const auto edit = document.edit_to(fixed.after, encoding);
    if (edit) edits.push_back({{"range", as_json(edit->range)}, {"newText", edit->text}});
  }
  return edits;
}

}  // namespace eclipse_language_server
