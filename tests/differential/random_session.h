// Whole sessions by chance.
#ifndef ECLIPSE_INT_TESTS_DIFFERENTIAL_RANDOM_SESSION_H
#define ECLIPSE_INT_TESTS_DIFFERENTIAL_RANDOM_SESSION_H

#include <cstdint>
#include <string>

#include "differential/planned_session.h"

namespace differential {

/// The session of a seed, the same on every machine. `directory` is the absolute path of the directory in which its files are
/// to be, since some of its paths are absolute.
PlannedSession random_session(std::uint64_t seed, const std::string& directory);

}  // namespace differential

#endif
