// What a director command leaves in the records of a fake host.
#ifndef ECLIPSE_INT_TESTS_LIBRARY_DIRECTOR_EVENTS_H
#define ECLIPSE_INT_TESTS_LIBRARY_DIRECTOR_EVENTS_H

#include <string>

#include "fake_host/fake_host.h"

inline fake::Texts command_events(const std::string& command, const std::string& output, int exit_code) {
  return {"eclipse_int: running command: " + command, "$ " + command, "eclipse_int: out: " + output,
          "eclipse_int: exit code: " + std::to_string(exit_code)};
}

#endif
