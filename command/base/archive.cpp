#include "base/archive.h"

#include <zip.h>

namespace eclipse_base {

namespace {

constexpr zip_uint64_t largest_entry = zip_uint64_t{256} << 20;

/// The size of an entry; nothing when there is no such entry.
std::optional<zip_uint64_t> size_of(zip_t* archive, const std::string& name) {
  zip_stat_t status;
  if (zip_stat(archive, name.c_str(), 0, &status) != 0 || (status.valid & ZIP_STAT_SIZE) == 0) return std::nullopt;
  return status.size;
}

}  // namespace

void Archive::Close::operator()(zip* archive) const { zip_discard(archive); }

std::optional<Archive> Archive::open(const std::filesystem::path& file) {
  zip_t* const archive = zip_open(file.c_str(), ZIP_RDONLY, nullptr);
  if (archive == nullptr) return std::nullopt;
  return Archive(archive, nullptr);
}

std::optional<Archive> Archive::open_content(std::string content) {
  auto kept = std::make_unique<std::string>(std::move(content));
  zip_source_t* const source = zip_source_buffer_create(kept->data(), kept->size(), 0, nullptr);
  if (source == nullptr) return std::nullopt;
  zip_t* const archive = zip_open_from_source(source, ZIP_RDONLY, nullptr);
  if (archive == nullptr) {
    zip_source_free(source);
    return std::nullopt;
  }
  return Archive(archive, std::move(kept));
}

std::vector<std::string> Archive::names() const {
  std::vector<std::string> names;
  const zip_int64_t count = zip_get_num_entries(archive_.get(), 0);
  for (zip_int64_t i = 0; i < count; ++i) {
    const char* const name = zip_get_name(archive_.get(), static_cast<zip_uint64_t>(i), 0);
    if (name != nullptr) names.emplace_back(name);
  }
  return names;
}

bool Archive::has(const std::string& name) const { return zip_name_locate(archive_.get(), name.c_str(), 0) >= 0; }

bool Archive::is_too_large(const std::string& name) const { return size_of(archive_.get(), name).value_or(0) > largest_entry; }

std::optional<std::string> Archive::read(const std::string& name) const {
  const auto size = size_of(archive_.get(), name);
  if (!size || *size > largest_entry) return std::nullopt;
  const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> entry(zip_fopen(archive_.get(), name.c_str(), 0), &zip_fclose);
  if (!entry) return std::nullopt;
  std::string content(*size, '\0');
  if (zip_fread(entry.get(), content.data(), content.size()) != static_cast<zip_int64_t>(content.size())) return std::nullopt;
  return content;
}

}  // namespace eclipse_base
