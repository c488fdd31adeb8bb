#include "p2/jar_manifest.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

Section section_in(const std::vector<std::string>& lines) {
  Section section;
  for (const std::string& line : lines) {
    const std::size_t colon = std::min(line.find(": "), line.size());
    section[lower_case(line.substr(0, colon))] = line.substr(std::min(colon + 2, line.size()));
  }
  return section;
}

}  // namespace

Manifest manifest_in(const std::string& text) {
  const std::string unfolded = replaced(replaced(replaced(text, "\r\n", "\n"), "\r", "\n"), "\n ", "");
  Manifest manifest;
  std::vector<std::string> lines;
  const auto end_section = [&] {
    Section section = section_in(std::exchange(lines, {}));
    if (const auto name = section.find("name"); name != section.end()) {
      const std::string entry = name->second;
      manifest.entries[entry].insert(section.begin(), section.end());
    } else if (manifest.main.empty()) {
      manifest.main = std::move(section);
    }
  };
  for (const std::string& line : lines_of(unfolded)) {
    if (!line.empty()) {
      lines.push_back(line);
    } else if (!lines.empty()) {
      end_section();
    }
  }
  if (!lines.empty()) end_section();
  return manifest;
}

}  // namespace eclipse_p2
