#include "shell/shell_cause.h"

#include <gtest/gtest.h>

namespace eclipse_shell {

namespace {

std::string told(const std::optional<ShellCause>& cause) {
  if (!cause) return "passed on";
  std::string text;
  for (const ShellRemark& remark : cause->remarks) text += std::to_string(remark.offset) + " " + remark.effect + ";";
  return text;
}

struct Case {
  CommandPiece piece;
  const char* told;
};

TEST(ShellCause, IsToldOfWhatIsNotPassedOn) {
  const std::vector<Case> cases = {
      {{"", "/opt/eclipse", " ", ""}, "passed on"},
      {{"", "/opt/my eclipse", " ", ""}, "7 the word ends there;"},
      {{"", "/opt/a~b-c,d=#1", " ", ""}, "passed on"},
      {{"", "~/eclipse", " ", ""}, "0 a directory of a user takes the place of \"~\";"},
      {{",", "~F", ",", ""}, "passed on"},
      {{",", "#F", ",", ""}, "passed on"},
      {{"", "#F", ",", ""}, "0 the rest of the line is a comment;"},
      {{",", "a\\", ",", ""}, "1 the backslash is taken away;"},
      {{",", "a$", ",", ""}, "passed on"},
      {{",", "a$b", ",", ""}, "1 the value of a variable takes its place;"},
      {{",", "it's", ",", ""}, "2 the quote is never closed;"},
      {{",", "it's a 'b", ",", ""}, "2 the quotes are taken away;"},
      {{",", "a\"b", ",", ""}, "1 the quote is never closed;"},
      {{",", "a$(b", ",", ""}, "1 it is never closed;"},
      {{",", "a>b", ",", ""}, "1 a file is opened for the input or the output;"},
      {{",", "a & b", ",", ""},
       "1 the word ends there;2 the command ends there, and what follows is run as another one;3 the word ends there;"},
      {{"\"/", "my site's;*.zip", "!/\"", ""}, "passed on"},
      {{"\"/", "$a.zip", "!/\"", ""}, "0 the value of a variable takes its place;"},
      {{"\"/", "a\"b.zip", "!/\"", ""}, "1 the quotes end there;"},
      {{",", std::string("a b\0c\0", 6), ",", ""}, "3 no shell can be given a zero byte;"},
      {{"", "", " ", ""}, "passed on"},
  };
  for (const auto& [piece, wanted] : cases) EXPECT_EQ(told(cause_in(piece)), wanted) << piece.before << piece.text;
}

}  // namespace

}  // namespace eclipse_shell
