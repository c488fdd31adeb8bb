// The command lines that run a p2 director: composing one, and cutting one into its parts. The plug-in composes its own.
#ifndef ECLIPSE_INT_P2_DIRECTOR_COMMAND_H
#define ECLIPSE_INT_P2_DIRECTOR_COMMAND_H

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "p2/unit.h"

namespace eclipse_p2 {

/// What follows the executable.
inline constexpr const char* first_option = "-nosplash";
/// What the list of the features to install follows.
inline constexpr const char* install_option = "-i";
/// What the directory of the configuration follows, if Eclipse does not start with its own.
inline constexpr const char* configuration_option = "-configuration";

/// A command that installs or removes features. The lists are separated by commas, and are not quoted.
struct DirectorCommand {
  std::string executable = {};
  bool is_removal = false;
  std::string repositories = {};  ///< empty for a removal
  std::string features = {};
  /// Of an installation that is not the plug-in's: the features that are removed in the same step.
  std::string replaced = {};
  /// When the plug-in retries a removal, it appends one feature to the whole failed command. No shell accepts the result.
  std::string appended_feature = {};
};

/// The features that it names, as the plug-in wrote them.
std::vector<std::string> features_of(const DirectorCommand& command);

/// Cuts a command of the plug-in. Nothing for a command that does not install or remove features with a director.
std::optional<DirectorCommand> cut_director_command(std::string_view command);

/// The executable that a command of the plug-in or of our own starts; empty when it starts no director.
std::string executable_started_by(std::string_view command);

/// The ids of the units that a command asks a director to install or to remove, as the shell makes them; a command that cannot
/// be started asks for none.
std::set<std::string> units_named_by(const std::string& command);

/// The words that a shell has to make of a command, the executable first.
std::vector<std::string> intended_words(const DirectorCommand& command);

/// Whether a shell makes of a command of the plug-in one command with as many words as it is meant to have, and no more.
bool starts_one_director(std::string_view command);

/// The command that prints the roots of the instance with this executable, in English, quoted for a shell.
std::string list_roots_command(const std::string& executable);

/// The command that asks the director whether it would do what another command wants, and does nothing ("-verifyOnly"): in
/// English, quoted for a shell. It starts with the configuration in this directory, or with the instance's own if that is
/// empty.
std::string verify_only_command(const DirectorCommand& command, const std::string& configuration);

/// The command that brings the instance with this executable back to the state of the profile of this time, in English, quoted
/// for a shell. Without a repository (one of the URLs) that can be loaded, the director refuses to.
std::string revert_command(const std::string& executable, const std::vector<std::string>& urls, const std::string& time);

/// Units that are replaced by others in one step.
struct UnitReplacement {
  std::vector<Unit> removed;
  std::vector<Unit> installed;

  bool is_empty() const { return removed.empty() && installed.empty(); }
};

/// The command that does so, or changes nothing, in English, quoted for a shell.
std::string replace_command(const std::string& executable, const std::vector<std::string>& urls,
                            const UnitReplacement& replacement);

}  // namespace eclipse_p2

#endif
