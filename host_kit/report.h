// The report on a host.
#ifndef ECLIPSE_INT_HOST_KIT_REPORT_H
#define ECLIPSE_INT_HOST_KIT_REPORT_H

#include <ostream>
#include <string_view>
#include <vector>

#include "host_kit/perform.h"

namespace host_kit {

/// "must", "should" or "may".
std::string_view level_name(Level level);

/// For people: each failure in full, each skipped check with the reason, and the numbers.
void write_text(std::ostream& out, const std::vector<Result>& results);
/// Test Anything Protocol, version 13. What should or may hold and does not is marked "TODO", which is not a failure there.
void write_tap(std::ostream& out, const std::vector<Result>& results);
/// JUnit XML. A failed "should" or "may" check counts as skipped, with its fields in the output of the test case.
void write_junit(std::ostream& out, const std::vector<Result>& results);

using WriteReport = void (*)(std::ostream& out, const std::vector<Result>& results);
/// Throws std::invalid_argument unless `format` is "text", "tap" or "junit".
WriteReport report_writer(std::string_view format);

/// All checks with their levels and promises: "text" for people, or "names", one in a line.
void write_list(std::ostream& out, std::string_view format);

}  // namespace host_kit

#endif
