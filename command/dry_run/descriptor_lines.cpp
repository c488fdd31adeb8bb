#include "dry_run/descriptor_lines.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace eclipse_dry_run {

namespace {

/// Reads up to `limit` bytes. False when the read failed; then errno says why.
bool read_up_to(std::size_t limit, std::FILE& file, std::string& bytes) {
  std::array<char, 65536> buffer;
  while (bytes.size() < limit) {
    const std::size_t count = std::fread(buffer.data(), 1, std::min(buffer.size(), limit - bytes.size()), &file);
    if (count == 0) break;
    bytes.append(buffer.data(), count);
  }
  return std::ferror(&file) == 0;
}

}  // namespace

DescriptorContent descriptor_content(const std::string& path) {
  std::error_code error;
  // Asked first, since opening a pipe would wait for its writer.
  if (!std::filesystem::is_regular_file(path, error)) return {"", error ? error.message() : "it is not a regular file"};
  const std::size_t size = std::filesystem::file_size(path, error);
  if (error) return {"", error.message()};
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return {"", std::strerror(errno)};
  DescriptorContent content;
  // One byte more than there should be shows whether there are more.
  if (!read_up_to(size + 1, *file, content.bytes)) {
    content.error = std::string(std::strerror(errno)) + " after " + std::to_string(content.bytes.size()) + " bytes";
  } else if (content.bytes.size() > size) {
    content.bytes.resize(size);
    content.error = "it contains more than the " + std::to_string(size) + " bytes that are its size";
  } else if (content.bytes.size() < size) {
    content.error =
        "its size is " + std::to_string(size) + " bytes, but only " + std::to_string(content.bytes.size()) + " could be read";
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
