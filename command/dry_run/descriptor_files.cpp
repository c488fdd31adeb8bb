#include "dry_run/descriptor_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include "base/file.h"

namespace eclipse_dry_run {

namespace {

/// Reads up to `limit` bytes. False when the read failed; then errno says why.
bool read_up_to(std::size_t limit, std::FILE& file, std::string& bytes) {
  std::array<char, 65536> buffer;
  while (bytes.size() < limit) {
    const std::size_t count = std::fread(buffer.data(), 1, std::min(buffer.size(), limit - bytes.size()), &file);
    if (count == 0) break;
    bytes.append(buffer.data(), count);
  }
  return std::ferror(&file) == 0;
}

}  // namespace

DescriptorContent descriptor_content(const std::string& path) {
  using eclipse_base::largest::descriptor;
  using eclipse_base::largest::mebibyte;
  std::error_code error;
  // Asked first, since opening a pipe would wait for its writer.
  if (!std::filesystem::is_regular_file(path, error)) return {"", error ? error.message() : "it is not a regular file"};
  const std::size_t size = std::filesystem::file_size(path, error);
  if (error) return {"", error.message()};
  if (size > descriptor) return {"", "it is larger than " + std::to_string(descriptor / mebibyte) + " MiB"};
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return {"", std::strerror(errno)};
  DescriptorContent content;
  // One byte more than there should be shows whether there are more.
  const bool is_read = read_up_to(size + 1, *file, content.bytes);
  const std::string count = std::to_string(content.bytes.size());
  if (!is_read) {
    content.error = std::string(std::strerror(errno)) + " after " + count + " bytes";
  } else if (content.bytes.size() > size) {
    content.error = "it contains more than the " + std::to_string(size) + " bytes that are its size";
  } else if (content.bytes.size() < size) {
    content.error = "its size is " + std::to_string(size) + " bytes, but only " + count + " could be read";
  }
  content.bytes.resize(size);
  return content;
}

const DescriptorContent& DescriptorFiles::at(const std::string& path) {
  const auto known = contents_.find(path);
  return known != contents_.end() ? known->second : contents_.emplace(path, descriptor_content(path)).first->second;
}

}  // namespace eclipse_dry_run
