#include "shell/shell_cause.h"

#include <gtest/gtest.h>

#include "fake_host/temporary_directory.h"

namespace eclipse_shell {

namespace {

std::string text_of(const std::optional<ShellCause>& cause) {
  if (!cause) return "passed on";
  std::string text;
  for (const ShellRemark& remark : cause->remarks) text += std::to_string(remark.offset) + " " + remark.effect + ";";
  return text;
}

struct Case {
  CommandPiece piece;
  const char* text;
};

TEST(ShellCause, IsToldOfWhatIsNotPassedOn) {
  const std::vector<Case> cases = {
      {{"", "/opt/eclipse", " ", ""}, "passed on"},
      {{"", "/opt/my eclipse", " ", ""}, "7 the word ends here;"},
      {{"", "/opt/a~b-c,d=#1", " ", ""}, "passed on"},
      {{"", "~/eclipse", " ", ""}, "0 tilde expansion replaces \"~\" with a home directory;"},
      {{",", "~F", ",", ""}, "passed on"},
      {{",", "#F", ",", ""}, "passed on"},
      {{"", "#F", ",", ""}, "0 the rest of the line is a comment;"},
      {{"-i ", "#F", ",", ""}, "0 the rest of the line is a comment;"},
      {{"-i ", "a=b", ",", ""}, "passed on"},
      {{"-i ", "a b", ",", ""}, "1 the word ends here;"},
      {{"-i ", " a", ",", ""}, "0 the word ends here;"},
      {{",", "a\\", ",", ""}, "1 the backslash is removed;"},
      {{",", "a$", ",", ""}, "passed on"},
      {{",", "a$b", ",", ""}, "1 the value of a variable is substituted;"},
      {{",", "it's", ",", ""}, "2 the closing quote is missing;"},
      {{",", "it's a 'b", ",", ""}, "2 the quotes are removed;"},
      {{",", "a\"b", ",", ""}, "1 the closing quote is missing;"},
      {{",", "a$(b", ",", ""}, "1 the closing character is missing;"},
      {{"/", "a", " -i", ""}, "passed on"},
      {{"/", "a>", " -i", ""}, "1 the input or output is redirected to a file;"},
      {{"/", "a>", " ", ""}, "1 the shell rejects the command here;"},
      {{"/", "a\\", " -i", ""}, "1 the backslash is removed;"},
      {{"", "/opt/eclipse<", " -nosplash", ""}, "12 the input or output is redirected to a file;"},
      {{",", "a>b", ",", ""}, "1 the input or output is redirected to a file;"},
      {{",", "a & b", ",", ""},
       "1 the word ends here;2 the command ends here, and the rest is run as another command;3 the word ends here;"},
      {{"\"/", "my site's;*.zip", "!/\"", ""}, "passed on"},
      {{"\"/", "$a.zip", "!/\"", ""}, "0 the value of a variable is substituted;"},
      {{"\"/", "a\"b.zip", "!/\"", ""}, "1 the quotes end here;"},
      {{",", std::string("a b\0c\0", 6), ",", ""}, "3 a shell command cannot contain a NUL byte;"},
      {{"", "", " ", ""}, "passed on"},
      {{"\"", "", " ", ""}, "passed on"},  // what is before it is not closed
      {{"\"x y\" ", "a\\", " ", ""}, "1 the backslash is removed;"},
  };
  for (const auto& [piece, wanted] : cases) EXPECT_EQ(text_of(cause_in(piece)), wanted) << piece.before << piece.text;
}

TEST(ShellCause, OfAGlobDependsOnTheFilesThatThereAre) {
  const fake::TemporaryDirectory directory;
  const CommandPiece alone = {"-i ", "a*b?", " ", ""};
  EXPECT_EQ(text_of(cause_in(alone)), "passed on");
  EXPECT_EQ(idle_globs_in(alone), (std::vector<std::size_t>{1, 3}));
  EXPECT_EQ(idle_globs_in({"\"/", "a*b?", "!/\"", ""}), std::vector<std::size_t>()) << "quoted";
  fake::write_file("a-b1", "");
  EXPECT_EQ(text_of(cause_in(alone)), "1 pathname expansion replaces the word with \"a-b1\";");
  EXPECT_EQ(idle_globs_in(alone), std::vector<std::size_t>());
  EXPECT_EQ(text_of(cause_in({",", "a*b?", ",", ""})), "passed on");
  EXPECT_EQ(text_of(cause_in({"-i a*", "-b1", " ", ""})), "passed on") << "what is before it is the reason";
}

}  // namespace

}  // namespace eclipse_shell
