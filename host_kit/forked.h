// Running a function in a child process, so that a crash, an endless loop and an exit are results.
#ifndef ECLIPSE_INT_HOST_KIT_FORKED_H
#define ECLIPSE_INT_HOST_KIT_FORKED_H

#include <functional>
#include <optional>
#include <string>

namespace host_kit {

struct ChildEnd {
  std::optional<std::string> message;  ///< what the function returned, if the child got so far
  std::string how;                     ///< how it ended otherwise, such as "the process was ended by SIGSEGV"
};

/// Calls `function` in a child that is a copy of this process: with one thread, in a process group of its own, with an empty
/// standard input, with its outputs in the file `outputs`, and with limits of processor time and memory. After `seconds`, ends
/// the child and all that it started.
ChildEnd run_in_child(const std::function<std::string()>& function, unsigned seconds, const std::string& outputs);

}  // namespace host_kit

#endif
