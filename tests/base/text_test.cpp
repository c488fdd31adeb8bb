#include "base/text.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using namespace eclipse_base;
using Texts = std::vector<std::string>;

TEST(Trimmed, TakesWhiteSpaceFromBothEndsOnly) {
  EXPECT_EQ(trimmed(" \t\r\n\v\fa b\f\v\n\r\t "), "a b");
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed(" \n"), "");
  EXPECT_EQ(trimmed(",a b,,", ","), "a b");
}

TEST(LowerCase, ChangesAsciiLettersOnly) { EXPECT_EQ(lower_case("AZaz09_\xC3\x84\xFF"), "azaz09_\xC3\x84\xFF"); }

TEST(Split, GivesOnePieceMoreThanSeparators) {
  EXPECT_EQ(split("", ','), Texts{""});
  EXPECT_EQ(split("a", ','), Texts{"a"});
  EXPECT_EQ(split(",a,,b,", ','), (Texts{"", "a", "", "b", ""}));
}

TEST(LinesOf, BeginsNoLineAfterTheLastLineFeed) {
  EXPECT_EQ(lines_of(""), Texts{});
  EXPECT_EQ(lines_of("\n"), Texts{""});
  EXPECT_EQ(lines_of("a\r\n\nb"), (Texts{"a\r", "", "b"}));
  EXPECT_EQ(lines_of("a\nb\n"), (Texts{"a", "b"}));
}

TEST(Replaced, TakesTheTextFromLeftToRightOnce) {
  EXPECT_EQ(replaced("aaa", "aa", "a"), "aa");
  EXPECT_EQ(replaced("a.b.", ".", ".."), "a..b..");
  EXPECT_EQ(replaced("abc", "", "x"), "abc");
  EXPECT_EQ(replaced("", "a", "x"), "");
}

TEST(Joined, PutsSeparatorsBetween) {
  EXPECT_EQ(joined(Texts{}), "");
  EXPECT_EQ(joined(Texts{"", "a", ""}), ", a, ");
  EXPECT_EQ(joined(std::set<std::string>{"b", "a"}, ","), "a,b");
}

TEST(FirstFew, SaysHowManyMoreThereAre) {
  EXPECT_EQ(first_few({}, 2), "");
  EXPECT_EQ(first_few({"a", "b"}, 2), "a, b");
  EXPECT_EQ(first_few({"a", "b", "c", "d"}, 2), "a, b and 2 more");
}

TEST(Counted, KnowsThePlural) {
  EXPECT_EQ(counted(0, "file"), "0 files");
  EXPECT_EQ(counted(1, "file"), "1 file");
  EXPECT_EQ(counted(2, "file"), "2 files");
  EXPECT_EQ(counted(1, "directory", "directories"), "1 directory");
  EXPECT_EQ(counted(2, "directory", "directories"), "2 directories");
}

TEST(Distance, CountsChanges) {
  EXPECT_EQ(distance("", ""), 0U);
  EXPECT_EQ(distance("abc", ""), 3U);
  EXPECT_EQ(distance("kitten", "sitting"), 3U);
  EXPECT_EQ(distance("ab", "ba"), 2U);
  EXPECT_EQ(distance("a", "A"), 1U);
}

TEST(Distance, LooksAtTheBeginningOfLongWordsOnly) {
  const std::string begin(200, 'x');
  EXPECT_EQ(distance(begin + "a", begin + "b"), 0U);
  EXPECT_EQ(distance("a" + begin, "b" + begin), 1U);
}

TEST(SimilarWord, IsTheKnownWordThatIsMostLikeIt) {
  const Texts known = {"code", "install", "installed", "a"};
  EXPECT_EQ(similar_word("Code", known), "code");
  EXPECT_EQ(similar_word("instaled", known), "installed");
  EXPECT_EQ(similar_word("b", known), "a");
  EXPECT_EQ(similar_word("xyzw", known), std::nullopt);
  EXPECT_EQ(similar_word("code" + std::string(60, 'x'), known), std::nullopt);
  EXPECT_EQ(similar_word("code", {}), std::nullopt);
}

TEST(Utf8OfUtf16, KnowsBothByteOrdersAndPairsOfSurrogates) {
  const auto text = [](std::string_view bytes) { return utf_8_of_utf_16(bytes); };
  using namespace std::string_view_literals;
  EXPECT_EQ(text("\xFF\xFE"
                 "a\0\xE4\0"sv),
            "a\xC3\xA4");
  EXPECT_EQ(text("\xFE\xFF"
                 "\0a\x20\xAC"sv),
            "a\xE2\x82\xAC");
  EXPECT_EQ(text("\xFF\xFE\x3D\xD8\x00\xDE"sv), "\xF0\x9F\x98\x80");
  EXPECT_EQ(text("a\0b\0"sv), "ab") << "without a mark, by its ASCII characters";
  EXPECT_EQ(text("\0a\0b"sv), "ab");
  for (const std::string_view other : {""sv, "a"sv, "ab"sv, "a\0b"sv, "a\0bc"sv, "\0\0"sv, "\xFF\xFE\x3D\xD8"sv,
                                       "\xFF\xFE\x3D\xD8"
                                       "a\0"sv,
                                       "\xFF\xFE\x00\xDE\x3D\xD8"sv}) {
    EXPECT_EQ(text(other), std::nullopt) << testing::PrintToString(other);
  }
}

TEST(CharactersIn, CountsBytesThatAreNotUtf8One) {
  EXPECT_EQ(characters_in(""), 0U);
  EXPECT_EQ(characters_in("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), 4U);
  EXPECT_EQ(characters_in("\x80\xC3\xE2\x82"), 4U);
}

/// Written another way than the function: by the code points that the bytes encode.
bool is_one_character(const std::string& text) {
  const auto encoded = [](char32_t code) {
    const auto tail = [&](unsigned shift) { return static_cast<char>(0x80U | ((code >> shift) & 0x3FU)); };
    if (code < 0x80) return std::string{static_cast<char>(code)};
    if (code < 0x800) return std::string{static_cast<char>(0xC0U | (code >> 6U)), tail(0)};
    if (code < 0x10000) return std::string{static_cast<char>(0xE0U | (code >> 12U)), tail(6), tail(0)};
    return std::string{static_cast<char>(0xF0U | (code >> 18U)), tail(12), tail(6), tail(0)};
  };
  static const std::set<std::string> all = [&] {
    std::set<std::string> characters;
    for (char32_t code = 0; code < 0x110000; code += code < 0x10000 ? 1 : 61) {
      if (code < 0xD800 || code > 0xDFFF) characters.insert(encoded(code));
    }
    return characters;
  }();
  return all.count(text) != 0;
}

TEST(IsUtf8, AgreesWithAnEncoderOnAllTextsOfUpToThreeBytes) {
  for (unsigned first = 0; first < 256; ++first) {
    const std::string one{static_cast<char>(first)};
    EXPECT_EQ(character_length(one) == 1, is_one_character(one));
    for (unsigned second = 0; second < 256; ++second) {
      const std::string two = one + static_cast<char>(second);
      ASSERT_EQ(character_length(two) == 2, is_one_character(two)) << first << " " << second;
      for (const unsigned third : {0x00U, 0x7FU, 0x80U, 0xBFU, 0xC0U, 0xFFU}) {
        const std::string three = two + static_cast<char>(third);
        ASSERT_EQ(character_length(three) == 3, is_one_character(three)) << first << " " << second << " " << third;
      }
    }
  }
}

TEST(IsUtf8, KnowsTheLimitsOfFourBytes) {
  EXPECT_TRUE(is_utf8("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"));
  for (const char* text : {"\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF0\x90\x80", "\xF0\x90\x80\x7F"})
    EXPECT_FALSE(is_utf8(text)) << text;
  EXPECT_TRUE(is_utf8(""));
  EXPECT_FALSE(is_utf8("a\x80"));
  for (std::size_t length = 0; length < 20; ++length) {
    const std::string text(length, 'a');
    EXPECT_EQ(length_of_utf8(text + "\x80" + text), length);
    EXPECT_TRUE(is_utf8(text + "\xC3\xA4" + text));
  }
}

}  // namespace
