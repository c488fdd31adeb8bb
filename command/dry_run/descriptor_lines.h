// A descriptor file as text: what can be read of it, its lines, and the line of each record that the plug-in read from it.
#ifndef ECLIPSE_INT_DRY_RUN_DESCRIPTOR_LINES_H
#define ECLIPSE_INT_DRY_RUN_DESCRIPTOR_LINES_H

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "dry_run/plugin_functions.h"

namespace eclipse_dry_run {

/// Reads a descriptor file. The plug-in ignores a failed read and takes zero bytes for those that are missing, so whoever
/// reports what it reads must report the error, too: one of a file, or that its size is another one.
eclipse_base::FileContent descriptor_content(const std::string& path);

/// The error of a file whose lines and records do not match (see lines_of_records()) though all of it could be read.
inline constexpr std::string_view changed_while_read = "was changed while it was read";

struct DescriptorLine {
  std::size_t number = 0;  ///< from 1
  std::string_view text;   ///< without its line feed
  std::vector<std::string_view> columns;
  bool is_record = false;  ///< otherwise the plug-in ignores the line
};

/// The lines of a text, which must outlive them, with the columns that the plug-in finds in them. The piece after the last line
/// feed is a line, too.
std::deque<DescriptorLine> descriptor_lines(const PluginFunctions& functions, std::string_view text);

/// The line of each record, and marks these lines. Null for the first record that is in no line and for all that follow it: the
/// plug-in has read another content, because the file was changed in between or could not be read completely.
std::vector<const DescriptorLine*> lines_of_records(std::deque<DescriptorLine>& lines,
                                                    const std::vector<plugin_config>& records);

}  // namespace eclipse_dry_run

#endif
