#include "shell/executable.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"

namespace fs = std::filesystem;
using eclipse_shell::executable_error;

namespace {

class Executable : public testing::Test {
 protected:
  Executable() {
    write("good/eclipse", 0755);
    write("plain/eclipse", 0644);
    write("eclipse", 0755);
    fs::create_symlink("../good/eclipse", "plain/link");
    fs::create_symlink("missing", "plain/dangling");
  }

  static void write(const std::string& file, unsigned permissions) {
    fake::write_file(file, "#!/bin/sh\n");
    fs::permissions(file, fs::perms(permissions));
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(Executable, HasAnObstacleExactlyWhenTheShellCannotStartIt) {
  for (const std::string executable :
       {"good/eclipse", "plain/eclipse", "plain/link", "plain/dangling", "plain", "missing/eclipse", "eclipse", "./eclipse"}) {
    const int status = eclipse_shell::run_in_shell("PATH=/nowhere; " + executable).exit_code;
    EXPECT_EQ(executable_error(executable).has_value(), status != 0) << executable << " " << status;
  }
}

TEST_F(Executable, SaysWhatKeepsTheShellFromStartingIt) {
  EXPECT_EQ(executable_error("plain/eclipse")->text(),
            "\"plain/eclipse\" is not executable, so the shell cannot start it (exit code 126); "
            "make it executable with chmod +x");
  EXPECT_EQ(executable_error("./plain")->text(),
            "\"./plain\" is a directory, so the shell cannot start it (exit code 126); give the path of the executable in it");
  EXPECT_EQ(executable_error("plain/dangling")->text(),
            "\"plain/dangling\" does not exist, so the shell cannot start it (exit code 127); "
            "give the path of an existing executable");
  EXPECT_EQ(executable_error("eclipse")->text(),
            "\"eclipse\" has no slash, so the shell searches PATH for it instead of the current directory; give its full path");
}

}  // namespace
