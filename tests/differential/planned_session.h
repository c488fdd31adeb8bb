// A session as plain data: what is on disk, what the host knows and answers, and what is asked of the library.
#ifndef ECLIPSE_INT_TESTS_DIFFERENTIAL_PLANNED_SESSION_H
#define ECLIPSE_INT_TESTS_DIFFERENTIAL_PLANNED_SESSION_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "differential/readable.h"
#include "exports/exports.h"
#include "shell/command_runner.h"

namespace differential {

class ObservedSession;

using Variables = std::map<std::string, std::string>;

struct PlannedFile {
  std::string path;
  std::string content = "";
  enum class Kind { file, directory, dangling_link } kind = Kind::file;
};

struct PlannedPackage {
  std::string prefix = "";
  std::vector<std::string> files = {};
  std::string root = "";
};

struct PlannedComponent {
  std::string code;
  std::string installBase = "";
  std::string installDir = "";
  bool install = false;
  bool remove = false;
  bool installed = false;
  bool has_provider = true;
  std::optional<PlannedPackage> package = std::nullopt;
};

/// Something that is done with a library in a session.
struct Step {
  /// Tells a person what it is.
  std::string text;
  /// Does it and returns the result as a text.
  std::function<std::string(const exports::Table& library, ObservedSession& session)> take;
};

struct PlannedSession {
  std::vector<PlannedFile> files = {};
  std::vector<std::optional<PlannedComponent>> components = {};  ///< without a value: a null pointer
  /// From a name to the place in `components`, or to none for a null pointer.
  std::optional<std::map<std::string, std::optional<std::size_t>>> capabilities = {{}};
  Variables variables = {};
  bool graphical = false;
  /// What the commands come to, one after another; when all are used up, from the first again.
  std::vector<eclipse_shell::CommandResult> results = {{}};
  /// Every call of this host operation is answered badly; empty when none is.
  std::string failing_operation = "";
  std::vector<Step> steps = {};
};

/// All of a session, for a person to read.
std::string readable(const PlannedSession& plan);

/// Makes the files of a session below the working directory.
void write_files(const PlannedSession& plan);

// ---- Steps ----

Step call_action(const exports::Action& action);
/// The host sets a variable, unseen by the library.
Step set_variable(const std::string& name, const std::string& value);
Step integrate_into(const std::string& executable);
Step unintegrate_from(const std::string& executable);
/// The functions below are called with all components of the session.
Step match_codes(const std::string& prefix);
Step match_contents(const std::string& pattern);
Step list_ide_components();
Step find_executable(const std::string& name);
Step list_integration_files(int mode, bool filter_by_condition);
Step list_plugins(int mode, bool filter_by_condition);
Step list_eclipses(int mode, bool filter_by_condition);
Step read_descriptor(const std::string& directory, const std::string& file);

}  // namespace differential

#endif
