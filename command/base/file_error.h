// What is wrong with a file, said so that a person can fix it.
#ifndef ECLIPSE_INT_BASE_FILE_ERROR_H
#define ECLIPSE_INT_BASE_FILE_ERROR_H

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/printable.h"

namespace eclipse_base {

/// An error in a file or in reaching it. what() is one printable line: "FILE: what is wrong; what to do", or
/// "FILE:LINE:COLUMN: PLACE: what is wrong; what to do" with the place as a path of keys such as components[1].code. Lines and
/// columns count from 1, columns in characters.
class FileError : public std::runtime_error {
 public:
  FileError(const std::filesystem::path& file, const std::string& message)
      : std::runtime_error(printable(file.string()) + ": " + in_one_line(message)),
        file_(file),
        message_(in_one_line(message)) {}
  FileError(const std::filesystem::path& file, std::size_t line, std::size_t column, const std::string& message)
      : std::runtime_error(printable(file.string()) + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                           in_one_line(message)),
        file_(file),
        line_(line),
        column_(column),
        message_(in_one_line(message)) {}

  // The parts of what().
  const std::filesystem::path& file() const { return file_; }
  std::size_t line() const { return line_; }  ///< 0 means the file as a whole
  std::size_t column() const { return column_; }
  const std::string& message() const { return message_; }

  /// The single errors that this one consists of, in the order of the file; never empty.
  virtual std::vector<FileError> each() const { return {*this}; }

 protected:
  /// With the location and the message of `first`.
  FileError(const std::string& what, const FileError& first)
      : std::runtime_error(what), file_(first.file_), line_(first.line_), column_(first.column_), message_(first.message_) {}

 private:
  static std::string in_one_line(const std::string& message) { return printable(message, {.longest = no_limit}); }

  std::filesystem::path file_;
  std::size_t line_ = 0;
  std::size_t column_ = 0;
  std::string message_;
};

/// Several errors that are independent of each other. what() has a line for each.
class FileErrors : public FileError {
 public:
  /// How many are found before the others are not looked for.
  static constexpr std::size_t most = 100;

  /// `errors` has at least one.
  explicit FileErrors(std::vector<FileError> errors) : FileError(lines(errors), errors.front()), errors_(std::move(errors)) {}

  std::vector<FileError> each() const override { return errors_; }

 private:
  static std::string lines(const std::vector<FileError>& errors) {
    std::string lines;
    for (const FileError& error : errors) lines += (lines.empty() ? "" : "\n") + std::string(error.what());
    return lines;
  }

  std::vector<FileError> errors_;
};

}  // namespace eclipse_base

#endif
