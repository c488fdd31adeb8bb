#include "base/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "base/write_all.h"

namespace eclipse_base {

namespace {

[[noreturn]] void throw_last_error(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), "cannot use a file in memory: " + what);
}

}  // namespace

MemoryFile::MemoryFile(std::string_view content) : descriptor_(memfd_create("eclipse-int", MFD_CLOEXEC)) {
  if (descriptor_ < 0) throw_last_error("memfd_create");
  try {
    if (!write_all(descriptor_, content)) throw_last_error("write");
    // Who reads the file might take it for an empty one.
    if (access(path().c_str(), R_OK) != 0) throw_last_error(path());
  } catch (...) {
    close(descriptor_);
    throw;
  }
}

MemoryFile::~MemoryFile() { close(descriptor_); }

std::string MemoryFile::name() const { return std::to_string(descriptor_); }

std::string MemoryFile::path() const { return std::string(directory) + "/" + name(); }

}  // namespace eclipse_base
