// Every action of the plug-in.
struct session_t;

extern "C" {

int eclipse_integration_required(session_t*) { return 0; }
int find_eclipse_ide(session_t*) { return 0; }
int define_eclipse_path(session_t*) { return 0; }
int verify_user_defined_eclipse_path(session_t*) { return 0; }
int user_eclipse_version(session_t*) { return 0; }
int verify_eclipse_version(session_t*) { return 0; }
int perform_integration(session_t*) { return 0; }
int perform_unintegration(session_t*) { return 0; }

}  // extern "C"
