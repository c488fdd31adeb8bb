// The input is a text from outside. What is shown of it is printable, in one piece and in several; its lines and pieces make it
// up again; the URI of a path leads back to the path.
#include "base/text.h"

#include <algorithm>
#include <filesystem>

#include "base/json_text.h"
#include "base/printable.h"
#include "base/unified_diff.h"
#include "base/uri.h"
#include "fuzz/target.h"

#include <nlohmann/json.hpp>

using namespace eclipse_base;
using fuzz::expect;
using fuzz::expect_same;

namespace {

void check_printed(const std::string& text) {
  const std::string all = printable(text, {.longest = no_limit});
  fuzz::expect_printable(all);
  fuzz::expect_printable(printable(text));
  fuzz::expect_printable(printable(text, {.longest = 5}));
  expect_same("what is printable, made so again", printable(all, {.longest = no_limit}), all);
  for (const std::size_t size : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{7}}) {
    PrintablePieces pieces({});
    std::string shown;
    for (std::size_t at = 0; at < text.size(); at += size) shown += pieces.add(std::string_view(text).substr(at, size));
    expect_same("what is shown in pieces", shown + pieces.end(), all);
  }
}

void check_pieces(const std::string& text) {
  expect_same("the columns together", joined(split(text, '\t'), "\t"), text);
  expect_same("the lines together", joined(lines_of(text), "\n"),
              text.ends_with('\n') ? text.substr(0, text.size() - 1) : text);
  expect_same("the hexadecimal digits", hexadecimal_of(text), lower_case(hexadecimal_of(text)));
  expect_same("trimmed again", trimmed(trimmed(text)), trimmed(text));
  expect(characters_in(text) <= text.size(), "a character has a byte or more");
  if (const auto utf_8 = utf_8_of_utf_16(text)) expect(is_utf8(*utf_8), "what is made of UTF-16 is UTF-8");
  const auto json = nlohmann::json::parse(json_text({{"text", text}}));
  if (is_utf8(text)) expect_same("the text in JSON", json.at("text").get<std::string>(), text);
}

void check_uri(const std::string& text) {
  if (const auto file = file_of_uri(text)) {
    expect(file->is_absolute() && file->string().find('\0') == std::string::npos, "the file of a URI has an absolute path");
    expect_same("the file of its URI", file_of_uri(uri_of(file->string())).value().string(), file->string());
  }
  if (text.find('\0') != text.npos) return;
  const std::string path = "/" + text.substr(std::min(text.find_first_not_of('/'), text.size()));
  expect_same("the path", file_of_uri(uri_of(path)).value().string(), std::filesystem::path(path).lexically_normal().string());
  fuzz::expect_printable(uri_of(text));
}

/// The new text by what a diff keeps and adds.
std::string patched(const std::string& before, const std::string& diff) {
  constexpr std::string_view no_line_feed = "\\ ";
  const std::vector<std::string> old = lines_of(before);
  std::string after;
  std::size_t line = 0;
  bool ends_line = true;
  bool is_removed = false;
  const std::vector<std::string> lines = lines_of(diff);
  for (std::size_t i = 2; i < lines.size(); ++i) {
    if (lines[i].starts_with("@@ -")) {
      const std::size_t first = std::stoul(lines[i].substr(4));
      const bool is_empty = lines[i].substr(0, lines[i].find(' ', 4)).ends_with(",0");
      for (; line + 1 < first + (is_empty ? 1 : 0); ++line) after += old.at(line) + "\n";
    } else if (lines[i].starts_with(no_line_feed)) {
      if (!is_removed) ends_line = false;
    } else {
      is_removed = lines[i].starts_with('-');
      if (!lines[i].starts_with('+')) ++line;
      if (!is_removed) after += lines[i].substr(1) + "\n";
    }
  }
  const bool has_more = line < old.size();
  for (; line < old.size(); ++line) after += old[line] + "\n";
  const bool is_open = has_more ? !before.ends_with('\n') : !ends_line;
  if (is_open) after.pop_back();
  return after;
}

/// The two parts of the input, before and after a NUL byte, or its halves.
void check_diff(const std::string& text) {
  const std::size_t zero = text.find('\0');
  const std::size_t end = zero == text.npos ? text.size() / 2 : zero;
  const std::string before = text.substr(0, end);
  const std::string after = text.substr(zero == text.npos ? end : end + 1);
  const std::string diff = unified_diff("f", before, after);
  expect(diff.empty() == (before == after), "a diff is empty when nothing differs");
  if (!diff.empty()) expect_same("the patched text", patched(before, diff), after);
  expect(distance(before, after) == distance(after, before), "the distance is the same both ways");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::text_of(data, size);
  check_printed(text);
  check_pieces(text);
  check_uri(text);
  check_diff(text);
  return 0;
}
