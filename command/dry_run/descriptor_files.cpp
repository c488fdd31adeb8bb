#include "dry_run/descriptor_files.h"

#include <filesystem>
#include <system_error>

namespace eclipse_dry_run {

eclipse_base::FileContent descriptor_content(const std::string& path) {
  eclipse_base::FileContent content = eclipse_base::read_file(path, eclipse_base::largest::descriptor);
  std::error_code unknown;
  const std::size_t size = std::filesystem::file_size(path, unknown);
  const std::size_t count = content.bytes.size();
  if (unknown || count == size || (count == 0 && !content.error.empty())) return content;
  if (!content.error.empty()) {
    content.error += " after " + std::to_string(count) + " bytes";
  } else if (count > size) {
    content.error = "contains more than the " + std::to_string(size) + " bytes that are its size";
  } else {
    content.error = "has a size of " + std::to_string(size) + " bytes, of which only " + std::to_string(count) + " can be read";
  }
  content.bytes.resize(size);
  return content;
}

const eclipse_base::FileContent& DescriptorFiles::at(const std::string& path) {
  const auto known = contents_.find(path);
  return known != contents_.end() ? known->second : contents_.emplace(path, descriptor_content(path)).first->second;
}

}  // namespace eclipse_dry_run
