// Places in a JSON file.
#ifndef ECLIPSE_INT_LINT_JSON_LOCATIONS_H
#define ECLIPSE_INT_LINT_JSON_LOCATIONS_H

#include <cstddef>
#include <string>
#include <vector>

#include "lint/finding.h"

namespace eclipse_lint {

class JsonLocations {
 public:
  JsonLocations(std::string file, std::string content);

  /// Of the value that begins at `offset`, as far as it reaches in its first line. The line itself is left out: there are many
  /// places, and the whole file may be one line.
  Location location(std::size_t offset) const;

  /// A line by its number, from 1, without its line feed.
  std::string line(std::size_t number) const;

 private:
  std::size_t end_of(std::size_t line) const;

  std::string file_;
  std::string content_;
  std::vector<std::size_t> starts_;  ///< of the lines
};

}  // namespace eclipse_lint

#endif
