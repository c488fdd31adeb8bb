// The plug-in itself, linked so that its calls of host operations come by here: each answer is compared with what it has to be.
#ifndef ECLIPSE_INT_HOST_KIT_OBSERVED_H
#define ECLIPSE_INT_HOST_KIT_OBSERVED_H

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "host_kit/check.h"

namespace host_kit {

using Action = int (*)(session_t*);

// The plug-in's actions, which the linker gives these names (CMakeLists.txt).
extern "C" {
int plugin_eclipse_integration_required(session_t* session);
int plugin_find_eclipse_ide(session_t* session);
int plugin_define_eclipse_path(session_t* session);
int plugin_verify_user_defined_eclipse_path(session_t* session);
int plugin_user_eclipse_version(session_t* session);
int plugin_verify_eclipse_version(session_t* session);
int plugin_perform_integration(session_t* session);
int plugin_perform_unintegration(session_t* session);
}

/// What is observed of some operations, as a check.
struct ObservedOperation {
  std::string_view check;
  std::string_view title;
  std::string_view promise;
};
std::span<const ObservedOperation> observed_operations();

/// What was seen so far of the operations of one check.
struct Observation {
  std::string_view check;
  std::size_t calls = 0;
  std::optional<Failure> breach;  ///< the first one
};
std::vector<Observation> observations();

/// How many commands the plug-in had run.
std::size_t commands_run();

}  // namespace host_kit

#endif
