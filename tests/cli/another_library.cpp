// What a user may name with --plugin by mistake.
extern "C" int find_eclipse_ide(void*) { return 0; }
