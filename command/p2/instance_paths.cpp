#include "p2/instance_paths.h"

#include <system_error>

#include "base/file.h"
#include "base/file_error.h"

namespace fs = std::filesystem;

namespace eclipse_p2 {

fs::path executable_named(const fs::path& eclipse) {
  const fs::path path = eclipse_base::absolute_path(eclipse).lexically_normal();
  std::error_code error;
  return fs::is_directory(path, error) ? path / "eclipse" : path;
}

std::string existing_executable(const std::string& eclipse) {
  const fs::path executable = executable_named(eclipse);
  std::error_code error;
  if (!fs::is_regular_file(executable, error)) {
    const std::string fix = "; give the Eclipse executable, or the directory that contains it";
    if (fs::is_directory(eclipse, error))
      throw eclipse_base::FileError(executable.parent_path(), "has no executable \"eclipse\"" + fix);
    throw eclipse_base::FileError(executable, "is not a file" + fix);
  }
  return executable.string();
}

fs::path instance_directory(const std::string& executable) {
  std::error_code error;
  const fs::path file = fs::canonical(executable, error);
  return (error ? fs::path(executable) : file).parent_path();
}

}  // namespace eclipse_p2
