// What must hold before any operation is called.
#include <link.h>

#include <set>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

void session_is_given(const Probe& probe) {
  expect(probe.session != nullptr, "an action is called with the session", "null",
         "the session was not created yet, or the action was called without an argument");
}

/// The C++ standard libraries among the shared objects of this process, by file name up to ".so".
std::set<std::string> standard_libraries() {
  std::set<std::string> found;
  const auto look = [](dl_phdr_info* object, std::size_t, void* found_so_far) {
    const std::string path = object->dlpi_name;
    const std::string name = path.substr(path.rfind('/') + 1);
    for (const std::string_view library : {"libstdc++.so", "libc++.so"}) {
      if (name.starts_with(library)) static_cast<std::set<std::string>*>(found_so_far)->insert(std::string(library));
    }
    return 0;
  };
  dl_iterate_phdr(look, &found);
  return found;
}

void there_is_one_standard_library(const Probe&) {
  const std::set<std::string> found = standard_libraries();
  expect(found.size() <= 1, "at most one C++ standard library is loaded", "libstdc++.so and libc++.so",
         "a part of the host is built with -stdlib=libc++");
}

}  // namespace

std::vector<Check> loading_checks() {
  return {
      {.name = "load/session-given",
       .level = Level::must,
       .promise = "The host creates and owns it, usually as an object of a class of its own that it derives from this one, and "
                  "passes it to every action.",
       .harm = "Every operation on the session gets a null pointer; most hosts crash.",
       .fix = "Call each action with the address of the session.",
       .perform = session_is_given},
      {.name = "load/one-standard-library",
       .level = Level::should,
       .promise =
           "Texts, lists, exceptions and the buffer of get_file() pass between the two, so host and plug-in must be built "
           "for the same C++ standard library and ABI, and must use the same allocator.",
       .harm = "A text of the one library that reaches the other is read as something else.",
       .fix = "Build all of the host with the C++ standard library of the plug-in, libstdc++.",
       .perform = there_is_one_standard_library},
  };
}

}  // namespace host_kit
