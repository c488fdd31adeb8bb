// Sessions in which each action has as much to do as it can have, and so as much that can go wrong.
#ifndef ECLIPSE_INT_TESTS_FAULTS_FAULT_SESSIONS_H
#define ECLIPSE_INT_TESTS_FAULTS_FAULT_SESSIONS_H

#include <vector>

#include "differential/planned_session.h"

namespace faults {

/// They all have the same files.
std::vector<differential::PlannedSession> fault_sessions();

}  // namespace faults

#endif
