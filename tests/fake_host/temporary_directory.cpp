#include "fake_host/temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace fake {
namespace {

std::string path_to_fill_in() {
  constexpr std::size_t length = 72;
  const fs::path place = fs::canonical(fs::temp_directory_path());
  const std::string start = (place / "eclipse_int.").string();
  const std::string end = "XXXXXX";
  if (start.size() + end.size() > length)
    throw std::runtime_error(place.string() + ": is too long; set TMPDIR to a shorter path");
  return start + std::string(length - start.size() - end.size(), '_') + end;
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() : working_directory_before_(fs::current_path()), path_(path_to_fill_in()) {
  if (mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
  fs::current_path(path_);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::current_path(working_directory_before_, ignored);
  fs::remove_all(path_, ignored);
}

PlaceOfTemporaryFiles::PlaceOfTemporaryFiles(const std::string& directory) {
  if (const char* const before = std::getenv("TMPDIR")) before_ = before;
  setenv("TMPDIR", directory.c_str(), 1);
}

PlaceOfTemporaryFiles::~PlaceOfTemporaryFiles() { before_ ? setenv("TMPDIR", before_->c_str(), 1) : unsetenv("TMPDIR"); }

void write_file(const std::string& file, const std::string& content) {
  const fs::path directory = fs::path(file).parent_path();
  if (!directory.empty()) fs::create_directories(directory);
  // Emptying the old one instead would make some file systems wait for the disk.
  fs::remove(file);
  std::ofstream stream(file, std::ios::binary);
  stream << content << std::flush;
  if (!stream) throw std::runtime_error("cannot write " + file);
}

}  // namespace fake
