// That a document follows what an editor does to it, and knows what the editor does not show.
#include "language_server/document.h"

#include <gtest/gtest.h>

#include <random>

#include "base/text.h"
#include "base/uri.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_language_server;

namespace {

constexpr PositionEncoding utf16 = PositionEncoding::utf16;

Document document_with(const std::string& text) { return {"untitled:1", text}; }

std::string edited(const std::string& text, const Range& range, const std::string& replacement) {
  Document document = document_with(text);
  document.replace(range, replacement, utf16);
  return document.text();
}

TEST(Document, HasRangesAsTheProtocolHasThem) {
  const Json range = {{"start", {{"line", 1U}, {"character", 2U}}}, {"end", {{"line", 3U}, {"character", 4U}}}};
  EXPECT_EQ(as_json(Range{{1, 2}, {3, 4}}), range);
  EXPECT_EQ(as_json(range_in({{"range", range}}, "/range")), range);
}

TEST(Document, ReplacesRanges) {
  EXPECT_EQ(edited("one\ntwo\n", {{0, 1}, {1, 2}}, "-"), "o-o\n");
  EXPECT_EQ(edited("one\ntwo\n", {{1, 0}, {1, 0}}, "more\n"), "one\nmore\ntwo\n");
  EXPECT_EQ(edited("a😀b", {{0, 1}, {0, 3}}, ""), "ab");
  EXPECT_EQ(edited("", {{0, 0}, {0, 0}}, "x"), "x");
}

TEST(Document, EndsALineThatAnEditorShowsAtACarriageReturn) {
  EXPECT_EQ(edited("one\rtwo\r\nthree", {{1, 1}, {2, 2}}, "-"), "one\rt-ree");
  EXPECT_EQ(edited("one\rtwo", {{0, 99}, {1, 0}}, ""), "onetwo");
  EXPECT_EQ(edited("one\r\r\ntwo\r", {{1, 0}, {2, 0}}, ""), "one\rtwo\r");
  EXPECT_EQ(edited("one\n\rtwo\r", {{3, 0}, {3, 0}}, "!"), "one\n\rtwo\r!");
}

TEST(Document, FindsTheLinesOfThePlugInAmongThoseThatAnEditorShows) {
  const Document document = document_with("a\rb\r\nc\rd\ne");
  EXPECT_EQ(document.line(1).text, "c\rd");
  EXPECT_EQ(document.line(1).start, 5U);
  EXPECT_EQ(document.line(9).text, "");
  EXPECT_EQ(document.line_at(document.offset_of({3, 1}, utf16)).text, "c\rd");
  EXPECT_EQ(as_json(document.range_of(1, 1, 99, utf16)), as_json(Range{{0, 0}, {1, 2}}));
  EXPECT_EQ(as_json(document.range_of(2, 3, 1, utf16)), as_json(Range{{3, 0}, {3, 1}}));
  EXPECT_EQ(as_json(document.range_of(3, 1, 1, utf16)), as_json(Range{{4, 0}, {4, 1}}));
}

TEST(Document, TakesPositionsAfterTheEndForTheEnd) {
  EXPECT_EQ(edited("one\ntwo\nthree", {{0, 99}, {1, 0}}, ""), "onetwo\nthree");
  EXPECT_EQ(edited("one\ntwo\nthree", {{1, 99}, {2, 0}}, ""), "one\ntwothree");
  EXPECT_EQ(edited("one\ntwo", {{1, 0}, {99, 0}}, "x"), "one\nx");
  EXPECT_EQ(edited("one\ntwo", {{1, 0}, {2, 0}}, "x"), "one\nx");
  EXPECT_EQ(edited("one\ntwo", {{99, 99}, {99, 99}}, "!"), "one\ntwo!");
  const std::size_t most = static_cast<std::size_t>(-1);
  EXPECT_EQ(edited("one\ntwo", {{most, most}, {most, most}}, "!"), "one\ntwo!");
}

TEST(Document, TakesAReversedRangeForAnInsertion) { EXPECT_EQ(edited("one\ntwo", {{1, 1}, {0, 0}}, "x"), "one\ntxwo"); }

TEST(Document, IsEditedToAContentInWholeLines) {
  const std::vector<std::string> texts = {"",       "\n",        "a",        "a\n",       "b\n",    "a\nb",      "a\nb\n",
                                          "a\na\n", "a\na\na\n", "a\r\nb\n", "a\rb\rc\n", "a\rc\n", "x\na\nb\n", "a\nä😀\nb\n"};
  for (const std::string& before : texts) {
    for (const std::string& after : texts) {
      Document document = document_with(before);
      const auto edit = document.edit_to(after, utf16);
      EXPECT_EQ(edit.has_value(), before != after);
      if (!edit) continue;
      EXPECT_EQ(edit->range.start.character, 0U) << before << "to\n" << after;
      document.replace(edit->range, edit->text, utf16);
      EXPECT_EQ(document.text(), after) << "from\n" << before;
    }
  }
  const auto edit = document_with("one\ntwo \nthree\n").edit_to("one\ntwo\nthree\n", utf16);
  ASSERT_TRUE(edit);
  EXPECT_EQ(edit->text, "two\n");
  EXPECT_EQ(edit->range.start.line, 1U);
  EXPECT_EQ(edit->range.end.line, 2U);
}

/// Some editors count the carriage return before a line feed, others do not.
TEST(Document, HasPositionsOnBothSidesOfACarriageReturn) {
  EXPECT_EQ(edited("a\r\nb\r\n", {{0, 1}, {0, 1}}, "x"), "ax\r\nb\r\n");
  EXPECT_EQ(edited("a\r\nb\r\n", {{0, 1}, {0, 2}}, ""), "a\nb\r\n");
  EXPECT_EQ(edited("a\r\nb\r\n", {{0, 1}, {1, 0}}, ""), "ab\r\n");
}

/// The same edits of a text as a list of lines.
TEST(Document, FollowsManyEdits) {
  std::mt19937 random(7);
  const auto number = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
  Document document = document_with("");
  std::vector<std::string> lines = {""};
  for (int i = 0; i < 2000; ++i) {
    const std::size_t first = number(lines.size() - 1);
    const std::size_t last = std::min(lines.size() - 1, first + number(1));
    const std::size_t start = number(lines[first].size());
    const std::size_t end = first == last ? start + number(lines[last].size() - start) : number(lines[last].size());
    const std::string text = std::vector<std::string>{"", "x", "ab\n", "\n", "c\nd"}[number(4)];
    const auto inserted = eclipse_base::split(lines[first].substr(0, start) + text + lines[last].substr(end), '\n');
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(first), lines.begin() + static_cast<std::ptrdiff_t>(last + 1));
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(first), inserted.begin(), inserted.end());
    document.replace({{first, start}, {last, end}}, text, utf16);
    ASSERT_EQ(document.text(), eclipse_base::joined(lines, "\n"));
  }
}

/// The lines of the plug-in, and the positions of all characters among the lines that an editor shows.
Json lines_of(const Document& document) {
  Json lines = Json::array();
  for (std::size_t at = 0; at <= document.text().size(); ++at) lines.push_back(as_json(document.range_between(at, at, utf16)));
  for (std::size_t number = 0; number < document.text().size() + 2; ++number) lines.push_back(document.line(number).start);
  return lines;
}

TEST(Document, FindsTheSameLinesAfterEditsAsInTheWholeText) {
  std::mt19937 random(8);
  const auto number = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
  Document document = document_with("");
  for (int i = 0; i < 3000; ++i) {
    const std::size_t size = document.text().size();
    const std::size_t start = number(size);
    const std::size_t end = start + number(std::min<std::size_t>(size - start, size > 20 ? 10 : 2));
    const std::string text = std::vector<std::string>{"", "x", "\r", "\n", "\r\n", "a\rb\n", "\n\r"}[number(6)];
    document.replace(document.range_between(start, end, utf16), text, utf16);
    ASSERT_EQ(lines_of(document), lines_of(document_with(document.text())));
  }
  document.replace_all("a\rb\nc");
  EXPECT_EQ(lines_of(document), lines_of(document_with("a\rb\nc")));
}

TEST(Document, KeepsWhatTheEditorDoesNotShow) {
  const fake::TemporaryDirectory directory;
  fake::write_file("a.txt", "\xEF\xBB\xBFone\n");
  Document document(eclipse_base::uri_of(directory.path() + "/a.txt"), "one\n");
  EXPECT_EQ(document.content(), "\xEF\xBB\xBFone\n");
  EXPECT_EQ(as_json(document.range_of(1, 4, 3, utf16)), as_json(Range{{0, 0}, {0, 3}}));
  EXPECT_EQ(as_json(document.range_of(1, 1, 3, utf16)), as_json(Range{{0, 0}, {0, 0}}));
  document.replace({{0, 0}, {0, 0}}, "\xEF\xBB\xBF", utf16);
  document.read_encoding();
  EXPECT_EQ(document.content(), "\xEF\xBB\xBFone\n");
  fake::write_file("a.txt", "one\n");
  document.replace_all("two\n");
  document.read_encoding();
  EXPECT_EQ(document.content(), "two\n");
  for (const std::string& utf_16 : {std::string("\xFF\xFEo\0", 4), std::string("\xFE\xFF\0o", 4)}) {
    fake::write_file("a.txt", utf_16);
    document.read_encoding();
    EXPECT_EQ(document.content(), utf_16);
    EXPECT_FALSE(document.edit_to("one", utf16));
    EXPECT_FALSE(document.range_of_bytes(0, 1, utf16));
  }
}

TEST(Document, HasRangesAndEditsOfBytesAfterAHiddenMark) {
  const fake::TemporaryDirectory directory;
  fake::write_file("a.txt", "\xEF\xBB\xBFone\n");
  const Document document(eclipse_base::uri_of(directory.path() + "/a.txt"), "one\n");
  const auto range = [&](std::size_t offset, std::size_t length) {
    const auto found = document.range_of_bytes(offset, length, utf16);
    return found ? as_json(*found) : Json();
  };
  EXPECT_EQ(range(3, 4), as_json(Range{{0, 0}, {1, 0}}));
  EXPECT_EQ(range(4, 1), as_json(Range{{0, 1}, {0, 2}}));
  EXPECT_EQ(range(7, 0), as_json(Range{{1, 0}, {1, 0}}));
  for (const auto& [offset, length] : {std::pair<std::size_t, std::size_t>{2, 1}, {8, 0}, {7, 1}, {3, 5}}) {
    EXPECT_EQ(range(offset, length), Json()) << offset;
  }
  const auto edit = document.edit_to("\xEF\xBB\xBFtwo\n", utf16);
  ASSERT_TRUE(edit);
  EXPECT_EQ(edit->text, "two\n");
  EXPECT_FALSE(document.edit_to("\xEF\xBB\xBFone\n", utf16));
}

TEST(Document, HasRangesOfItsOwnLinesOnly) {
  const Document document = document_with("aä\tb\nc");
  EXPECT_EQ(as_json(document.range_of(1, 5, 1, utf16)), as_json(Range{{0, 3}, {0, 4}}));
  EXPECT_EQ(as_json(document.range_of(0, 0, 0, utf16)), as_json(Range{{0, 0}, {0, 4}}));
  EXPECT_EQ(as_json(document.range_of(2, 1, 100, utf16)), as_json(Range{{1, 0}, {1, 1}}));
  EXPECT_EQ(as_json(document.range_of(2, 0, 0, utf16)), as_json(Range{{1, 0}, {1, 0}}));
  EXPECT_EQ(as_json(document.range_of(9, 9, 9, utf16)), as_json(Range{{1, 1}, {1, 1}}));
}

TEST(Document, IsASessionOrADescriptorOrNeither) {
  const auto kind_of = [](const std::string& uri, const std::string& text) -> std::string {
    const Document document(uri, text);
    if (document.is_configuration()) return "configuration";
    return document.is_session() ? "session" : document.is_descriptor() ? "descriptor" : "other";
  };
  EXPECT_EQ(kind_of("file:///none/s.json", "{\"components\": ["), "session");
  EXPECT_EQ(kind_of("file:///none/s.json", "{\"componentsOfOthers\": ["), "other");
  EXPECT_EQ(kind_of("file:///none/.eclipse-int.json", "{\"components\": ["), "configuration");
  EXPECT_EQ(kind_of("file:///none/s.txt", "{\"components\": ["), "session");
  EXPECT_EQ(kind_of("file:///none/s.txt", "{}"), "other");
  EXPECT_EQ(kind_of("file:///none/s.txt", "a\tb"), "descriptor");
  EXPECT_EQ(kind_of("untitled:s.txt", ""), "other");
  EXPECT_TRUE(Document("file:///none/etc/eclipse/s", "").is_in_descriptor_directory());
  EXPECT_FALSE(Document("file:///none/my-etc/eclipse/s", "").is_in_descriptor_directory());
}

}  // namespace
