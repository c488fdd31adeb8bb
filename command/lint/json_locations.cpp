#include "lint/json_locations.h"

#include <algorithm>
#include <utility>

namespace eclipse_lint {

JsonLocations::JsonLocations(std::string file, std::string content)
    : file_(std::move(file)), content_(std::move(content)), starts_({0}) {
  for (std::size_t at = 0; (at = content_.find('\n', at)) != std::string::npos;) starts_.push_back(++at);
}

Location JsonLocations::location(std::size_t offset) const {
  const auto line = static_cast<std::size_t>(std::upper_bound(starts_.begin(), starts_.end(), offset) - starts_.begin());
  const std::size_t end = end_of(line);
  std::size_t last = offset + 1;
  if (content_[offset] == '"') {
    while (last < end && content_[last] != '"') last += content_[last] == '\\' ? 2U : 1U;
    last = std::min(last + 1, end);
  }
  return {file_, line, offset - starts_[line - 1] + 1, last - offset};
}

std::string JsonLocations::line(std::size_t number) const {
  const std::size_t start = starts_.at(number - 1);
  return content_.substr(start, end_of(number) - start);
}

std::size_t JsonLocations::end_of(std::size_t line) const {
  return line < starts_.size() ? starts_[line] - 1 : content_.size();
}

}  // namespace eclipse_lint
