// The lines of what a command printed.
#ifndef ECLIPSE_INT_REPORT_PRINTED_LINES_H
#define ECLIPSE_INT_REPORT_PRINTED_LINES_H

#include <algorithm>
#include <string_view>

namespace eclipse_report {

/// Calls `use` with each line of an output, which may be large, as a view of it. A line feed at its end begins no further line.
template <typename Use>
void for_each_line(std::string_view output, const Use& use) {
  while (!output.empty()) {
    const std::string_view line = output.substr(0, output.find('\n'));
    use(line);
    output.remove_prefix(std::min(line.size() + 1, output.size()));
  }
}

}  // namespace eclipse_report

#endif
