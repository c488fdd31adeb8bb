// The smallest host: loads the plug-in and runs one action of it on a session without components.
#include <dlfcn.h>

#include <cstdio>
#include <exception>

#include "eclipse_int/host.h"

int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: %s LIBRARY ACTION\n", arguments[0]);
    return 2;
  }
  void* const library = dlopen(arguments[1], RTLD_NOW);
  void* const symbol = library != nullptr ? dlsym(library, arguments[2]) : nullptr;
  if (symbol == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  const auto action = reinterpret_cast<int (*)(session_t*)>(symbol);
  session_t session;
  try {
    return action(&session);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());  // memory that ran out, or what an operation threw, comes through the plug-in
    return 1;
  }
}
