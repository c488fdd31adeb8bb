#include "exports/under_test.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace exports {

void require_under_test(const void* function) {
  const char* const chosen = std::getenv("ECLIPSE_INT_UNDER_TEST");
  const std::filesystem::path expected = chosen != nullptr ? chosen : ECLIPSE_INT_BUILT;
  Dl_info found = {};
  const std::filesystem::path loaded = dladdr(function, &found) == 0 ? "" : found.dli_fname;
  std::error_code not_there;
  if (std::filesystem::equivalent(loaded, expected, not_there)) return;
  throw std::runtime_error(loaded.string() + " was loaded, which is not the plug-in under test, " + expected.string() +
                           "; see LD_LIBRARY_PATH, or name the one to test in ECLIPSE_INT_UNDER_TEST");
}

}  // namespace exports
