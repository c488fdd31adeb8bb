// A run of a session that changes nothing: its commands are recorded instead of run, and what the plug-in asks of the host on
// the way is seen.
#ifndef ECLIPSE_INT_DRY_RUN_DRY_RUN_H
#define ECLIPSE_INT_DRY_RUN_DRY_RUN_H

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "standalone_host/session_run.h"

namespace eclipse_dry_run {

/// A descriptor file that the plug-in found in a package's list.
struct ListedDescriptor {
  std::string directory;  ///< as process_file() takes it
  std::string name;       ///< below the directory
  std::string path;       ///< where the plug-in looked for it
  bool exists = true;     ///< as a regular file
};

/// What the plug-in asked of a component when it looked for descriptor files.
struct ComponentSearch {
  bool condition_asked = false;
  bool package_asked = false;
  std::vector<ListedDescriptor> descriptors;
};

/// A component in whose package the plug-in looked for the executable of an Eclipse.
struct LookedInto {
  std::string component;                ///< its code
  std::vector<std::string> candidates;  ///< the files that it looked for
};

/// An action, and the variables that it set, with their values, in order.
struct RecordedAction {
  std::string name;
  std::vector<std::pair<std::string, std::string>> writes;
};

/// The run that a session would get, up to its first command; from there on, only the commands.
struct RecordedRun {
  std::vector<RecordedAction> actions;
  std::map<std::string, std::string> variables;
  std::string last_words;  ///< the last line of the log
  std::string refusal;     ///< as RunRecord has it
  /// By their numbers: 0 is everything at once, and the others are run when it fails and each of them fails.
  std::map<std::size_t, std::string> commands;
  std::vector<std::string> asked_variables;  ///< those that the last action asked for before it chose an executable
  std::vector<LookedInto> looked_into;       ///< where the last action looked for the executable
  std::string executable;                    ///< the one that the last action used or missed; empty when it chose none
  bool searched = false;                     ///< the plug-in came to look for descriptor files
  bool every_component = false;              ///< it did so in every component, without asking for their conditions
  std::vector<ComponentSearch> components;   ///< for each of the session
};

/// Records the run of a session, with the commands of these numbers, or with all.
RecordedRun record_run(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session,
                       const std::optional<std::set<std::size_t>>& wanted_commands);

}  // namespace eclipse_dry_run

#endif
