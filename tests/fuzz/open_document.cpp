// The input is a document in an editor: a file tools.txt (a descriptor), session.json or .eclipse-int.json, and after it edits,
// each a line "LINE CHARACTER LINE CHARACTER TEXT" of a file "edits". What is found in it is where the document is, in each
// encoding of positions; and after the safe fixes there is nothing left to fix.
#include <algorithm>
#include <array>
#include <sstream>

#include "base/printable.h"
#include "base/uri.h"
#include "fuzz/product.h"
#include "fuzz/target.h"
#include "language_server/check.h"
#include "language_server/completion.h"
#include "language_server/hover.h"

using namespace eclipse_language_server;
using fuzz::expect;
using fuzz::expect_same;
using fuzz::linter;
namespace fs = std::filesystem;

namespace {

constexpr std::array encodings = {PositionEncoding::utf8, PositionEncoding::utf16, PositionEncoding::utf32};

/// The number of units in an offset is the offset again.
void check_positions(const Document& document) {
  const std::string& text = document.text();
  for (const PositionEncoding encoding : encodings) {
    for (const std::size_t offset : {std::size_t{0}, text.size() / 2, text.size()}) {
      const Range range = document.range_between(offset, text.size(), encoding);
      const std::size_t again = document.offset_of(range.start, encoding);
      expect(again >= offset && again - offset < 4, "a position is where it was, or after its character");
      expect(document.offset_of(range.end, encoding) == text.size(), "the end is the end");
    }
  }
}

void check_range(const Document& document, const Json& json, PositionEncoding encoding) {
  const Range range = range_in(json, "");
  const std::size_t start = document.offset_of(range.start, encoding);
  const std::size_t end = document.offset_of(range.end, encoding);
  expect(start <= end, "a range ends after its start");
  const Range again = document.range_between(start, end, encoding);
  expect(again.start.line == range.start.line && again.end.line == range.end.line, "a range is in the document");
}

Json check_findings(const Document& document, PositionEncoding encoding) {
  const Json found = check(linter(), {&document}, document, encoding);
  for (const Json& each : found) {
    check_range(document, each.at("diagnostic").at("range"), encoding);
    fuzz::expect_printable(each.at("diagnostic").at("message").get<std::string>(), true);
    for (const Json& edit : each.value("/correction/edits"_json_pointer, Json::array()))
      check_range(document, edit.at("range"), encoding);
  }
  return found;
}

void check_fixes(const Document& document, PositionEncoding encoding) {
  if (!document.is_descriptor()) return;
  Document fixed = document;
  const Json edits = safe_corrections(linter(), {&document}, document, encoding);
  for (const Json& edit : edits) fixed.replace(range_in(edit, "/range"), edit.at("newText").get<std::string>(), encoding);
  expect(edits.empty() == (fixed.text() == document.text()), "a fix changes something");
  expect(safe_corrections(linter(), {&fixed}, fixed, encoding).empty(), "after the safe fixes there is nothing to fix");
  for (const Json& each : check(linter(), {&fixed}, fixed, encoding)) {
    expect(!each.value("/correction/safe"_json_pointer, false), "and no safe fix is offered");
  }
}

void check_document(const Document& document) {
  check_positions(document);
  std::size_t findings = document.text().npos;
  for (const PositionEncoding encoding : encodings) {
    const Json found = check_findings(document, encoding);
    expect(findings == document.text().npos || findings == found.size(), "as much is found in each encoding");
    findings = found.size();
    const Position middle = document.range_between(document.text().size() / 2, document.text().size(), encoding).start;
    expect(!description_of_column(document, middle, encoding).empty(), "a column has a description");
    expect(completion_items(linter(), {&document}, document, middle, encoding).is_array(), "completion gives a list");
  }
  check_fixes(document, PositionEncoding::utf16);
}

void edit(Document& document, const std::string& edits) {
  std::istringstream lines(edits);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    Range range;
    std::string text;
    if (!(words >> range.start.line >> range.start.character >> range.end.line >> range.end.character)) continue;
    words.get();
    std::getline(words, text);
    document.replace(range, text, PositionEncoding::utf16);
    const Document opened(document.uri(), document.text());
    expect_same("a line after an edit", document.line(range.start.line).text, opened.line(range.start.line).text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  linter();  // before the directory changes
  fuzz::enter_own_directory();
  fuzz::write_product_once();
  auto files = fuzz::files_in(fuzz::text_of(data, size));
  for (const auto& [name, place] :
       {std::pair("tools.txt", "tools/etc/eclipse/tools.txt"), std::pair("session.json", "session.json"),
        std::pair(".eclipse-int.json", "tools/.eclipse-int.json")}) {
    const auto file = files.find(name);
    if (file == files.end() || file->second.find("scan") != std::string::npos) continue;
    Document document(eclipse_base::uri_of(fs::absolute(place).string()), file->second);
    check_document(document);
    if (!files.contains("edits")) continue;
    edit(document, files["edits"]);
    check_document(document);
  }
  return 0;
}
