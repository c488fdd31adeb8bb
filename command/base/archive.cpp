#include "base/archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "base/limits.h"

namespace eclipse_base {

namespace {

struct Free {
  void operator()(archive* reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, Free>;

/// How far a read may go: to a size, and not far beyond what real data is compressed to.
struct Limits {
  std::size_t size;
  std::size_t compressed;

  std::string excess(std::size_t length) const {
    if (length > size) return "unpacks to more than " + std::to_string(size / largest::mebibyte) + " MiB";
    if (length > largest::mebibyte && length / largest::compression > compressed) {
      return "unpacks to more than " + std::to_string(largest::compression) + " times its size";
    }
    return "";
  }
};

Unpacked failure(std::string error, bool exceeds_limit = false) { return {"", std::move(error), exceeds_limit}; }

/// Why libarchive cannot go on: an error of the system, or one in the data.
Unpacked failure_of(archive* reader) {
  const int error = archive_errno(reader);
  const bool is_of_system = error == EIO || error == ENOMEM;
  return failure(is_of_system ? std::string(unreadable) + std::strerror(error) : "is damaged");
}

/// A warning is a wrong checksum.
Unpacked read_data(archive* reader, const Limits& limits) {
  Unpacked unpacked;
  std::array<char, 65536> piece;
  while (true) {
    const la_ssize_t length = archive_read_data(reader, piece.data(), piece.size());
    if (length == 0) return unpacked;
    if (length < 0) return failure_of(reader);
    unpacked.bytes.append(piece.data(), static_cast<std::size_t>(length));
    if (std::string excess = limits.excess(unpacked.bytes.size()); !excess.empty()) return failure(std::move(excess), true);
  }
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

/// The name of an entry as it is in the archive, whatever the character set of the environment. Most need no conversion, which
/// takes its time.
std::string name_of(archive_entry* entry) {
  const char* const in_environment = archive_entry_pathname(entry);
  if (in_environment != nullptr && is_ascii(in_environment)) return in_environment;
  const char* name = archive_entry_pathname_utf8(entry);
  if (name == nullptr) name = in_environment;
  return name == nullptr ? "" : name;
}

/// Java knows files that are stored and those that are deflated, and opens no archive with others. libarchive names the method
/// of the entry that it read last as in "ZIP 6.3 (lzma)". Empty for the usual ones, and for encrypted entries.
std::string compression_unknown_to_java(archive* reader, archive_entry* entry) {
  const std::string format = archive_format_name(reader) == nullptr ? "" : archive_format_name(reader);
  const std::size_t begin = format.find('(');
  const std::size_t end = format.find(')');
  if (begin == format.npos || end == format.npos || archive_entry_is_encrypted(entry) != 0) return "";
  const std::string method = format.substr(begin + 1, end - begin - 1);
  return method == "uncompressed" || method == "deflation" ? "" : method;
}

/// Calls visit(entry) for each entry until it returns false. Returns what went wrong.
template <typename Visit>
Unpacked visit_entries(archive* reader, const Visit& visit) {
  archive_entry* entry = nullptr;
  for (std::size_t count = 1;; ++count) {
    const int status = archive_read_next_header(reader, &entry);
    if (status == ARCHIVE_EOF) return {};
    if (status != ARCHIVE_OK && status != ARCHIVE_WARN) return failure_of(reader);
    if (count > largest::archive_entries) {
      return failure("has more than " + std::to_string(largest::archive_entries) + " entries", true);
    }
    if (!visit(entry)) return {};
  }
}

Unpacked content_of(archive* reader, archive_entry* entry, const Limits& limits) {
  return archive_entry_is_encrypted(entry) != 0 ? failure(archive_error::encrypted) : read_data(reader, limits);
}

/// The content of the first entry with this name; nothing when there is none.
std::optional<Unpacked> find_entry(archive* reader, const std::string& name, const Limits& limits) {
  std::optional<Unpacked> found;
  Unpacked walk = visit_entries(reader, [&](archive_entry* entry) {
    if (name_of(entry) != name) return true;
    found = content_of(reader, entry, limits);
    return false;
  });
  return walk.error.empty() ? found : std::optional(std::move(walk));
}

/// A zip file that is read by its central directory.
class ZipFile {
 public:
  explicit ZipFile(const OpenFile& file) : reader_(archive_read_new()) {
    if (!file.error().empty()) return;
    archive_read_support_format_zip_seekable(reader_.get());
    const std::string_view bytes = file.bytes();
    const int status = file.descriptor() >= 0 ? archive_read_open_fd(reader(), file.descriptor(), 65536)
                                              : archive_read_open_memory(reader(), bytes.data(), bytes.size());
    is_open_ = status == ARCHIVE_OK;
  }

  bool is_open() const { return is_open_; }
  archive* reader() const { return reader_.get(); }

 private:
  Reader reader_;
  bool is_open_ = false;
};

constexpr std::array<std::uint32_t, 256> crc_table = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    table[i] = i;
    for (int bit = 0; bit < 8; ++bit) table[i] = (table[i] >> 1) ^ ((table[i] & 1) != 0 ? 0xEDB88320U : 0U);
  }
  return table;
}();

std::uint32_t crc32(std::string_view bytes) {
  std::uint32_t crc = ~std::uint32_t{0};
  for (const char byte : bytes) crc = (crc >> 8) ^ crc_table[(crc ^ static_cast<unsigned char>(byte)) & 0xFF];
  return ~crc;
}

std::uint32_t little_endian(std::string_view bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return number;
}

/// libarchive ignores the checksum at the end of gzip data, Java does not. Data in several parts, or followed by something
/// else, has another length there, and is not checked.
bool has_wrong_checksum(std::string_view gzip, std::string_view bytes) {
  const std::string_view trailer = gzip.substr(gzip.size() - std::min<std::size_t>(gzip.size(), 8));
  return trailer.size() == 8 && little_endian(trailer.substr(4)) == static_cast<std::uint32_t>(bytes.size()) &&
         little_endian(trailer) != crc32(bytes);
}

std::uint32_t little_endian_2(std::string_view bytes) {
  return static_cast<unsigned char>(bytes[0]) | static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[1])) << 8;
}

/// The part of a zip archive from the last mark of its end; empty when there is none.
std::string end_of_zip(const OpenFile& file) {
  constexpr std::size_t end_size = 22;
  constexpr std::size_t longest_comment = 65535;
  for (const std::size_t length : {end_size, end_size + longest_comment}) {
    const std::string tail = file.end(length).bytes;
    const std::size_t at = tail.rfind(zip_end_mark);
    if (at != tail.npos && tail.size() - at >= end_size) return tail.substr(at);
  }
  return "";
}

/// The size of the central directory, which is before that end.
std::size_t directory_size_in(std::string_view end) { return little_endian(end.substr(12)); }

constexpr const char* cut_off = "is cut off: the central directory of a zip archive is missing at its end";

/// Whether the end of an archive is that of another one, which is stored in it: something is before the first of its entries.
bool is_end_of_inner_archive(const OpenFile& file, std::size_t length_of_end, std::size_t directory, std::size_t offset) {
  constexpr std::string_view mark_of_entry = "PK\3\4";
  if (directory + offset + length_of_end == file.size() || file.beginning(mark_of_entry.size()).bytes != mark_of_entry)
    return false;
  // In an archive of the 64-bit kind, more of its end comes after the directory.
  return directory == 0 || file.end(directory + length_of_end).bytes.starts_with(zip_directory_mark);
}

/// zip_end_error() of a file with this end.
std::string error_of_end(const OpenFile& file, const std::string& end) {
  if (!file.error().empty()) return "";
  if (end.empty()) return cut_off;
  constexpr std::size_t in_64_bits = 0xFFFFFFFF;
  const std::size_t directory = directory_size_in(end);
  const std::size_t offset = little_endian(std::string_view(end).substr(16));
  if (directory == in_64_bits || offset == in_64_bits) return "";
  if (directory + offset + end.size() > file.size()) return "lacks bytes: its central directory is not where its end says";
  return is_end_of_inner_archive(file, end.size(), directory, offset) ? cut_off : "";
}

/// The names in the central directory of a zip archive with this end that have backslashes. libarchive turns these into
/// slashes, Java does not.
std::vector<std::string> names_with_backslashes(const OpenFile& file, const std::string& end) {
  constexpr std::size_t header_size = 46;
  std::vector<std::string> names;
  if (end.empty()) return names;
  const std::size_t size = directory_size_in(end);
  const std::string tail = file.end(end.size() + size).bytes;
  std::string_view directory = std::string_view(tail).substr(0, size);
  while (directory.size() >= header_size && directory.starts_with(zip_directory_mark)) {
    const std::size_t length = little_endian_2(directory.substr(28));
    const std::string_view name = directory.substr(header_size, length);
    if (name.find('\\') != name.npos) names.emplace_back(name);
    const std::size_t whole =
        header_size + length + little_endian_2(directory.substr(30)) + little_endian_2(directory.substr(32));
    directory.remove_prefix(std::min(whole, directory.size()));
  }
  return names;
}

}  // namespace

Unpacked decompress(const std::string& compressed, Compression compression, std::size_t limit) {
  const bool is_gzip = compression == Compression::gzip;
  const std::string_view magic = is_gzip ? std::string_view("\x1F\x8B")
                                         : std::string_view(
                                               "\xFD"
                                               "7zXZ\0",
                                               6);
  if (!std::string_view(compressed).starts_with(magic)) return failure(is_gzip ? "is not gzip data" : "is not xz data");
  const Reader reader(archive_read_new());
  if (is_gzip) {
    archive_read_support_filter_gzip(reader.get());
  } else {
    archive_read_support_filter_xz(reader.get());
  }
  archive_read_support_format_raw(reader.get());
  archive_read_support_format_empty(reader.get());
  archive_entry* entry = nullptr;
  if (archive_read_open_memory(reader.get(), compressed.data(), compressed.size()) != ARCHIVE_OK) return failure("is damaged");
  const int status = archive_read_next_header(reader.get(), &entry);
  if (status == ARCHIVE_EOF) return {};
  // What libarchive cannot decompress it would pass on as it is.
  if (status != ARCHIVE_OK || archive_filter_count(reader.get()) < 2) return failure("is damaged");
  Unpacked unpacked = read_data(reader.get(), {limit, compressed.size()});
  if (unpacked.error.empty() && is_gzip && has_wrong_checksum(compressed, unpacked.bytes)) return failure("is damaged");
  return unpacked;
}

std::optional<Unpacked> zip_entry(const std::string& archive, const std::string& name, std::size_t limit) {
  if (!archive.starts_with(zip_mark)) return failure(archive_error::not_zip);
  const Reader reader(archive_read_new());
  archive_read_support_format_zip_streamable(reader.get());
  if (archive_read_open_memory(reader.get(), archive.data(), archive.size()) != ARCHIVE_OK) return failure("is damaged");
  return find_entry(reader.get(), name, {limit, archive.size()});
}

std::string zip_end_error(const OpenFile& file) { return error_of_end(file, end_of_zip(file)); }

/// What a walk over all entries finds.
struct Archive::Entries {
  std::set<std::string> names = {};
  std::map<std::string, std::string> kept = {};
  bool can_keep = true;  ///< what is to be kept could be read; otherwise the walk ended there
  Unpacked walk = {};    ///< why they cannot be used, if so
};

Archive::Entries Archive::entries_of(const OpenFile& file, const IsKept& is_kept) {
  const ZipFile zip(file);
  Entries entries;
  if (!zip.is_open()) {
    entries.walk = failure_of(zip.reader());
    return entries;
  }
  std::string other_compression;
  std::size_t kept_size = 0;
  entries.walk = visit_entries(zip.reader(), [&](archive_entry* entry) {
    const auto [name, is_new] = entries.names.insert(name_of(entry));
    if (other_compression.empty()) other_compression = compression_unknown_to_java(zip.reader(), entry);
    if (!is_new || !is_kept || kept_size >= largest::configuration || !is_kept(*name)) return true;
    Unpacked content = content_of(zip.reader(), entry, {largest::configuration, file.size()});
    entries.can_keep = content.error.empty();
    kept_size += content.bytes.size();
    entries.kept.emplace(*name, std::move(content.bytes));
    return entries.can_keep;
  });
  if (entries.walk.error.empty() && !other_compression.empty()) {
    entries.walk = failure(archive_error::other_compression + other_compression + ", which Java cannot unpack; use deflate");
  }
  return entries;
}

Archive::Archive(std::filesystem::path path, const IsKept& is_kept) : Archive(std::move(path), std::nullopt, is_kept) {}

Archive::Archive(std::filesystem::path path, std::optional<std::string_view> content, const IsKept& is_kept)
    : file_(std::move(path)), content_(content) {
  const OpenFile file = opened();
  const FileContent beginning = file.beginning(4);
  error_ = beginning.error;
  // libarchive refuses an archive without entries, which is this mark and zeros.
  if (!error_.empty() || beginning.bytes == zip_end_mark) return;
  Entries entries = entries_of(file, is_kept);
  if (!entries.can_keep) entries = entries_of(opened(), nullptr);
  names_ = std::move(entries.names);
  kept_ = std::move(entries.kept);
  const std::string end = end_of_zip(file);
  for (const std::string& name : names_with_backslashes(file, end)) {
    std::string with_slashes = name;
    std::replace(with_slashes.begin(), with_slashes.end(), '\\', '/');
    if (names_.erase(with_slashes) != 0) names_.insert(name);
  }
  const bool is_zip = beginning.bytes.starts_with(zip_mark);
  error_ = !entries.walk.error.empty() && !is_zip ? archive_error::not_zip : entries.walk.error;
  exceeds_limit_ = entries.walk.exceeds_limit;
  if (!is_zip || exceeds_limit_) return;
  // libarchive may take the end of an archive in it for its own.
  if (std::string at_end = error_of_end(file, end); !at_end.empty()) error_ = std::move(at_end);
}

Unpacked Archive::read(const std::string& name, std::size_t limit) const {
  const auto kept = kept_.find(name);
  if (kept != kept_.end() && kept->second.size() <= limit) return {kept->second, ""};
  const OpenFile file = opened();
  const ZipFile zip(file);
  if (!zip.is_open()) return failure("cannot be read");
  return find_entry(zip.reader(), name, {limit, file.size()}).value_or(failure("is damaged"));
}

void Archive::read_each(const std::set<std::string>& names, std::size_t limit,
                        const std::function<void(const std::string& name, const Unpacked& content)>& use) const {
  const OpenFile file = opened();
  const ZipFile zip(file);
  if (!zip.is_open()) return;
  std::set<std::string> open = names;
  visit_entries(zip.reader(), [&](archive_entry* entry) {
    const std::string name = name_of(entry);
    if (open.erase(name) != 0) use(name, content_of(zip.reader(), entry, {limit, file.size()}));
    return !open.empty();
  });
}

std::string Archive::for_each(std::size_t limit,
                              const std::function<void(const std::string& name, const std::string& bytes)>& use) const {
  const OpenFile file = opened();
  const ZipFile zip(file);
  if (!zip.is_open()) return "cannot be read";
  std::string entry_error;
  const Unpacked walk = visit_entries(zip.reader(), [&](archive_entry* entry) {
    const Unpacked unpacked = read_data(zip.reader(), {limit, file.size()});
    entry_error = unpacked.error;
    if (entry_error.empty()) use(name_of(entry), unpacked.bytes);
    return entry_error.empty();
  });
  return walk.error.empty() ? entry_error : walk.error;
}

}  // namespace eclipse_base
