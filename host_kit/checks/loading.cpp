// What must hold before any operation is called.
#include <link.h>

#include <set>

#include "host_kit/checks/groups.h"

namespace host_kit {

// The operations that return a bool, as what is in the register that they return: a name does not have the type of a result, so
// the linker takes one that returns an int, too. A member function is called as a function whose first argument is the object.
#define STRING "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
unsigned char returned_by_is_gui_mode(session_t*) __asm__("_Z11is_gui_modeP9session_t");
unsigned char returned_by_path_is_relative(std::string) __asm__("_Z16path_is_relative" STRING);
unsigned char returned_by_is_file(const std::string&) __asm__("_Z7is_fileRK" STRING);
unsigned char returned_by_file_exists(const std::string&, bool) __asm__("_Z11file_existsRK" STRING "b");
unsigned char returned_by_install_condition(Component*) __asm__("_ZN9Component16installConditionEv");
unsigned char returned_by_uninstall_condition(Component*) __asm__("_ZN9Component18uninstallConditionEv");
unsigned char returned_by_get_installed(Component*, int) __asm__("_ZN9Component12getInstalledEi");

namespace {

constexpr Check session_is_given{
    .name = "load/session-given",
    .level = Level::must,
    .title = "The host passes its session to an action.",
    .promise =
        "The host creates and owns it, usually as an object of a class of its own that it derives from this one, and "
        "passes it to every action.",
    .harm = "Every operation on the session gets a null pointer; most hosts crash.",
    .fix = "Call each action with the address of the session.",
    .perform =
        [](const Probe& probe) {
          expect(probe.session != nullptr, "an action is called with the session", "null",
                 "the session was not created yet, or the action was called without an argument");
        },
};

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

constexpr Check there_is_one_standard_library{
    .name = "load/one-standard-library",
    .level = Level::should,
    .title = "The host uses the C++ standard library of the plug-in.",
    .promise =
        "Texts, lists, exceptions and the buffer of get_file() pass between the two, so host and plug-in must be built "
        "for the same C++ standard library and ABI, and must use the same allocator.",
    .harm = "A string of one library is misread by the other.",
    .fix = "Build all of the host with the C++ standard library of the plug-in, libstdc++.",
    .perform =
        [](const Probe&) {
          const std::set<std::string> found = standard_libraries();
          expect(found.size() <= 1, "at most one C++ standard library is loaded", "libstdc++.so and libc++.so",
                 "a part of the host is built with -stdlib=libc++");
        },
};

void expect_truth_value(const std::string& call, unsigned char returned) {
  expect(returned <= 1, call + " returns a bool, which is 0 or 1", shown(static_cast<int>(returned)),
         "it is defined to return an int, in a file that does not include eclipse_int/host.h");
}

constexpr Check truth_values_are_0_or_1{
    .name = "load/truth-values",
    .level = Level::must,
    .title = "Operations that answer with a truth value return 0 or 1.",
    .promise = "Everything that the plug-in needs from a host is declared here, and the host defines all of it.",
    .harm = "The plug-in looks at one byte only: 256 is false, and 2 may be true and false at the same time.",
    .fix = "Include eclipse_int/host.h where the operation is defined, so that the compiler compares the types.",
    .perform =
        [](const Probe& probe) {
          expect_truth_value("is_gui_mode()", returned_by_is_gui_mode(probe.session));
          for (const char* const path : {"/", "name", "/no-such-file"}) {
            expect_truth_value("path_is_relative()", returned_by_path_is_relative(path));
            expect_truth_value("is_file()", returned_by_is_file(path));
            expect_truth_value("file_exists()", returned_by_file_exists(path, false));
          }
          for (Component* const component : probe.session->tsd.components()) {
            if (component == nullptr) continue;
            expect_truth_value("installCondition()", returned_by_install_condition(component));
            expect_truth_value("uninstallCondition()", returned_by_uninstall_condition(component));
            expect_truth_value("getInstalled()", returned_by_get_installed(component, 0));
          }
        },
    .after = "components/alive",
};

}  // namespace

std::vector<Check> loading_checks() { return {session_is_given, there_is_one_standard_library, truth_values_are_0_or_1}; }

}  // namespace host_kit
