// For targets whose inputs the plug-in and the model both get.
#ifndef ECLIPSE_INT_TESTS_FUZZ_COMPARISON_H
#define ECLIPSE_INT_TESTS_FUZZ_COMPARISON_H

#include "differential/planned_session.h"
#include "fuzz/target.h"

namespace fuzz {

/// Takes the steps of a session with the plug-in and with the model, and reports what differs.
void expect_same(const differential::PlannedSession& plan);

}  // namespace fuzz

#endif
