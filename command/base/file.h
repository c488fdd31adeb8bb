// Reading files that others give us.
#ifndef ECLIPSE_INT_BASE_FILE_H
#define ECLIPSE_INT_BASE_FILE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/file_error.h"

namespace eclipse_base {

/// What the error of a file begins with that the system does not let be read.
inline constexpr std::string_view unreadable = "cannot be read: ";

/// What a file holds, or why that is unknown.
struct FileContent {
  std::string bytes;  ///< after an error, what was read before it; none of a file that is too large
  /// "is not a regular file", "is larger than 64 MiB" or "cannot be read: REASON"; empty when there is none.
  std::string error;
  bool exceeds_limit = false;  ///< the error is that it is larger than is read here; others may well read it
};

/// What the file system says of a regular file.
struct FileFacts {
  std::uintmax_t size = 0;  ///< 0 for files of /proc, whatever they hold
  std::filesystem::perms permissions = std::filesystem::perms::none;
  bool is_link = false;  ///< its path is that of a symbolic link to it
};

/// Opens a regular file for reading and never waits, not even for a pipe. A descriptor to be closed, or -1 with the reason in
/// errno, which is EINVAL for what is not a regular file.
int open_regular_file(const std::filesystem::path& file);
int open_regular_file(const std::filesystem::path& file, FileFacts& facts);

/// The content of a file that holds these bytes, of which at most so many are allowed.
FileContent limited_content(std::string bytes, std::size_t limit);

/// Reads a whole regular file of at most so many bytes.
FileContent read_file(const std::filesystem::path& file, std::size_t limit);

/// Reads at most so many bytes from the beginning or the end of a regular file.
FileContent read_beginning(const std::filesystem::path& file, std::size_t count);
FileContent read_end(const std::filesystem::path& file, std::size_t count);

/// The bytes of a file. Throws FileError "FILE: ERROR; FIX" when read_file() has an error.
std::string content_of(const std::filesystem::path& file, std::size_t limit, const std::string& fix);

/// Whether two paths name the same file, which need not exist.
bool is_same_file(const std::filesystem::path& one, const std::filesystem::path& other);

/// What a file that was set aside has after its own name, before a number if need be.
inline constexpr std::string_view set_aside_suffix = ".damaged";

/// Gives a file such a name that is not taken, and returns it. Throws FileError.
std::filesystem::path renamed_to_damaged(const std::filesystem::path& file);

/// The full path of a file, as it is named or with all links resolved. Throws FileError when it cannot be determined, as when
/// the working directory does not exist.
std::filesystem::path absolute_path(const std::filesystem::path& file);
std::filesystem::path canonical_path(const std::filesystem::path& file);

}  // namespace eclipse_base

#endif
