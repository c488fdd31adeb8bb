#include "bench/work_directory.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace bench {

WorkDirectory::WorkDirectory() : before_(fs::current_path()) {
  std::string name = (fs::temp_directory_path() / "eclipse_int-bench-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary directory");
  directory_ = name;
  fs::current_path(directory_);
}

WorkDirectory::~WorkDirectory() {
  std::error_code ignored;
  fs::current_path(before_, ignored);
  fs::remove_all(directory_, ignored);
}

void write_file(const std::string& name, const std::string& content) {
  fs::create_directories(fs::path(name).parent_path());
  std::ofstream file(name, std::ios::binary);
  if (!file.write(content.data(), static_cast<std::streamsize>(content.size())))
    throw std::runtime_error("cannot write " + name);
}

}  // namespace bench
