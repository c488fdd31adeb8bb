// What is wrong with a file, told so that a person can fix it.
#ifndef ECLIPSE_INT_BASE_FILE_ERROR_H
#define ECLIPSE_INT_BASE_FILE_ERROR_H

#include <stdexcept>

namespace eclipse_base {

/// A fault in a file or in reaching it. what() is one line: "FILE:LINE:COLUMN: PLACE: what is wrong; what to do", with the
/// place as a path of keys such as components[1].code, or "FILE: what is wrong; what to do" when it has no place in the text.
/// Lines and columns count from 1, columns in characters.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace eclipse_base

#endif
