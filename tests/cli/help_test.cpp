#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "cli/child_command.h"
#include "fake_host/written_down.h"

namespace {

class Help : public cli_test::ChildCommand, public testing::WithParamInterface<const char*> {};

TEST_P(Help, IsWrittenDown) {
  const std::string subcommand = GetParam();
  const cli_test::Outcome help = eclipse_int(subcommand + " --help");
  fake::expect_written_down(help.output,
                            std::string(HELP_TEXTS) + "/" + (subcommand.empty() ? "eclipse-int" : subcommand) + ".txt");
  EXPECT_EQ(help, (cli_test::Outcome{0, help.output, ""}));
}

INSTANTIATE_TEST_SUITE_P(EachSubcommand, Help,
                         testing::Values("", "run", "call", "plan", "verify", "repair", "history", "undo", "lint", "explain",
                                         "check-host", "list", "new", "language-server", "help"),
                         [](const auto& parameter) {
                           std::string name = *parameter.param == '\0' ? "eclipse_int" : parameter.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
