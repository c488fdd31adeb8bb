#include "p2/installed_units.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"
#include "p2/director_answer.h"
#include "p2/director_command.h"
#include "p2/director_failure.h"
#include "p2/instance_paths.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

/// Other lines report how long it took, or warnings of the Java machine that runs the director.
bool is_unit(std::string_view line) {
  const std::size_t slash = line.find('/');
  return slash != 0 && slash + 1 < line.size() && std::isdigit(static_cast<unsigned char>(line[slash + 1])) != 0 &&
         line.find_first_of(white_space) == line.npos;
}

}  // namespace

InstanceError no_profile(const std::string& executable) {
  return InstanceError(in_quotes(executable) + " " + printable(why_no_profile(instance_directory(executable))));
}

std::vector<Unit> units_in(std::string_view output) {
  std::vector<Unit> units;
  while (!output.empty()) {
    const std::size_t end = std::min(output.find('\n'), output.size());
    const std::string_view line = trimmed(output.substr(0, end));
    if (is_unit(line)) units.push_back(eclipse_p2::unit_called(line));
    output.remove_prefix(std::min(end + 1, output.size()));
  }
  std::sort(units.begin(), units.end());
  return units;
}

InstalledUnits installed_units(const std::string& executable, const eclipse_shell::CommandProgress& progress) {
  const auto instance = eclipse_p2::instance_directory(executable);
  const InstanceLogs logs(instance);
  const auto result = eclipse_shell::run_in_shell(list_roots_command(executable), progress);
  if (result.exit_code != 0) {
    throw InstanceError(in_quotes(executable) + " failed with exit code " + std::to_string(result.exit_code) +
                        ", so the installed units are not known; " + text_of(explain(result, logs)));
  }
  if (result.output_left_out != 0) {
    throw InstanceError(in_quotes(executable) + " answers with more than " +
                        std::to_string(largest::output / largest::mebibyte) + " MiB, so the installed units are not known");
  }
  if (const std::string error = why_not_an_answer(result.output); !error.empty()) {
    throw InstanceError(in_quotes(executable) + " does not say which units are installed: " + error);
  }
  InstalledUnits installed{units_in(result.output), profile_units(instance)};
  if (!installed.all) installed.profile_error = profile_units_error(instance);
  return installed;
}

std::optional<InstalledUnits> recorded_units(const std::filesystem::path& instance, ProfileStates& states) {
  auto all = profile_units(instance, states);
  if (!all) return std::nullopt;
  return installed_of(*std::move(all));
}

std::optional<InstalledUnits> recorded_units(const std::filesystem::path& instance) {
  ProfileStates states;
  return recorded_units(instance, states);
}

InstalledUnits installed_of(std::vector<InstalledUnit> all) {
  InstalledUnits installed{roots_of(all), std::move(all)};
  std::sort(installed.roots.begin(), installed.roots.end());
  return installed;
}

}  // namespace eclipse_p2
