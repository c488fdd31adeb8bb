// That the manual lists every limit as it is.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "instance/run_journal.h"
#include "plan/make_plan.h"
#include "shell/command_runner.h"
#include "shell/pathname_expansion.h"

using namespace eclipse_base;

namespace {

using Items = std::vector<std::pair<std::string, std::string>>;

/// With commas between thousands.
std::string grouped(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) digits.insert(at -= 3, ",");
  return digits;
}

std::string in_mebibytes(std::size_t size) { return grouped(size / largest::mebibyte) + " MiB"; }

/// Each limit in the manual, and what it is about.
Items items_in_manual() {
  const std::string manual = read_file(MANUAL_DIRECTORY "/eclipse-int.1", largest::descriptor).bytes;
  const std::size_t start = std::min(manual.find(".SH LIMITS\n"), manual.size());
  const std::string section = manual.substr(start, manual.find("\n.SH ", start) + 1 - start);
  const std::vector<std::string> lines = lines_of(section);
  Items items;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == ".TP") {
      items.emplace_back(lines.at(i + 1).substr(3), "");
      ++i;
    } else if (!items.empty()) {
      items.back().second += (items.back().second.empty() ? "" : " ") + lines[i];
    }
  }
  return items;
}

TEST(Manual, ListsEveryLimit) {
  static_assert(largest::json == largest::descriptor && largest::profile == largest::metadata &&
                largest::profile == largest::artifact && largest::message == largest::log &&
                largest::json_values == largest::descriptor_lines);
  const Items limits = {
      {in_mebibytes(largest::json),
       "a session, variables, suppressions or configuration file, the list of runs in an instance, and a descriptor file"},
      {in_mebibytes(largest::configuration), "a file in the configuration directory of an instance, and a .I p2.index"},
      {in_mebibytes(largest::profile),
       "a state of a profile and the metadata of a repository, each after decompression, and a jar that is compared or "
       "unpacked"},
      {in_mebibytes(largest::copy), "the temporary copy of an instance for .BR \\-\\-resolve , all files together"},
      {in_mebibytes(largest::message), "a message of an editor, and a log of an instance (only its end is read)"},
      {in_mebibytes(largest::output), "the output of a command; half of it is kept from the beginning, half from the end"},
      {grouped(largest::message_header) + " bytes", "the header of a message of an editor"},
      {grouped(largest::json_values), "values in a JSON document or message, and lines in a descriptor file"},
      {grouped(largest::findings), "findings of a rule that .B lint shows of an input; the others are counted"},
      {grouped(eclipse_plan::most_distinct_retries),
       "retries that differ for the shell in a .BR plan , with .B \\-\\-retries those that fit into " +
           in_mebibytes(eclipse_plan::largest_retries) + "; the others are counted"},
      {grouped(largest::json_levels), "nesting levels in a JSON document or message"},
      {grouped(largest::xml_items), "tags and attributes in an XML document"},
      {grouped(largest::composites), "nesting levels of composite repositories"},
      {grouped(largest::archive_entries), "files and directories in an archive"},
      {grouped(largest::compression), "times the compressed size, for unpacked data of more than 1 MiB"},
      {grouped(eclipse_shell::longest_command) + " bytes", "a command, as Linux passes it to a shell"},
      {grouped(eclipse_shell::most_examined_entries), "directory entries that are compared with a pattern of the shell"},
      {grouped(eclipse_instance::most_recorded_runs), "runs in the list of runs in an instance; older ones are left out"},
      {grouped(largest::document_findings), "findings in a document that an editor shows; the others are left out"}};
  EXPECT_EQ(items_in_manual(), limits);
}

}  // namespace
