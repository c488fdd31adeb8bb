// The installation of a plug-in that lets an exception out, as the real one does with those of host operations.
#include <stdexcept>
#include <string>

#include "eclipse_int/eclipse_int.h"

int perform_integration(session_t* session) {
  env_set_string(session, "WRITTEN_BEFORE", "yes");
  throw std::runtime_error("no more of this");
}
