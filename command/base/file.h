// Reading files that others give us.
#ifndef ECLIPSE_INT_BASE_FILE_H
#define ECLIPSE_INT_BASE_FILE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/file_error.h"

namespace eclipse_base {

/// How large may be what is kept in memory, in bytes, and how much it may contain. Real files and outputs are far smaller. The
/// section LIMITS of the manual page lists all of these.
namespace largest {

inline constexpr std::size_t mebibyte = std::size_t{1} << 20;

inline constexpr std::size_t json = 64 * mebibyte;  ///< session, variables, overrides, configuration of lint, list of runs
inline constexpr std::size_t descriptor = 64 * mebibyte;
inline constexpr std::size_t configuration = 4 * mebibyte;  ///< of an instance (config.ini, .eclipseproduct) or of a repository
inline constexpr std::size_t profile = 256 * mebibyte;      ///< a state of a p2 profile, decompressed
inline constexpr std::size_t copy = 512 * mebibyte;         ///< of an instance, to ask its director: all files
inline constexpr std::size_t metadata = 256 * mebibyte;     ///< of a p2 repository, decompressed
inline constexpr std::size_t artifact = 256 * mebibyte;     ///< a jar of a repository whose checksum is compared
inline constexpr std::size_t log = 16 * mebibyte;           ///< of an instance; of a larger one the end is read
inline constexpr std::size_t message = 16 * mebibyte;       ///< of an editor to the language server

inline constexpr std::size_t json_values = 1'000'000;    ///< of a JSON document, each of which takes some hundred bytes
inline constexpr std::size_t output = 4 * mebibyte;      ///< of a command; of a larger one the beginning and the end are kept
inline constexpr std::size_t archive_entries = 200'000;  ///< files and directories in an archive
inline constexpr std::size_t compression = 250;      ///< times that more than a mebibyte may be larger than its compressed form
inline constexpr std::size_t xml_items = 8'000'000;  ///< tags and attributes of an XML document
inline constexpr std::size_t json_levels = 64;       ///< of objects and arrays in each other, also in a message
inline constexpr std::size_t composites = 200;       ///< in each other: each is looked into by a call of its own
inline constexpr std::size_t descriptor_lines = 1'000'000;  ///< each takes up to a kilobyte when it is examined
inline constexpr std::size_t findings = 10'000;             ///< of a rule in an input; the others are counted
inline constexpr std::size_t message_header = 4096;         ///< bytes before the content of a message

}  // namespace largest

/// What a file holds, or why that is unknown.
struct FileContent {
  std::string bytes;  ///< after an error, what was read before it; none of a file that is too large
  /// "is not a regular file", "is larger than 64 MiB" or "cannot be read: REASON"; empty when there is none.
  std::string error;
  bool exceeds_limit = false;  ///< the error is that it is larger than is read here; others may well read it
};

/// Opens a regular file for reading and never waits, not even for a pipe. A descriptor to be closed, or -1 with the reason in
/// errno, which is EINVAL for what is not a regular file.
int open_regular_file(const std::filesystem::path& file);

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
