// What is wrong with a file, said so that a person can fix it.
#ifndef ECLIPSE_INT_BASE_FILE_ERROR_H
#define ECLIPSE_INT_BASE_FILE_ERROR_H

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "base/printable.h"

namespace eclipse_base {

/// An error in a file or in reaching it. what() is one printable line: "FILE: what is wrong; what to do", or
/// "FILE:LINE:COLUMN: PLACE: what is wrong; what to do" with the place as a path of keys such as components[1].code. Lines and
/// columns count from 1, columns in characters.
class FileError : public std::runtime_error {
 public:
  FileError(const std::filesystem::path& file, const std::string& message)
      : std::runtime_error(printable(file.string()) + ": " + in_one_line(message)) {}
  FileError(const std::filesystem::path& file, std::size_t line, std::size_t column, const std::string& message)
      : std::runtime_error(printable(file.string()) + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                           in_one_line(message)) {}

 private:
  static std::string in_one_line(const std::string& message) { return printable(message, {.longest = no_limit}); }
};

}  // namespace eclipse_base

#endif
