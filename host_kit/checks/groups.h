// The checks by what they are about, one file for each group.
#ifndef ECLIPSE_INT_HOST_KIT_CHECKS_GROUPS_H
#define ECLIPSE_INT_HOST_KIT_CHECKS_GROUPS_H

#include <vector>

#include "host_kit/check.h"

namespace host_kit {

std::vector<Check> loading_checks();
std::vector<Check> session_checks();
std::vector<Check> catalogue_checks();
std::vector<Check> log_checks();
std::vector<Check> path_checks();
std::vector<Check> file_checks();
std::vector<Check> text_checks();
std::vector<Check> command_checks();
std::vector<Check> thread_checks();
std::vector<Check> action_checks();

}  // namespace host_kit

#endif
