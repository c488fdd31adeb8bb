// What installing and removing have in common: the choice of the Eclipse executable and the runs of its p2 director.
#ifndef ECLIPSE_INT_SRC_ACTIONS_DIRECTOR_H
#define ECLIPSE_INT_SRC_ACTIONS_DIRECTOR_H

#include <optional>
#include <string>

#include "eclipse_int/host.h"

namespace eclipse_int {

/// The executable for the session's integration choice; empty if the user named none or no component has it. Nothing if the
/// choice is to leave Eclipse alone, or has not been made.
std::optional<std::string> chosen_executable(session_t* session);

/// Makes the directory of `executable` the session's ECLIPSE_PATH and returns the path with which director commands begin.
/// If there is no such file, logs that and returns nothing.
std::optional<std::string> enter_instance(session_t* session, const std::string& executable);

/// Runs a director command, stores its exit code in `exit_code` and returns what it printed. Logs all three.
std::string run_director(const std::string& command, int& exit_code);

}  // namespace eclipse_int

#endif
