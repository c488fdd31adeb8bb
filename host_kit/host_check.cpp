#include "eclipse_int/host_check.h"

#include <exception>
#include <ostream>

#include "host_kit/report.h"

using namespace host_kit;

int eclipse_int::check_host(session_t& session, const HostCheckOptions& options, std::ostream& report) {
  try {
    const WriteReport write = report_writer(options.format);
    const auto waivers = options.waivers.empty() ? std::map<std::string, std::string>() : read_waivers(options.waivers);
    std::vector<Result> results = perform_checks(&session, options, selected_checks(options.only));
    waive(results, waivers);
    write(report, results);
    return has_error(results) ? 1 : 0;
  } catch (const std::exception& error) {
    report << error.what() << "\n";
    return 2;
  }
}
