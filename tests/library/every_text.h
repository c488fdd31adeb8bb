// All small inputs, for tests that compare with a second implementation.
#ifndef ECLIPSE_INT_TESTS_LIBRARY_EVERY_TEXT_H
#define ECLIPSE_INT_TESTS_LIBRARY_EVERY_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

/// Every text made of at most `most` of these pieces, the empty one first.
inline std::vector<std::string> every_text(const std::vector<std::string>& pieces, std::size_t most) {
  std::vector<std::string> texts = {""};
  std::size_t start = 0;
  for (std::size_t count = 0; count < most; ++count) {
    const std::size_t end = texts.size();
    for (; start < end; ++start) {
      for (const std::string& piece : pieces) texts.push_back(texts[start] + piece);
    }
  }
  return texts;
}

#endif
