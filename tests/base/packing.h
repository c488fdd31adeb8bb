// Packing files for tests.
#ifndef ECLIPSE_INT_TESTS_BASE_PACKING_H
#define ECLIPSE_INT_TESTS_BASE_PACKING_H

#include <map>
#include <string>

namespace base_test {

/// The names and contents of the files in an archive.
using Entries = std::map<std::string, std::string>;

/// The bytes of a zip archive, with a password when one is given.
std::string zipped(const Entries& entries, const std::string& password = "");

std::string compressed_with_xz(const std::string& content);
std::string compressed_with_gzip(const std::string& content);

}  // namespace base_test

#endif
