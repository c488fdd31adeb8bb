#include "cli/instance_argument.h"

#include <filesystem>
#include <system_error>

#include "base/file.h"

namespace fs = std::filesystem;

namespace eclipse_cli {

void add_eclipse_argument(const Parser& command, std::string& eclipse) {
  command.add_option("ECLIPSE", eclipse, "The Eclipse executable, or its directory").required().option_text(" ");
}

std::string executable_of(const std::string& eclipse) {
  std::error_code error;
  const fs::path executable = fs::is_directory(eclipse, error) ? fs::path(eclipse) / "eclipse" : fs::path(eclipse);
  if (!fs::is_regular_file(executable, error)) {
    throw eclipse_base::FileError(executable,
                                  "is not a file; give the Eclipse executable, or the directory of one named eclipse");
  }
  return eclipse_base::absolute_path(executable).lexically_normal().string();
}

}  // namespace eclipse_cli
