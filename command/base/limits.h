// How much is read and kept at most.
#ifndef ECLIPSE_INT_BASE_LIMITS_H
#define ECLIPSE_INT_BASE_LIMITS_H

#include <cstddef>

namespace eclipse_base {

/// How large may be what is kept in memory, in bytes, and how much it may contain. Real files and outputs are far smaller. The
/// section LIMITS of the manual page lists all of these.
namespace largest {

inline constexpr std::size_t mebibyte = std::size_t{1} << 20;

inline constexpr std::size_t json = 64 * mebibyte;  ///< session, variables, suppressions, configuration of lint, list of runs
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
inline constexpr std::size_t document_findings = 1000;      ///< that are shown in an editor
inline constexpr std::size_t message_header = 4096;         ///< bytes before the content of a message

}  // namespace largest

}  // namespace eclipse_base

#endif
