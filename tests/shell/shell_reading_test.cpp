// That the shell's grammar is read as the shell reads it: what has no expansions is given to the real one.
#include "shell/shell_reading.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"
#include "shell/pathname_expansion.h"

namespace eclipse_shell {

namespace {

using Words = std::vector<std::string>;

std::vector<std::string> effects_of(const ShellReading& reading) {
  std::vector<std::string> effects;
  for (const ShellRemark& remark : reading.remarks) effects.push_back(std::to_string(remark.offset) + " " + remark.effect);
  return effects;
}

TEST(ShellReading, PlainWordsArePassedOn) {
  const ShellReading reading = read_as_shell("/opt/eclipse -i a,b 2>&1");
  EXPECT_EQ(reading.commands, (std::vector<Words>{{"/opt/eclipse", "-i", "a,b"}}));
  EXPECT_EQ(reading.redirections, Words{"2>&1"});
  EXPECT_EQ(effects_of(reading), Words());
  EXPECT_EQ(reading.error, "");
  EXPECT_TRUE(reading.starts_only({"/opt/eclipse", "-i", "a,b"}));
  EXPECT_FALSE(reading.starts_only({"/opt/eclipse", "-i", "a", "b"}));
}

TEST(ShellReading, WhatStandsWithoutItsRedirectionIsNotJustTheCommand) {
  EXPECT_FALSE(read_as_shell("a b").starts_only({"a", "b"}));
  EXPECT_FALSE(read_as_shell("a b > c 2>&1").starts_only({"a", "b"}));
  EXPECT_FALSE(read_as_shell("a b 2>&1; c").starts_only({"a", "b"}));
}

TEST(ShellReading, QuotesOfAnArchiveAreTakenAway) {
  const ShellReading reading = read_as_shell("e -r \"jar:file:///my site.zip!/\",file:///x 2>&1");
  EXPECT_TRUE(reading.starts_only({"e", "-r", "jar:file:///my site.zip!/,file:///x"}));
  EXPECT_EQ(effects_of(reading), Words{"5 the quotes are removed"});
}

TEST(ShellReading, ARetryOfARemovalIsRefused) {
  const ShellReading reading = read_as_shell("e -u F1,F2 2>&1F2 2>&1");
  EXPECT_EQ(reading.error, "\"2>&1F2\" redirects to the file descriptor \"1F2\", which is not a number");
}

TEST(ShellReading, ZeroBytesLeaveNothingToRead) {
  const ShellReading reading = read_as_shell(std::string_view("e -r a\0b; 'c\0 2>&1", 18));
  EXPECT_EQ(reading.error, "byte 7 is NUL, and a shell command cannot contain a NUL byte (exit code 126)");
  EXPECT_EQ(reading.commands, std::vector<Words>());
  EXPECT_EQ(effects_of(reading), Words{"6 a shell command cannot contain a NUL byte"});
  const std::string word("a\0b", 3);
  EXPECT_FALSE(read_as_shell("x " + word + " 2>&1").starts_only({"x", word}));
  EXPECT_EQ(eclipse_shell::run_in_shell("echo " + word).exit_code, 126);
}

TEST(ShellReading, KnowsWhereWordsPart) {
  EXPECT_EQ(read_as_shell("a 'b c'\t  d 2>&1").word_ends, (std::vector<std::size_t>{1, 7, 11}));
  EXPECT_EQ(read_as_shell("abc").word_ends, std::vector<std::size_t>());
}

TEST(ShellReading, WhatIsPlainStaysAsItIs) {
  for (const std::string text : {"a", "org.example.a_1", "/opt/eclipse", "file:///a/b2.zip"}) {
    EXPECT_TRUE(is_plain(text)) << text;
    EXPECT_TRUE(read_as_shell("x " + text + " 2>&1").starts_only({"x", text})) << text;
  }
  for (const std::string text : {"", "a b", "1", "a$", "a;", "a~", "a\\", "a\xC3\xA4"}) EXPECT_FALSE(is_plain(text)) << text;
}

struct Special {
  const char* line;
  std::vector<Words> commands;
  Words effects;
};

TEST(ShellReading, SpecialCharactersAreRemarked) {
  const std::vector<Special> cases = {
      {"a$b", {{"a$b"}}, {"1 the value of a variable is substituted"}},
      {"a\"${b c}\"", {{"a${b c}"}}, {"1 the quotes are removed", "2 the value of a variable is substituted"}},
      {"$(a (b) c) d", {{"$(a (b) c)", "d"}}, {"0 the output of the command between the parentheses is substituted"}},
      {"`a b` c", {{"`a b`", "c"}}, {"0 the output of the command between the backquotes is substituted"}},
      {"a$ $", {{"a$", "$"}}, {}},
      {"/nowhere/a* '*'", {{"/nowhere/a*", "*"}}, {"12 the quotes are removed"}},
      {"~/a b~", {{"~/a", "b~"}}, {"0 tilde expansion replaces \"~\" with a home directory"}},
      {"a=b/c d", {{"a=b/c", "d"}}, {"0 the word assigns a variable, and the command begins after it"}},
      {"_a1= x=y", {{"_a1=", "x=y"}}, {"0 the word assigns a variable, and the command begins after it"}},
      {"/a=b c=d =e", {{"/a=b", "c=d", "=e"}}, {}},
      {"1a=b", {{"1a=b"}}, {}},
      {"=a", {{"=a"}}, {}},
      {"a;b", {{"a"}, {"b"}}, {"1 the command ends here, and the rest is run as another command"}},
      {"a && b|c &",
       {{"a"}, {"b"}, {"c"}},
       {"2 the command ends here, and the rest is run as another command",
        "6 the command ends here, and the rest is run as another command",
        "9 the command ends here, and the rest is run as another command"}},
      {"a #b;c", {{"a"}}, {"2 the rest of the line is a comment"}},
      {"a#b", {{"a#b"}}, {}},
      {"a >b", {{"a"}}, {"2 the input or output is redirected to a file"}},
      {"a 1>&3 2>&4 5>&6",
       {{"a"}},
       {"2 standard output is redirected to another file descriptor",
        "7 standard error is redirected to another file descriptor",
        "12 file descriptor 5 is redirected to another file descriptor"}},
      {"a >&3 <&4",
       {{"a"}},
       {"2 standard output is redirected to another file descriptor",
        "6 standard input is redirected from another file descriptor"}},
      {"a <&- 0<&- 0>&-", {{"a"}}, {"2 standard input is closed", "6 standard input is closed", "11 standard input is closed"}},
      {"a >&- 1<&-", {{"a"}}, {"2 standard output is closed", "6 standard output is closed"}},
      {"a 2>&- 7<&-", {{"a"}}, {"2 standard error is closed", "7 file descriptor 7 is closed"}},
      {"a\\ b", {{"a b"}}, {"1 the backslash is removed"}},
  };
  for (const Special& special : cases) {
    const ShellReading reading = read_as_shell(special.line);
    EXPECT_EQ(reading.commands, special.commands) << special.line;
    EXPECT_EQ(effects_of(reading), special.effects) << special.line;
    EXPECT_EQ(reading.error, "") << special.line;
  }
}

TEST(ShellReading, WhatIsNotClosedIsRefused) {
  EXPECT_EQ(read_as_shell("a 'b c").error, "the quote at byte 3 is not closed");
  EXPECT_EQ(read_as_shell("a \"b c").error, "the quote at byte 3 is not closed");
  EXPECT_EQ(read_as_shell("a `b c").error, "the \"`\" at byte 3 is not closed");
  EXPECT_EQ(read_as_shell("a \"$(b c\"").error, "the \"$(\" at byte 4 is not closed");
  EXPECT_EQ(read_as_shell("a (b)").error, "unexpected \"(\"");
  EXPECT_EQ(read_as_shell("; a").error, "a command is missing before \";\"");
  EXPECT_EQ(read_as_shell("a ;; b").error, "unexpected \";;\"");
  EXPECT_EQ(read_as_shell("a &&").error, "a command is missing at the end");
  EXPECT_EQ(read_as_shell("a >").error, "the target of a redirection is missing");
}

/// What the real shell makes of a line whose first word is a function of ours, which shows its words.
std::string words_of_shell(const std::string& line, int& exit_code) {
  const auto result =
      eclipse_shell::run_in_shell("show() { for word; do printf '<%s>' \"$word\"; done; printf '.'; }\n" + line);
  exit_code = result.exit_code;
  return result.output;
}

std::string words_read(const ShellReading& reading) {
  std::string text;
  for (const Words& command : reading.commands) {
    for (std::size_t i = 1; i < command.size(); ++i) text += "<" + command[i] + ">";
    text += ".";
  }
  return text;
}

/// Every text up to a length over the letters that matter, each given to both.
TEST(ShellReading, EverySmallTextIsReadAsTheShellReadsIt) {
  const std::string letters = "a \"'\\\t";
  std::vector<std::string> texts = {""};
  std::size_t checked = 0;
  for (std::size_t i = 0; texts[i].size() < 4; ++i) {
    for (const char letter : letters) texts.push_back(texts[i] + letter);
  }
  // One shell for many lines: a line that it refuses ends it, so those are given to it alone.
  std::string script;
  std::string wanted;
  for (const std::string& text : texts) {
    const ShellReading reading = read_as_shell("show " + text);
    if (!reading.error.empty() || text.ends_with('\\')) continue;
    script += "show " + text + "\n";
    wanted += words_read(reading);
    ++checked;
  }
  int exit_code = -1;
  EXPECT_EQ(words_of_shell(script, exit_code), wanted);
  EXPECT_EQ(exit_code, 0);
  EXPECT_GT(checked, 500U);
}

/// Each pattern is given to both, in a directory with these files.
TEST(ShellReading, GlobsAreExpandedAsTheShellExpandsThem) {
  const fake::TemporaryDirectory directory;
  for (const char* const file : {"a", "ab", "abc", "b", "B", ".hidden", "a b", "a*b", "[x]", "a[b", "a\\c", "q'q", "\xC3\xA4",
                                 "d/one", "d/two", "d/.h", "e/one", "file:/s/x", "a1,c"}) {
    fake::write_file(file, "");
  }
  std::filesystem::create_symlink("nowhere", "dangling");
  std::filesystem::create_directory_symlink("d", "link");
  const std::vector<std::string> patterns = {
      "*",       "a*",    "?",      "??",       "[ab]",       "[!a]",      "[^a]",     "[a-b]*", "z*",
      ".*",      ".h*",   "*/one",  "d/*",      "*/",         "d/../a?",   "a'*'b",    "a\\*b",  "'a'*",
      "\"a \"*", "[[]x]", "[[]*",   "a[b",      "[",          "a[",        "d//*",     "./a*",   "*/*",
      "a*b",     "\\a*",  "[\\a]b", "[\"a\"]b", "file:/*/x",  "file:///*", "a*,c",     "a*,d",   "*.zip",
      "d*/t?o",  "*/.h",  "da*",    "link/*",   "*\\\\*",     "?'q",       "*\"'\"*",  "'d/'*",  "d'/'*",
      "nope/*",  "[]a]",  "[!]a]",  "*/./one",  "/nowhere/*", "d/*/",      "a* b* z*", "\xC3*",  "a=*"};
  std::string script;
  std::string wanted;
  for (const std::string& pattern : patterns) {
    const ShellReading reading = read_as_shell("show " + pattern);
    if (!reading.error.empty()) continue;
    const std::string label = pattern.find_first_of("'\\") == pattern.npos ? pattern : "";
    script += "show " + pattern + "; echo '  " + label + "'\n";
    wanted += words_read(reading) + "  " + label + "\n";
  }
  int exit_code = -1;
  EXPECT_EQ(words_of_shell(script, exit_code), wanted);
}

TEST(ShellReading, GlobThatMatchesIsAnExpansion) {
  const fake::TemporaryDirectory directory;
  for (const char* const file : {"one", "two", "three", "four", "only*"}) fake::write_file(file, "");
  const ShellReading matched = read_as_shell("x [ot]* y");
  EXPECT_TRUE(matched.has_expansion);
  EXPECT_EQ(matched.commands, (std::vector<Words>{{"x", "one", "only*", "three", "two", "y"}}));
  EXPECT_EQ(effects_of(matched), Words{"2 pathname expansion replaces the word with \"one\", \"only*\", \"three\" and 1 more"});
  EXPECT_EQ(matched.idle_globs, std::vector<std::size_t>());
  for (const std::string word : {"only*", "fi*ve?"}) {
    const ShellReading idle = read_as_shell("x " + word + " 2>&1");
    EXPECT_TRUE(idle.starts_only({"x", word}));
    EXPECT_EQ(idle.idle_globs.front(), 2 + word.find('*'));
    EXPECT_EQ(as_word(word), word);
  }
  EXPECT_EQ(read_as_shell("x 'a*' b\\*c \"d?\" $e*").idle_globs, std::vector<std::size_t>());
  EXPECT_EQ(as_word("o*"), "o*") << "more than one word";
  EXPECT_EQ(word_of("o*"), std::nullopt);
  EXPECT_EQ(word_of("tw*"), std::nullopt) << "another word than is written";
}

TEST(ShellReading, TooManyFileNamesAreNotLookedAt) {
  const fake::TemporaryDirectory directory;
  for (const char* const file : {"one", "two", "three"}) fake::write_file(file, "");
  EXPECT_EQ(expanded_pathnames("o*"), Words{"one"});
  EXPECT_EQ(expanded_pathnames("o*", 3), std::nullopt);
}

TEST(ShellReading, AGlobAmongTooManyFileNamesIsAnExpansionThatIsNotKnown) {
  const fake::TemporaryDirectory directory;
  for (std::size_t i = 0; i * i <= most_examined_entries; ++i) {
    std::filesystem::create_symlink(".", "link" + std::to_string(i));
  }
  const ShellReading reading = read_as_shell("x */* y");
  EXPECT_TRUE(reading.has_expansion);
  EXPECT_EQ(reading.commands, (std::vector<Words>{{"x", "*/*", "y"}}));
  EXPECT_EQ(effects_of(reading), Words{"2 pathname expansion may replace the word with file names, among too many to look at"});
}

TEST(ShellReading, WhatIsRefusedTheShellRefuses) {
  for (const std::string line : {"show 'a", "show \"a", "show (a)", "; show", "show ;; show", "show &&", "show >", "show `a",
                                 "show $(a", "show a | | show a", "show -u F1,F2 2>&1F2 2>&1"}) {
    int exit_code = 0;
    words_of_shell(line, exit_code);
    EXPECT_NE(exit_code, 0) << line;
    EXPECT_NE(read_as_shell(line).error, "") << line;
  }
  for (const std::string line : {"show a;", "show a &", "show a\n\nshow b", "show a && show b", "show a 2>&1", "show a # 'b"}) {
    int exit_code = 1;
    words_of_shell(line, exit_code);
    EXPECT_EQ(exit_code, 0) << line;
    EXPECT_EQ(read_as_shell(line).error, "") << line;
  }
}

TEST(ShellReading, OfATextThatIsOneWordIsThatWord) {
  for (const auto& [text, word] : std::vector<std::pair<std::string, std::string>>{
           {"a.b", "a.b"}, {"'a b'", "a b"}, {"\"a\"", "a"}, {"a\\ b", "a b"}, {"a'b'", "ab"}}) {
    EXPECT_EQ(as_word(text), word) << text;
  }
  for (const std::string text : {"", "a b", "a;b", "$a", "'a", "a>b", "*"}) EXPECT_EQ(as_word(text), text) << text;
}

}  // namespace

}  // namespace eclipse_shell
