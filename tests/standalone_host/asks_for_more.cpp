// Asks for an operation that no host has, so that it cannot be loaded with every symbol resolved.
extern "C" int operation_that_no_host_has();

extern "C" int perform_integration() { return operation_that_no_host_has(); }
