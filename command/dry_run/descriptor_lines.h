// The lines of a descriptor file, and the line of each record that the plug-in reads from it.
#ifndef ECLIPSE_INT_DRY_RUN_DESCRIPTOR_LINES_H
#define ECLIPSE_INT_DRY_RUN_DESCRIPTOR_LINES_H

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "base/text.h"
#include "dry_run/plugin_functions.h"

namespace eclipse_dry_run {

/// The plug-in's UNDEFINED_ORDER: the order of a record without column 4.
inline constexpr std::string_view undefined_order = "undefined";

struct DescriptorLine {
  std::size_t number = 0;  ///< from 1
  std::string_view text;   ///< without its line feed
  std::vector<std::string_view> columns;
  bool is_record = false;  ///< otherwise the plug-in ignores the line

  /// Whether it has nothing but tabs and spaces, as the empty rows of a spreadsheet.
  bool is_blank() const { return eclipse_base::trimmed(text).empty(); }
};

/// The lines of a text, which must outlive them, with the columns that the plug-in finds in them. The piece after the last line
/// feed is a line, too.
std::deque<DescriptorLine> descriptor_lines(const PluginFunctions& functions, std::string_view text);

/// The line of each record, and marks these lines. The plug-in read the records from the same text; otherwise std::logic_error
/// is thrown.
std::vector<const DescriptorLine*> lines_of_records(std::deque<DescriptorLine>& lines,
                                                    const std::vector<plugin_config>& records);

}  // namespace eclipse_dry_run

#endif
