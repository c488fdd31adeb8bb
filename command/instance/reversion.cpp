// Seen with the director of Eclipse 4.26: "-revert TIME" wants a repository that can be loaded, even if it fetches nothing.
// What is still in the pool of bundles is not fetched again. It writes a new state, unless the newest one is the same as the
// older one.
#include "instance/reversion.h"

#include <algorithm>
#include <filesystem>

#include "base/file_replacement.h"
#include "base/printable.h"
#include "base/temporary_directory.h"
#include "base/text.h"
#include "base/uri.h"
#include "instance/damage.h"
#include "instance/profile_history.h"
#include "p2/director_command.h"
#include "p2/instance_paths.h"

namespace fs = std::filesystem;
using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

/// The bundle without which nobody can install or remove anything.
constexpr std::string_view director_bundle = "org.eclipse.equinox.p2.director.app";

constexpr std::string_view metadata =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<?metadataRepository version='1.1.0'?>\n"
    "<repository name='none' type='org.eclipse.equinox.internal.p2.metadata.repository.LocalMetadataRepository' "
    "version='1'/>\n";
constexpr std::string_view artifacts =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<?artifactRepository version='1.1.0'?>\n"
    "<repository name='none' type='org.eclipse.equinox.p2.artifact.repository.simpleRepository' version='1'/>\n";

/// Makes a repository of a directory with nothing in it, which can always be loaded. Returns its URL. Throws FileError.
std::string empty_repository(const fs::path& directory) {
  replace_file(directory / "content.xml", metadata);
  replace_file(directory / artifact_list, artifacts);
  return uri_of(fs::absolute(directory).string());
}

bool has_director(const ProfileState& state) {
  return state.units && std::any_of(state.units->begin(), state.units->end(),
                                    [](const InstalledUnit& unit) { return unit.id == director_bundle; });
}

/// Why the instance is not as in the older state, although its director says so; empty when it is.
std::string difference_from(const ProfileState& target, const fs::path& instance) {
  const fs::path newest = profile_file(instance);
  const ProfileState now = read_profile_state(newest);
  if (!now.is_readable()) return text_of_newest_state(newest, now.error);
  const UnitChange change = change_between(installed_in(now), installed_in(target));
  return change.is_empty() ? "" : "the director reports success, but these units differ: " + printable(text_of(change));
}

}  // namespace

InstalledUnits installed_in(const ProfileState& state) {
  return installed_of(state.units.value_or(std::vector<InstalledUnit>()));
}

std::string why_not_revertible(const ProfileState& newest, const ProfileState& target) {
  for (const ProfileState* const state : {&newest, &target}) {
    if (!state->error.empty()) return "the state " + printable(state->time) + " of the p2 profile " + state->error;
  }
  if (!has_director(newest) || has_director(target)) return "";
  return "the state " + printable(target.time) + " has no director (" + std::string(director_bundle) +
         "), so nothing could be installed or undone afterwards";
}

std::optional<ProfileState> same_state_here(const fs::path& instance, const ProfileState& state) {
  if (was_written_in(state, instance)) return state;
  const InstalledUnits units = installed_in(state);
  std::optional<ProfileState> found;
  for (const fs::path& file : profile_states(instance)) {
    if (!is_before(state.time, time_of_state(file))) break;
    ProfileState newer = read_profile_state(file);
    if (newer.error.empty() && was_written_in(newer, instance) && change_between(units, installed_in(newer)).is_empty())
      found = std::move(newer);
  }
  return found;
}

Reversion revert(const std::string& executable, const std::string& time, const std::vector<std::string>& repositories,
                 const eclipse_shell::CommandProgress& progress) try {
  const fs::path instance = instance_directory(executable);
  const ProfileState target = state_of_time(instance, time);
  const auto here = same_state_here(instance, target);
  if (!here) {
    return {"", std::nullopt,
            "the state " + target.time + " was written in " + printable(target.install_folder) +
                ", from which this Eclipse was copied or moved, and p2 would change that directory"};
  }
  const TemporaryDirectory empty;
  std::vector<std::string> all = {empty_repository(empty.path())};
  for (const std::string& url : repositories) {
    if (std::find(all.begin(), all.end(), url) == all.end()) all.push_back(url);
  }
  // What has to be fetched is most likely in the first ones.
  std::string command = revert_command(executable, all, here->time);
  for (; command.size() > eclipse_shell::longest_command && all.size() > 1;
       command = revert_command(executable, all, here->time)) {
    all.pop_back();
  }
  Reversion reversion{std::move(command), {}, {}};
  const InstanceLogs logs(instance);
  const auto result = eclipse_shell::run_in_shell(reversion.command, progress);
  if (result.exit_code != 0) {
    reversion.failure = explain(result, logs);
    reversion.error = "the director did not revert the profile: exit code " + std::to_string(result.exit_code);
  } else {
    reversion.error = difference_from(target, instance);
  }
  return reversion;
} catch (const FileError& no_repository) {
  return {"", std::nullopt, no_repository.what()};
}

}  // namespace eclipse_instance
