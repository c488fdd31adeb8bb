#include "base/json_document.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "base/limits.h"
#include "fake_host/temporary_directory.h"

namespace {

using eclipse_base::FileError;
using eclipse_base::JsonDocument;
using eclipse_base::JsonElement;
using eclipse_base::Presence;
namespace largest = eclipse_base::largest;

/// What reading a file with this text is refused with; "read" when it is not.
std::string error_of(const std::string& text) {
  const fake::TemporaryDirectory directory;
  fake::write_file("f", text);
  try {
    const JsonDocument document("f");
  } catch (const FileError& error) {
    return error.what();
  }
  return "read";
}

struct Error {
  const char* text;
  const char* message;
};

class SyntaxError : public testing::TestWithParam<Error> {};

TEST_P(SyntaxError, IsReported) { EXPECT_EQ(error_of(GetParam().text), GetParam().message); }

INSTANTIATE_TEST_SUITE_P(
    JsonDocument, SyntaxError,
    testing::Values(
        Error{"", "f:1:1: document: is empty; write JSON into it"},
        Error{" \t\r\n", "f:1:1: document: is empty; write JSON into it"},
        Error{"\xEF\xBB\xBF", "f:1:1: document: is empty; write JSON into it"},
        Error{"// nothing else",
              "f:1:16: document: syntax error, unexpected end of input; a value belongs here, and no comma after the last one"},
        Error{"{",
              "f:1:2: document: syntax error, unexpected end of input; a key in double quotes belongs here, and no comma "
              "after the last member"},
        Error{"{\"a\": 1,\n}",
              "f:2:1: document: syntax error, unexpected '}'; a key in double quotes belongs here, and no comma "
              "after the last member"},
        Error{"{\"a\": 1 \"b\": 2}", "f:1:9: document: syntax error, unexpected string literal; a comma or '}' belongs here"},
        Error{"{\"a\" \"\\\\\\\"\"}", "f:1:6: a: syntax error, unexpected string literal; a ':' belongs between key and value"},
        Error{"{\"a\": }", "f:1:7: a: syntax error, unexpected '}'; a value belongs here, and no comma after the last one"},
        Error{"[1,]", "f:1:4: document: syntax error, unexpected ']'; a value belongs here, and no comma after the last one"},
        Error{"[[], [1 -22.5e1]]", "f:1:9: [1]: syntax error, unexpected number literal; a comma or ']' belongs here"},
        Error{"{\"a\": {\"b c\": [0, {\"d\": [}]}}",
              "f:1:26: a[\"b c\"][1].d: syntax error, unexpected '}'; a value belongs here, and no comma after the last one"},
        Error{"{}\n{}", "f:2:1: document: syntax error, unexpected '{'; the document is complete before this"},
        Error{"{\"a\":\n  install}",
              "f:2:3: a: syntax error, invalid literal; write strings in double quotes; other values are numbers, true, false "
              "and null"},
        Error{"{'a': 1}",
              "f:1:2: document: syntax error, invalid literal; write strings in double quotes; other values are numbers, true, "
              "false and null"},
        Error{"[01]", "f:1:2: document: syntax error, unexpected number literal; a comma or ']' belongs here"},
        Error{"[-]", "f:1:3: document: syntax error, invalid number; expected digit after '-'; correct the text here"},
        Error{"[1e999]", "f:1:2: document: syntax error, number overflow parsing '1e999'; correct the text here"},
        Error{"[\"a\n\"]",
              "f:1:4: document: syntax error, invalid string: control character U+000A (LF) must be escaped to "
              "\\u000A or \\n; correct the text here"},
        Error{"[\"a", "f:1:4: document: syntax error, invalid string: missing closing quote; correct the text here"},
        Error{"[\"\xC3\xA4\xFF\"]",
              "f:1:4: document: syntax error, invalid string: ill-formed UTF-8 byte; correct the text here"},
        Error{"[\"\\x\"]",
              "f:1:4: document: syntax error, invalid string: forbidden character after backslash; correct the text here"},
        Error{"[ /* open", "f:1:10: document: syntax error, invalid comment; missing closing '*/'; correct the text here"},
        Error{"{\"a\": 1,\n \"b\": 2,\n \"a\": 3}", "f:3:2: a: the key is given twice, first in line 1; keep one of the two"},
        Error{"{\"a\": [{\"b\": 1, \"\\u0062\": 1}]}",
              "f:1:17: a[0].b: the key is given twice, first in line 1; keep one of the two"},
        Error{"{\"a\": \"x\\u0000\"}", "f:1:7: a: contains a NUL character (\\u0000), where strings end; remove it"},
        Error{"{\"x\\u0000\": 1}", "f:1:2: [\"x\\x00\"]: contains a NUL character (\\u0000), where strings end; remove it"}));

TEST(JsonDocument, RefusesZeroBytes) {
  EXPECT_EQ(error_of(std::string("{}\0", 3)), "f:1:3: document: contains a NUL byte; save it as UTF-8 text");
  EXPECT_EQ(error_of(std::string("{\0}\0", 4)), "f:1:2: document: contains a NUL byte; save it as UTF-8 text");
}

TEST(JsonDocument, RefusesDeepNesting) {
  EXPECT_EQ(error_of(std::string(64, '[') + std::string(64, ']')), "read");
  EXPECT_EQ(error_of(std::string(65, '[') + std::string(65, ']')),
            "f:1:65: document: is nested deeper than 64 levels here; remove some");
  EXPECT_EQ(error_of(std::string(1000000, '[')), "f:1:65: document: is nested deeper than 64 levels here; remove some");
}

TEST(JsonDocument, RefusesTooManyValues) {
  const auto list_of = [](std::size_t count) {
    std::string text = "[";
    for (std::size_t i = 1; i < count; ++i) text += "1,";
    return text + "1]";
  };
  EXPECT_EQ(error_of(list_of(largest::json_values - 1)), "read") << "the list is a value, too";
  EXPECT_EQ(error_of(list_of(largest::json_values)), "f:1:2000000: document: has more than 1000000 values; remove some");
}

TEST(JsonDocument, RefusesWhatCannotBeRead) {
  const fake::TemporaryDirectory directory;
  const auto error_of_file = [](const char* file) -> std::string {
    try {
      const JsonDocument document(file);
    } catch (const FileError& error) {
      return error.what();
    }
    return "read";
  };
  EXPECT_EQ(error_of_file("missing"), "missing: cannot be read: No such file or directory; give the path of a JSON file");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  for (const std::string file : {".", "pipe", "/dev/zero"}) {
    EXPECT_EQ(error_of_file(file.c_str()), file + ": is not a regular file; give the path of a JSON file");
  }
  EXPECT_EQ(error_of_file(""), ": cannot be read: No such file or directory; give the path of a JSON file");
  fake::write_file("large", "");
  std::filesystem::resize_file("large", largest::json);
  EXPECT_EQ(error_of_file("large"), "large:1:1: document: contains a NUL byte; save it as UTF-8 text");
  std::filesystem::resize_file("large", largest::json + 1);
  EXPECT_EQ(error_of_file("large"), "large: is larger than 64 MiB; give the path of a JSON file");
}

/// Line and column of a value, as the message of an error gives them.
std::string place_of(const JsonElement& element) {
  try {
    element.fail("x");
  } catch (const FileError& error) {
    return error.what();
  }
}

std::vector<std::string> places_of(const JsonElement& element) {
  std::vector<std::string> places = {place_of(element)};
  const bool is_list = element.path().find("list") != std::string::npos && element.path().find('[') == std::string::npos;
  const bool is_object = element.path().empty() || element.path().ends_with("object");
  for (const JsonElement& child : is_list ? element.items() : is_object ? element.members() : std::vector<JsonElement>()) {
    const auto below = places_of(child);
    places.insert(places.end(), below.begin(), below.end());
  }
  return places;
}

TEST(JsonDocument, KnowsWhereEachValueStands) {
  const fake::TemporaryDirectory directory;
  fake::write_file("f",
                   "\xEF\xBB\xBF/* \xC3\xA4 */ {\n"
                   "  // \"list\": []\n"
                   "  \"list\":[true,null , \"\xC3\xA4\\\"\\\\\",-1.5e+3,12/*,*/,7 ,\"\"],\r\n"
                   "\t\"object\" : { \"number\":1}, \"last\":\n"
                   "0 }\n");
  const JsonDocument document("f");
  EXPECT_EQ(
      places_of(document.root()),
      (std::vector<std::string>{"f:1:9: document: x", "f:3:10: list: x", "f:3:11: list[0]: x", "f:3:16: list[1]: x",
                                "f:3:23: list[2]: x", "f:3:31: list[3]: x", "f:3:39: list[4]: x", "f:3:47: list[5]: x",
                                "f:3:50: list[6]: x", "f:4:13: object: x", "f:4:24: object.number: x", "f:5:1: last: x"}));
}

TEST(JsonDocument, FindsANumberThatIsAllThereIs) {
  for (const char* text : {"12", "12 ", "12//"}) {
    const fake::TemporaryDirectory directory;
    fake::write_file("f", text);
    EXPECT_EQ(place_of(JsonDocument("f").root()), "f:1:1: document: x") << text;
  }
}

/// What is read of {"list": [booleans], "text": string (required)}, and then the errors.
std::vector<std::string> read_of(const std::string& content) {
  const JsonDocument document("f", content);
  std::vector<std::string> read;
  try {
    document.root().read_object({{"list", Presence::optional,
                                  [&](const JsonElement& list) {
                                    list.read_items(
                                        [&](const JsonElement& item) { read.push_back(item.boolean() ? "yes" : "no"); });
                                  }},
                                 {"text", Presence::required, [&](const JsonElement& text) { read.push_back(text.text()); }}});
  } catch (const FileError& errors) {
    for (const FileError& error : errors.each()) read.push_back(error.what());
  }
  return read;
}

TEST(JsonElement, ReadsAnObjectInTheOrderOfItsKnownMembersAndGoesOnAfterErrors) {
  using Texts = std::vector<std::string>;
  const std::string no_text = "f:1:1: document: the key \"text\" is missing; add it";
  EXPECT_EQ(read_of(R"({"text": "x", "list": [true, false]})"), Texts({"yes", "no", "x"}));
  EXPECT_EQ(read_of("{}"), Texts({no_text}));
  EXPECT_EQ(read_of(R"({"more": 1})"), Texts({no_text, R"(f:1:2: more: unknown key; known here: "list", "text")"}));
  // What is misspelled is not missing as well.
  EXPECT_EQ(read_of(R"({"texts": 1, "list": [1, true]})"),
            Texts({"yes", R"(f:1:2: texts: unknown key; did you mean "text"?)",
                   "f:1:23: list[0]: expected true or false, found a number; write true or false, without quotes"}));
  EXPECT_EQ(read_of("[]"), Texts({"f:1:1: document: expected an object, found an array; write it in { }"}));
}

TEST(JsonElement, SaysWhatItExpectedAndWhatItFound) {
  const fake::TemporaryDirectory directory;
  fake::write_file("f", R"([null, true, 1, "x", [], {}])");
  const JsonDocument document("f");
  const auto items = document.root().items();
  const auto wanted = [](const auto& ask) -> std::string {
    try {
      ask();
    } catch (const FileError& error) {
      return error.what();
    }
    return "had";
  };
  std::vector<std::string> outcomes;
  for (const JsonElement& item : items) {
    outcomes.push_back(wanted([&] { item.text(); }));
    outcomes.push_back(wanted([&] { item.boolean(); }));
    outcomes.push_back(wanted([&] { item.items(); }));
    outcomes.push_back(wanted([&] { item.members(); }));
  }
  const auto refused = [](const std::string& found, const std::string& expected_kind, const std::string& fix) {
    return ": expected " + expected_kind + ", found " + found + "; " + fix;
  };
  std::vector<std::string> expected;
  const std::vector<std::string> kinds = {"null", "true or false", "a number", "a string", "an array", "an object"};
  const std::vector<std::string> columns = {"2", "8", "14", "17", "22", "26"};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const std::string place = "f:1:" + columns[i] + ": [" + std::to_string(i) + "]";
    expected.push_back(i == 3 ? "had" : place + refused(kinds[i], "a string", "write it in double quotes"));
    expected.push_back(i == 1 ? "had" : place + refused(kinds[i], "true or false", "write true or false, without quotes"));
    expected.push_back(i == 4 ? "had" : place + refused(kinds[i], "an array", "write it in [ ]"));
    expected.push_back(i == 5 ? "had" : place + refused(kinds[i], "an object", "write it in { }"));
  }
  EXPECT_EQ(outcomes, expected);
}

}  // namespace
