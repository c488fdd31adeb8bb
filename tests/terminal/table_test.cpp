#include "terminal/table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "terminal/progress_line.h"
#include "terminal/redirected_stream.h"

namespace {

using namespace eclipse_terminal;
using terminal_test::shown_on_terminal;
using terminal_test::written_to;

TEST(Table, ColumnsAreAsWideAsTheWidestTextInCharacters) {
  Table table;
  table.add({"a", "bb", "c"});
  table.add({"\xC3\xA4\xC3\xB6\xC3\xBC"});
  table.add({"dd", "", "e\n"});
  table.add({"x", "y", ""});
  table.add({"", "", "", "z"});
  EXPECT_EQ(table.text(),
            "  a    bb  c\n"
            "  \xC3\xA4\xC3\xB6\xC3\xBC\n"
            "  dd       e\\n\n"
            "  x    y\n"
            "                z\n");
  EXPECT_EQ(Table().text(), "");
}

TEST(ProgressLine, ReplacesAndErasesItselfOnATerminal) {
  const auto show = [] {
    ProgressLine line;
    line.show("waiting");
    line.show("done");
    line.show("");
    line.show("end");
  };
  EXPECT_EQ(shown_on_terminal(STDERR_FILENO, show), "waiting\r       \rdone\r    \rend\r   \r");
  EXPECT_EQ(written_to(STDERR_FILENO, show), "");
}

}  // namespace
