// The installation of a plug-in that starts directors and logs nothing.
#include <string>

#include "eclipse_int/eclipse_int.h"

int perform_integration(session_t*) {
  int exit_code = 0;
  get_command_output("eclipse -i one 2>&1", &exit_code, true, "");
  return exit_code;
}
