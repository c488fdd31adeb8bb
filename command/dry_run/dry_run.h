// A dry run of a session: it changes nothing, its commands are recorded instead of run, and so is what the plug-in asks of the
// host on the way.
#ifndef ECLIPSE_INT_DRY_RUN_DRY_RUN_H
#define ECLIPSE_INT_DRY_RUN_DRY_RUN_H

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dry_run/descriptor_files.h"
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

/// A component in whose package the plug-in looked for the executable of an instance.
struct ExecutableSearch {
  std::string component;                ///< its code
  std::vector<std::string> candidates;  ///< the files that it looked for
};

/// An action, and the variables that it set, with their values, in order.
struct DryRunAction {
  std::string name;
  std::vector<std::pair<std::string, std::string>> writes;
};

/// What a run of the session would do up to its first command; from there on, only the commands.
struct DryRun {
  std::vector<DryRunAction> actions;
  std::map<std::string, std::string> variables;
  std::vector<std::string> log;
  std::vector<std::string> files;  ///< the paths that were asked for as files, in order
  std::string refusal;             ///< as RunRecord has it
  /// By their numbers: 0 is the one for all features. The others, one for each feature, are run when it fails; in a dry run
  /// every command fails.
  std::map<std::size_t, std::string> commands;
  std::vector<std::string> variables_read;            ///< by the last action before it chose an executable
  std::vector<ExecutableSearch> executable_searches;  ///< of the last action
  std::string executable;                             ///< the one that the last action chose; empty when it chose none
  bool searched = false;                              ///< the plug-in looked for descriptor files
  bool every_component = false;             ///< in every component, without asking whether it is selected for this run
  std::vector<ComponentSearch> components;  ///< for each of the session

  /// Whether the log has this line.
  bool logged(std::string_view line) const;
};

/// Performs a dry run of the session, which stays as it is, and records the commands of these numbers. The plug-in
/// reads the descriptor files as `files` has them. The observers are notified of it as of a run; what one of them throws comes
/// out.
DryRun perform_dry_run(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session, DescriptorFiles& files,
                       const std::set<std::size_t>& wanted_commands, eclipse_host::RunObservers observers = {});

}  // namespace eclipse_dry_run

#endif
