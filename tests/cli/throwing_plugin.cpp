// A plug-in whose run breaks off: as the real one lets through what a host operation throws.
#include <stdexcept>
#include <string>

#include "eclipse_int/eclipse_int.h"

int eclipse_integration_required(session_t*) { return 0; }
int find_eclipse_ide(session_t*) { return 0; }
int define_eclipse_path(session_t*) { return 0; }
int verify_user_defined_eclipse_path(session_t*) { return 0; }
int user_eclipse_version(session_t*) { return 0; }
int verify_eclipse_version(session_t*) { return 0; }
int perform_unintegration(session_t*) { return 0; }

int perform_integration(session_t* session) {
  env_set_string(session, "WRITTEN_BEFORE", "yes");
  throw std::runtime_error("no more of this");
}
