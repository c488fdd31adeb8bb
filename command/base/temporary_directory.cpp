#include "base/temporary_directory.h"

#include <stdlib.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace eclipse_base {

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (fs::temp_directory_path() / "eclipse-int-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw fs::filesystem_error("mkdtemp", name, {errno, std::generic_category()});
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code error;
  fs::remove_all(path_, error);
}

}  // namespace eclipse_base
