// Every action of the plug-in. A library may bring another definition of some.
struct session_t;

#define ACTION extern "C" [[gnu::weak]] int

ACTION eclipse_integration_required(session_t*) { return 0; }
ACTION find_eclipse_ide(session_t*) { return 0; }
ACTION define_eclipse_path(session_t*) { return 0; }
ACTION verify_user_defined_eclipse_path(session_t*) { return 0; }
ACTION user_eclipse_version(session_t*) { return 0; }
ACTION verify_eclipse_version(session_t*) { return 0; }
ACTION perform_integration(session_t*) { return 0; }
ACTION perform_unintegration(session_t*) { return 0; }
