// The two rules for a path as a package lists it, or as a user types it.
#ifndef ECLIPSE_INT_TESTS_MODEL_LISTED_PATH_H
#define ECLIPSE_INT_TESTS_MODEL_LISTED_PATH_H

#include <string>

inline std::string with_forward_slashes(std::string text) {
  for (char& character : text) {
    if (character == '\\') {
      character = '/';
    }
  }
  return text;
}

inline std::string without_trailing_line_ends(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.pop_back();
  }
  return text;
}

#endif
