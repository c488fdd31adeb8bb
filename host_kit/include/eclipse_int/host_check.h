// Checks a host of the plug-in: whether each of its operations keeps what eclipse_int/host.h promises.
//
// The same checks come in two forms. A host that loads the plug-in by name needs no change: "eclipse-int check-host" makes it
// load a libeclipse_int.so that checks it. A host's own tests link this library (eclipse_int::host_check) and call
// check_host().
#ifndef ECLIPSE_INT_HOST_CHECK_H
#define ECLIPSE_INT_HOST_CHECK_H

#include <iosfwd>
#include <string>
#include <vector>

#include "eclipse_int/host.h"

namespace eclipse_int {

struct HostCheckOptions {
  /// Names of checks, or of groups of checks ("env", "get_file"). If it is empty, all checks are performed.
  std::vector<std::string> only;
  /// Performs the checks in this process, for a debugger. Otherwise each is performed in a forked child, so that a crash, an
  /// endless loop or an exit is a result as well, and so that the session stays as it is.
  bool in_process = false;
  /// How long a check may take before it is ended. Not used with in_process.
  unsigned seconds = 10;
  /// The file to which print_log() writes. If it is empty, the checks search the outputs and the open files of this process for
  /// the log.
  std::string log;
  /// A file with one accepted failure on each line: the name of the check, a space and the reason. "#" begins a comment.
  std::string waivers;
  /// A second session, for the checks that need one. It may be null.
  session_t* other_session = nullptr;
  /// "text", "tap" (Test Anything Protocol, version 13) or "junit" (XML).
  std::string format = "text";
};

/// Checks this program as a host, with a session whose catalogue is filled, and writes the report to `report`.
/// Returns 0 if the host keeps every promise that it must keep, 1 if it breaks one, and 2 if it could not be checked: no such
/// check or format, or a waiver file that cannot be read or has an entry without a reason. `report` then says why.
int check_host(session_t& session, const HostCheckOptions& options, std::ostream& report);

}  // namespace eclipse_int

#endif
