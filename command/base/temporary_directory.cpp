#include "base/temporary_directory.h"

#include <stdlib.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace eclipse_base {

namespace {

fs::path directory_around() {
  const char* const named = std::getenv("TMPDIR");
  return named == nullptr || *named == '\0' ? "/tmp" : named;
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  const fs::path around = directory_around();
  std::string name = (around / "eclipse-int-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw FileError(around, std::string("no temporary directory can be made here: ") + std::strerror(errno) + "; " +
                                other_temporary_directory);
  }
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code error;
  fs::remove_all(path_, error);
}

}  // namespace eclipse_base
