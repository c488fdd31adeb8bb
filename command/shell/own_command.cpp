#include "shell/own_command.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace eclipse_shell {

std::string own_command() {
  std::ostringstream content;
  content << std::ifstream("/proc/self/cmdline", std::ios::binary).rdbuf();
  std::string command = content.str();
  while (command.ends_with('\0')) command.pop_back();
  command.erase(0, command.rfind('/', command.find('\0')) + 1);
  std::replace(command.begin(), command.end(), '\0', ' ');
  return command.substr(0, longest_own_command);
}

}  // namespace eclipse_shell
