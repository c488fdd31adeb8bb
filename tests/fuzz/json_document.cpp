// The input is a JSON document. It is accepted when another parser accepts it, except for what this one also refuses, and has
// the same values; each is where its location says; and an error is one printable line at a place that the document has.
#include "base/json_document.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/text.h"
#include "fuzz/target.h"

using namespace eclipse_base;
using fuzz::expect;
using fuzz::expect_same;
using Json = nlohmann::json;

namespace {

const std::string file = "d.json";

std::string_view text_at(const JsonDocument& document, const JsonElement& element) {
  const JsonLocation location = element.location();
  return document.line(location.line).substr(location.column - 1, location.length);
}

template <typename Read>
bool is_read(const Read& read) {
  try {
    read();
    return true;
  } catch (const FileError&) {
    return false;
  }
}

void check_value(const JsonDocument& document, const JsonElement& element, const Json& same) {
  const std::string_view text = text_at(document, element);
  switch (same.type()) {
    case Json::value_t::string:
      expect(text.starts_with('"') && element.text() == same.get<std::string>(), "a string is the same");
      break;
    case Json::value_t::boolean:
      expect(text == (same.get<bool>() ? "true" : "false") && element.boolean() == same.get<bool>(),
             "true or false is the same");
      break;
    case Json::value_t::array: {
      const auto items = element.items();
      expect(text == "[" && items.size() == same.size(), "an array has as many items");
      for (std::size_t i = 0; i < items.size(); ++i) check_value(document, items[i], same[i]);
      break;
    }
    case Json::value_t::object: {
      const auto members = element.members();
      expect(text == "{" && members.size() == same.size(), "an object has as many members");
      for (const JsonElement& member : members) {
        expect(same.contains(member.key()) && element.get(member.key()).path() == member.path(), "an object has the same keys");
        check_value(document, member, same[member.key()]);
      }
      break;
    }
    case Json::value_t::null:
      expect(text == "null", "null is the same");
      break;
    default:
      expect(Json::parse(text, nullptr, false) == same, "a number is where it is said to be");
  }
  if (!same.is_string()) expect(!is_read([&] { element.text(); }), "a value of another kind is not read as a text");
}

/// Where an error is must exist, or be the end.
void check_error(const FileError& error, const std::string& text) {
  const std::string message = error.what();
  fuzz::expect_printable(message);
  expect(message.starts_with(file + ":" + std::to_string(error.line()) + ":" + std::to_string(error.column()) + ": "),
         "an error names the file and the place");
  const auto lines = split(text, '\n');
  expect(error.line() >= 1 && error.line() <= lines.size(), "the line of an error exists");
  expect(error.column() >= 1 && error.column() <= characters_in(lines[error.line() - 1]) + 1, "the column of an error exists");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::text_of(data, size);
  const Json same = Json::parse(text, nullptr, false, true);
  try {
    const JsonDocument document(file, text);
    expect(!same.is_discarded(), "another parser accepts it, too");
    check_value(document, document.root(), same);
  } catch (const FileError& error) {
    check_error(error, text);
    const bool is_syntax = error.message().find("syntax error") != std::string::npos;
    expect(!is_syntax || same.is_discarded(), "another parser does not accept it either");
  }
  return 0;
}
