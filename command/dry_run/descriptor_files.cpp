#include "dry_run/descriptor_files.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/limits.h"

namespace eclipse_dry_run {

namespace {

eclipse_base::FileContent with_limited_lines(eclipse_base::FileContent content) {
  const auto lines = static_cast<std::size_t>(std::count(content.bytes.begin(), content.bytes.end(), '\n'));
  if (lines <= eclipse_base::largest::descriptor_lines) return content;
  return {"", "has more than " + std::to_string(eclipse_base::largest::descriptor_lines) + " lines", true};
}

}  // namespace

eclipse_base::FileContent descriptor_content(const std::string& path) {
  eclipse_base::FileContent content = with_limited_lines(eclipse_base::read_file(path, eclipse_base::largest::descriptor));
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

void DescriptorFiles::set_unsaved(const std::filesystem::path& file, std::string text) {
  unsaved_[file] = with_limited_lines(eclipse_base::limited_content(std::move(text), eclipse_base::largest::descriptor));
}

bool DescriptorFiles::has_unsaved(const std::filesystem::path& file) const { return find_unsaved(file) != unsaved_.end(); }

const eclipse_base::FileContent& DescriptorFiles::at(const std::string& path) {
  const auto known = contents_.find(path);
  if (known != contents_.end()) return known->second;
  const auto unsaved = find_unsaved(path);
  return contents_.emplace(path, unsaved == unsaved_.end() ? descriptor_content(path) : unsaved->second).first->second;
}

DescriptorFiles::Unsaved::const_iterator DescriptorFiles::find_unsaved(const std::filesystem::path& file) const {
  return std::find_if(unsaved_.begin(), unsaved_.end(),
                      [&](const auto& entry) { return eclipse_base::is_same_file(entry.first, file); });
}

}  // namespace eclipse_dry_run
