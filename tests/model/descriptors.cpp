// Descriptor files, and the lists made of their records.
#include <sys/stat.h>

#include <cstdio>
#include <locale>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "eclipse_int/eclipse_int.h"

const char* const UNDEFINED_ORDER = "undefined";

namespace {

struct close_file {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

// Asked before the file is opened, since opening a pipe waits for its other end.
bool is_regular_file(const std::string& name) {
  struct stat status = {};
  return stat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// After a short read the rest of the text holds zero bytes.
std::optional<std::string> read_whole_file(const std::string& name) {
  if (!is_regular_file(name)) {
    return std::nullopt;
  }
  const std::unique_ptr<std::FILE, close_file> stream(std::fopen(name.c_str(), "rb"));
  if (stream == nullptr) {
    return std::nullopt;
  }
  if (std::fseek(stream.get(), 0, SEEK_END) != 0) {
    return std::nullopt;
  }
  const long size = std::ftell(stream.get());
  if (size < 0 || std::fseek(stream.get(), 0, SEEK_SET) != 0) {
    return std::nullopt;
  }
  std::string text(static_cast<std::string::size_type>(size), '\0');
  [[maybe_unused]] const std::size_t bytes_read = std::fread(text.data(), 1, text.size(), stream.get());
  return text;
}

void process_line(const std::string& line, const std::string& base_dir, std::vector<plugin_config>& out) {
  const std::vector<std::string> columns = split_by_tabs(line);
  if (columns.size() < 2) {
    return;
  }
  plugin_config record;
  record.repository = columns[0];
  record.feature = columns[1];
  record.extra = columns.size() >= 3 ? columns[2] : "";
  record.order = columns.size() >= 4 ? columns[3] : UNDEFINED_ORDER;
  record.base_dir = base_dir;
  if (record.repository == "Repository") {
    return;
  }
  out.push_back(record);
}

// The double quotes belong to the text, which goes into a shell command as it stands.
std::string repository_url(const plugin_config& record) {
  std::string url = "file://" + path(record.base_dir + "/" + record.repository);
  if (url.size() >= 4 && url.substr(url.size() - 4) == ".zip") {
    url = "\"jar:" + url + "!/\"";
  }
  return url;
}

// A number out of range reads as the nearest limit, and text without one as 0: both are what >> stores when it fails.
int order_number(const std::string& order) {
  int number = 0;
  if (order != UNDEFINED_ORDER) {
    std::istringstream stream(order);
    stream.imbue(std::locale::classic());
    stream >> number;
  }
  return number;
}

}  // namespace

std::vector<std::string> split_by_tabs(std::string line) {
  std::vector<std::string> columns;
  std::istringstream stream(line);
  std::string column;
  while (std::getline(stream, column, '\t')) {
    columns.push_back(column);
  }
  return columns;
}

void process_file(std::pair<std::string, std::string> file, std::vector<plugin_config>& out) {
  const std::string name = path(file.first + "/" + file.second);
  const std::optional<std::string> text = read_whole_file(name);
  if (!text) {
    return;
  }
  std::string::size_type start = 0;
  std::string::size_type end = text->find('\n', start);
  while (end != std::string::npos) {
    process_line(text->substr(start, end - start), file.first, out);
    start = end + 1;
    end = text->find('\n', start);
  }
  process_line(text->substr(start), file.first, out);
}

void populate_lists(const std::vector<plugin_config>& configs, std::set<std::string>& repositories,
                    std::set<std::string>& extras, std::vector<std::string>& features) {
  std::map<long long, std::string> order_table;
  for (const plugin_config& record : configs) {
    if (record.repository.empty()) {
      continue;
    }
    const std::string url = repository_url(record);
    print_log("eclipse_int: Repository: %s Feature: %s", url.c_str(), record.feature.c_str());
    repositories.insert(url);

    long long slot = order_number(record.order);
    while (order_table.count(slot) != 0) {
      ++slot;
    }
    order_table[slot] = record.feature;
    extras.insert(record.extra);
  }
  for (const auto& [slot, feature] : order_table) {
    print_log("eclipse_int: order: %lld feature: %s", slot, feature.c_str());
    if (!feature.empty()) {
      add_unique(feature, features);
    }
  }
}

void add_unique(std::string item, std::vector<std::string>& list) {
  for (const std::string& element : list) {
    if (element == item) {
      return;
    }
  }
  list.push_back(item);
}
