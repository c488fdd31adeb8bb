#include "base/printable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"

namespace {

using namespace eclipse_base;

std::string utf8(char32_t code) {
  const auto tail = [&](unsigned shift) { return static_cast<char>(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80) return {static_cast<char>(code)};
  if (code < 0x800) return {static_cast<char>(0xC0U | (code >> 6U)), tail(0)};
  if (code < 0x10000) return {static_cast<char>(0xE0U | (code >> 12U)), tail(6), tail(0)};
  return {static_cast<char>(0xF0U | (code >> 18U)), tail(12), tail(6), tail(0)};
}

std::string escaped(const char* prefix, int width, unsigned code) {
  std::ostringstream text;
  text << prefix << std::uppercase << std::hex << std::setw(width) << std::setfill('0') << code;
  return text.str();
}

/// What must not be shown as it is: the general categories Cc, Cf, Zl, Zp and Zs of Unicode 14 except U+0020, as Python's
/// unicodedata lists them, then invisible characters of other categories.
const std::vector<std::pair<char32_t, char32_t>> dangerous = {
    {0x0, 0x1F},        {0x7F, 0xA0},       {0xAD, 0xAD},       {0x600, 0x605},     {0x61C, 0x61C},     {0x6DD, 0x6DD},
    {0x70F, 0x70F},     {0x890, 0x891},     {0x8E2, 0x8E2},     {0x1680, 0x1680},   {0x180E, 0x180E},   {0x2000, 0x200F},
    {0x2028, 0x202F},   {0x205F, 0x2064},   {0x2066, 0x206F},   {0x3000, 0x3000},   {0xFEFF, 0xFEFF},   {0xFFF9, 0xFFFB},
    {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x13438}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001},
    {0xE0020, 0xE007F}, {0x34F, 0x34F},     {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x3164, 0x3164},
    {0xFE00, 0xFE0F},   {0xFFA0, 0xFFA0},   {0xE0100, 0xE01EF}, {0x2800, 0x2800}};

bool is_dangerous(char32_t code) {
  return std::any_of(dangerous.begin(), dangerous.end(),
                     [&](const auto& range) { return range.first <= code && code <= range.second; });
}

/// Code points that no version of Unicode has assigned, and that are invisible when they are.
bool is_reserved_as_invisible(char32_t code) {
  return code == 0x2065 || (0xFFF0 <= code && code <= 0xFFF8) || (0xE0000 <= code && code <= 0xE0FFF) ||
         (0x13439 <= code && code <= 0x1343F);
}

std::string expected(char32_t code) {
  switch (code) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return code < 0x80 ? escaped("\\x", 2, code) : code < 0x10000 ? escaped("\\u", 4, code) : escaped("\\U", 8, code);
  }
}

TEST(Printable, EscapesEachCharacterThatControlsFormatsOrIsInvisibleAndNoOther) {
  for (char32_t code = 0; code < 0x110000; ++code) {
    if ((0xD800 <= code && code <= 0xDFFF) || is_reserved_as_invisible(code)) continue;
    const std::string text = "a" + utf8(code) + "b";
    ASSERT_EQ(printable(text), is_dangerous(code) ? "a" + expected(code) + "b" : text)
        << std::hex << static_cast<unsigned>(code);
  }
}

TEST(Printable, ShowsEachByteThatIsNotUtf8) {
  for (unsigned byte = 0x80; byte < 0x100; ++byte) {
    const std::string text{static_cast<char>(byte)};
    EXPECT_EQ(printable(text), escaped("\\x", 2, byte));
    EXPECT_EQ(printable("a" + text + "b"), "a" + escaped("\\x", 2, byte) + "b");
  }
  EXPECT_EQ(printable("\xC0\x80"), "\\xC0\\x80");
  EXPECT_EQ(printable("\xE0\x80\x80"), "\\xE0\\x80\\x80");
  EXPECT_EQ(printable("\xED\xA0\x80"), "\\xED\\xA0\\x80");
  EXPECT_EQ(printable("\xF0\x80\x80\x80"), "\\xF0\\x80\\x80\\x80");
  EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
  EXPECT_EQ(printable("\xE2\x80\xC3\xA4"), "\\xE2\\x80\xC3\xA4");
}

TEST(Printable, ShowsWhatIsPrintableAsItIs) {
  const std::string text = "C:\\site \"quoted\" '$x' \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xE4\xBD\xA0";
  EXPECT_EQ(printable(text), text);
  const std::string once = printable("\x1B\n\xFF\xE2\x80\xAE");
  EXPECT_EQ(once, "\\x1B\\n\\xFF\\u202E");
  EXPECT_EQ(printable(once), once);
}

TEST(Printable, ShowsTabsAndLineFeedsAsAsked) {
  EXPECT_EQ(printable("a\tb\nc", {.tab = "→"}), "a→b\\nc");
  EXPECT_EQ(printable("a\tb\nc\r\n", {.tab = "\t", .line_feed = "\n  "}), "a\tb\n  c\\r\n  ");
}

TEST(Printable, ShowsTheBeginningOfALongText) {
  EXPECT_EQ(printable(std::string(4096, 'a')), std::string(4096, 'a'));
  EXPECT_EQ(printable(std::string(4097, 'a')), std::string(200, 'a') + "... (3897 bytes left out)");
  EXPECT_EQ(printable(std::string(4097, 'a'), {.longest = no_limit}), std::string(4097, 'a'));
  EXPECT_EQ(printable("abcdef", {.longest = 5}), "abcde... (1 byte left out)");
}

TEST(Printable, CutsNoCharacter) {
  const std::string euros = [] {
    std::string text;
    for (int i = 0; i < 2000; ++i) text += "\xE2\x82\xAC";
    return text;
  }();
  const std::string shown = printable(euros);
  EXPECT_EQ(shown, euros.substr(0, 198) + "... (5802 bytes left out)");
  const std::string bytes(5000, '\x80');
  EXPECT_TRUE(printable(bytes).ends_with("\\x80... (4800 bytes left out)"));
}

TEST(InQuotes, AnyOfSeveralTexts) {
  EXPECT_EQ(any_in_quotes(std::vector<std::string>{"a"}), "\"a\"");
  EXPECT_EQ(any_in_quotes(std::vector<std::string>{"a", "b"}), "\"a\" or \"b\"");
  EXPECT_EQ(any_in_quotes(std::vector<std::string>{"a", "b", "c"}), "\"a\", \"b\" or \"c\"");
}

TEST(InQuotes, EachOfSeveralTexts) {
  EXPECT_EQ(each_in_quotes(std::vector<std::string>{"a", "b\n"}), "\"a\", \"b\\n\"");
  EXPECT_EQ(each_in_quotes(std::vector<std::string>()), "");
}

TEST(InQuotes, IsPrintable) { EXPECT_EQ(in_quotes("a\"\\\n\xFF"), "\"a\"\\\\n\\xFF\""); }

TEST(PrintablePieces, DoNotDependOnWhereTheyAreCut) {
  const std::string text =
      "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n\x1B\xE2\x80\xAE\xFF\xE2\x82z\xC3\xF0\x9F\x98\xED\xA0\x80\xF4\x90\xC2\x9B\xE2";
  const PrintableForm form{.tab = "\t", .line_feed = "\n"};
  for (std::size_t first = 0; first <= text.size(); ++first) {
    for (std::size_t second = first; second <= text.size(); ++second) {
      PrintablePieces pieces(form);
      std::string shown = pieces.add(text.substr(0, first));
      shown += pieces.add(text.substr(first, second - first));
      shown += pieces.add(text.substr(second));
      EXPECT_EQ(shown + pieces.end(), printable(text, form)) << first << " " << second;
    }
  }
}

TEST(PrintablePieces, HoldBackOnlyTheBeginningOfACharacter) {
  PrintablePieces pieces({.line_feed = "\n"});
  EXPECT_EQ(pieces.add("a\xE2"), "a");
  EXPECT_EQ(pieces.add("\x82"), "");
  EXPECT_EQ(pieces.add("\xAC"
                       "b\xFF"),
            "\xE2\x82\xAC"
            "b\\xFF");
  EXPECT_EQ(pieces.add("\xF0\x9F"), "");
  EXPECT_EQ(pieces.end(), "\\xF0\\x9F");
  EXPECT_EQ(pieces.end(), "");
}

}  // namespace
