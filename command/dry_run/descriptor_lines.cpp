#include "dry_run/descriptor_lines.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace eclipse_dry_run {

eclipse_base::FileContent descriptor_content(const std::string& path) {
  eclipse_base::FileContent content = eclipse_base::read_file(path, eclipse_base::largest::descriptor);
  std::error_code unknown;
  const std::size_t size = std::filesystem::file_size(path, unknown);
  const std::string count = std::to_string(content.bytes.size());
  if (!content.error.empty()) {
    if (!content.bytes.empty()) content.error += " after " + count + " bytes";
  } else if (!unknown && content.bytes.size() > size) {
    content.bytes.resize(size);
    content.error = "contains more than the " + std::to_string(size) + " bytes that are its size";
  } else if (!unknown && content.bytes.size() < size) {
    content.error = "has a size of " + std::to_string(size) + " bytes, of which only " + count + " can be read";
  }
  return content;
}

std::deque<DescriptorLine> descriptor_lines(const PluginFunctions& functions, std::string_view text) {
  std::deque<DescriptorLine> lines;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    DescriptorLine& line = lines.emplace_back();
    line.number = lines.size();
    line.text = text.substr(start, end - start);
    std::size_t column = 0;
    for (const std::string& cell : functions.columns(std::string(line.text))) {
      line.columns.push_back(line.text.substr(column, cell.size()));
      column += cell.size() + 1;
    }
    start = end + 1;
  }
  return lines;
}

/// Records come in the order of the lines, and a line that is ignored never has the columns of the next record: it lacks them,
/// or its first column is one that no record has.
std::vector<const DescriptorLine*> lines_of_records(std::deque<DescriptorLine>& lines,
                                                    const std::vector<plugin_config>& records) {
  std::vector<const DescriptorLine*> found;
  auto line = lines.begin();
  for (const plugin_config& record : records) {
    line = std::find_if(line, lines.end(), [&](const DescriptorLine& each) {
      return each.columns.size() > 1 && each.columns[0] == record.repository && each.columns[1] == record.feature;
    });
    if (line == lines.end()) break;
    line->is_record = true;
    found.push_back(&*line++);
  }
  found.resize(records.size());
  return found;
}

}  // namespace eclipse_dry_run
