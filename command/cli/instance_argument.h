// An Eclipse instance that the command line names.
#ifndef ECLIPSE_INT_CLI_INSTANCE_ARGUMENT_H
#define ECLIPSE_INT_CLI_INSTANCE_ARGUMENT_H

#include <string>

#include "cli/parser.h"

namespace eclipse_cli {

/// Adds the argument ECLIPSE.
void add_eclipse_argument(const Parser& command, std::string& eclipse);

}  // namespace eclipse_cli

#endif
