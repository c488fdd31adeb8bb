// A descriptor file is a table of 8-bit text:
//
//   file   = line *( LF line )                   what follows the last line feed is a line, too, usually an empty one
//   line   = [ repository TAB feature [ TAB extra [ TAB order [ TAB anything ] ] ] ]
//
// A carriage return does not end a line: it stays in the last column of its line. Nothing is trimmed, there are no comments and
// no quotes, and no encoding or byte-order mark is recognised. A line with fewer than two columns is not data. Neither is a
// header, which is any line whose first column is exactly "Repository".
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <locale>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "descriptors/columns.h"
#include "eclipse_int/eclipse_int.h"
#include "host/paths.h"

using namespace eclipse_int;

const char* const UNDEFINED_ORDER = "undefined";

namespace {

/// The bytes of a regular file; nothing for anything else. If a file shrinks while it is read, zero bytes are left at the end.
std::optional<std::string> read_file(const std::string& name) {
  std::error_code not_there;
  // Checked before the file is opened, because opening a pipe would wait for its writer.
  if (!std::filesystem::is_regular_file(name, not_there)) return std::nullopt;
  std::ifstream file;
  file.imbue(std::locale::classic());  // the global locale might convert what is read
  file.open(name, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.tellg();
  if (size < 0) return std::nullopt;
  // On a 32-bit machine a file may be larger than any text: an exception then, not its first bytes.
  const auto length = std::min<std::uintmax_t>(static_cast<std::uintmax_t>(size), std::numeric_limits<std::size_t>::max());
  std::string content(static_cast<std::size_t>(length), '\0');
  file.seekg(0);
  file.read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

void append_record(std::string_view line, const std::string& base_dir, std::vector<plugin_config>& out) {
  const auto repository = take_column(line);
  const auto feature = take_column(line);
  if (!feature || *repository == "Repository") return;
  const auto extra = take_column(line);
  const auto order = take_column(line);
  out.push_back({std::string(*repository), std::string(*feature), std::string(extra.value_or("")),
                 std::string(order.value_or(UNDEFINED_ORDER)), base_dir});
}

/// Calls `use` with each line of a text, including what follows the last line feed.
template <typename Use>
void for_each_line(std::string_view text, const Use& use) {
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    use(text.substr(start, end - start));
    start = end + 1;
  }
}

/// Reserves room for `more` records. If the records must move, doubles their room, or each of many small files would move the
/// records of all files before it.
void make_room(std::vector<plugin_config>& out, std::size_t more) {
  const std::size_t needed = out.size() + more;
  if (needed > out.capacity()) out.reserve(std::max(needed, 2 * out.size()));
}

}  // namespace

void process_file(std::pair<std::string, std::string> file, std::vector<plugin_config>& out) {
  const auto content = read_file(joined_path(file.first, file.second));
  if (!content) return;
  std::size_t records = 0;
  for_each_line(*content, [&](std::string_view line) {
    if (line.find('\t') != line.npos) ++records;
  });
  make_room(out, records);
  for_each_line(*content, [&](std::string_view line) { append_record(line, file.first, out); });
}
