// The help texts, as help/ has them. After an intended change,
// "ECLIPSE_INT_WRITE_DOWN=1 build/dev/bin/cli_test --gtest_filter='*Help*'" writes them anew; read the difference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "cli/child_command.h"

namespace {

class Help : public cli_test::ChildCommand, public testing::WithParamInterface<const char*> {};

TEST_P(Help, IsWrittenDown) {
  const std::string subcommand = GetParam();
  const cli_test::Outcome help = eclipse_int(subcommand + " --help");
  const std::string file = std::string(HELP_TEXTS) + "/" + (subcommand.empty() ? "eclipse-int" : subcommand) + ".txt";
  if (std::getenv("ECLIPSE_INT_WRITE_DOWN") != nullptr) std::ofstream(file, std::ios::binary) << help.output;
  std::ostringstream written;
  written << std::ifstream(file, std::ios::binary).rdbuf();
  EXPECT_EQ(help, (cli_test::Outcome{0, written.str(), ""})) << file;
}

INSTANTIATE_TEST_SUITE_P(EachSubcommand, Help,
                         testing::Values("", "run", "call", "plan", "verify", "repair", "history", "undo", "lint", "explain",
                                         "check-host", "list", "new", "language-server"),
                         [](const auto& parameter) {
                           std::string name = *parameter.param == '\0' ? "eclipse_int" : parameter.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
