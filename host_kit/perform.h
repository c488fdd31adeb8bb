// Performing checks.
#ifndef ECLIPSE_INT_HOST_KIT_PERFORM_H
#define ECLIPSE_INT_HOST_KIT_PERFORM_H

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "eclipse_int/host_check.h"
#include "host_kit/check.h"

namespace host_kit {

enum class Outcome { holds, fails, skipped };

struct Result {
  const Check* check;
  Outcome outcome;
  Failure failure;     ///< of one that fails
  std::string reason;  ///< of one that was skipped
  double seconds = 0;
  std::string waiver;                    ///< why its failure is accepted; empty if it is not
  const Check* not_run_after = nullptr;  ///< the failed check because of which this one was skipped
};

/// Whether a result is an error: a must that does not hold and is not waived.
bool is_error(const Result& result);
bool has_error(const std::vector<Result>& results);

/// The checks that `only` names, or all.
/// Throws std::invalid_argument for a name that is neither a check nor a group.
std::vector<const Check*> selected_checks(const std::vector<std::string>& only);

/// Performs these checks, each when the ones that it needs are done. What is observed in the host's own run is left out.
/// `on_check` sees each check before it is performed.
std::vector<Result> perform_checks(
    session_t* session, const eclipse_int::HostCheckOptions& options, const std::vector<const Check*>& checks,
    const std::function<void(const Check&)>& on_check = [](const Check&) {});

/// What was observed so far of these checks. They are skipped if one of the results before is an error, which shows there as
/// well, and, with the reason `without_calls`, if the host called none of their operations.
std::vector<Result> observed_results(const std::vector<const Check*>& checks, const std::vector<Result>& before,
                                     std::string_view without_calls);

/// The reasons of a waiver file by the names of checks.
/// Throws std::invalid_argument, with the line, for an entry without a reason or for an unknown check.
std::map<std::string, std::string> read_waivers(const std::string& file);
void waive(std::vector<Result>& results, const std::map<std::string, std::string>& waivers);

}  // namespace host_kit

#endif
