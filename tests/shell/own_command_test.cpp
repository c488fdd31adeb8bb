#include "shell/own_command.h"

#include <gtest/gtest.h>

TEST(OwnCommand, IsTheProgramWithoutItsDirectory) {
  const std::string command = eclipse_shell::own_command();
  EXPECT_TRUE(command == "shell_test" || command.starts_with("shell_test ")) << command;
  EXPECT_LE(command.size(), eclipse_shell::longest_own_command);
}
