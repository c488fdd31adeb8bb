#include "host/paths.h"

#include <algorithm>
#include <utility>

#include "eclipse_int/host.h"

namespace eclipse_int {

std::string joined_path(std::string_view directory, std::string_view name) {
  std::string joined;
  joined.reserve(directory.size() + 1 + name.size());
  joined.append(directory).append(1, '/').append(name);
  return path(std::move(joined));
}

std::string with_forward_slashes(std::string_view text) {
  std::string converted(text);
  std::replace(converted.begin(), converted.end(), '\\', '/');
  return converted;
}

bool path_ends_with(std::string_view listed, std::string_view name) {
  return listed.size() >= name.size() && std::equal(name.rbegin(), name.rend(), listed.rbegin(),
                                                    [](char wanted, char c) { return wanted == forward_slash(c); });
}

bool PathFragment::occurs_in(std::string_view listed) const {
  for (std::size_t end = text_.size(); end <= listed.size();) {
    const std::size_t step = step_[static_cast<unsigned char>(listed[end - 1])];
    if (step == 0 && path_ends_with(listed.substr(0, end), text_)) return true;
    end += std::max<std::size_t>(step, 1);
  }
  return false;
}

}  // namespace eclipse_int
