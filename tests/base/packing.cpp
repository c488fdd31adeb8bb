#include "base/packing.h"

#include <archive.h>
#include <archive_entry.h>

#include <stdexcept>

namespace base_test {

namespace {

void check(int result, archive* writer) {
  if (result != ARCHIVE_OK) throw std::runtime_error(archive_error_string(writer));
}

void add(archive* writer, const std::string& name, const std::string& content) {
  archive_entry* const entry = archive_entry_new();
  archive_entry_set_pathname(entry, name.c_str());
  archive_entry_set_filetype(entry, AE_IFREG);
  archive_entry_set_perm(entry, 0644);
  archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
  check(archive_write_header(writer, entry), writer);
  archive_write_data(writer, content.data(), content.size());
  archive_entry_free(entry);
}

la_ssize_t append(archive*, void* bytes, const void* piece, std::size_t length) {
  static_cast<std::string*>(bytes)->append(static_cast<const char*>(piece), length);
  return static_cast<la_ssize_t>(length);
}

std::string written(archive* writer, const Entries& entries) {
  std::string bytes;
  archive_write_set_bytes_in_last_block(writer, 1);
  check(archive_write_open(writer, &bytes, nullptr, &append, nullptr), writer);
  for (const auto& [name, content] : entries) add(writer, name, content);
  check(archive_write_close(writer), writer);
  archive_write_free(writer);
  return bytes;
}

}  // namespace

std::string zipped(const Entries& entries, const std::string& password) {
  archive* const writer = archive_write_new();
  check(archive_write_set_format_zip(writer), writer);
  if (!password.empty()) {
    check(archive_write_set_options(writer, "zip:encryption=zipcrypt"), writer);
    check(archive_write_set_passphrase(writer, password.c_str()), writer);
  }
  return written(writer, entries);
}

std::string compressed_with_xz(const std::string& content) {
  archive* const writer = archive_write_new();
  check(archive_write_set_format_raw(writer), writer);
  check(archive_write_add_filter_xz(writer), writer);
  return written(writer, {{"content", content}});
}

std::string compressed_with_gzip(const std::string& content) {
  archive* const writer = archive_write_new();
  check(archive_write_set_format_raw(writer), writer);
  check(archive_write_add_filter_gzip(writer), writer);
  return written(writer, {{"content", content}});
}

}  // namespace base_test
