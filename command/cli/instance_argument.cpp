#include "cli/instance_argument.h"

namespace eclipse_cli {

void add_eclipse_argument(const Parser& command, std::string& eclipse) {
  command.add_option("ECLIPSE", eclipse, "The Eclipse executable, or its directory").required().option_text(" ");
}

}  // namespace eclipse_cli
