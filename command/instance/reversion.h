// Bringing an instance back to an older state of its profile, by its director.
#ifndef ECLIPSE_INT_INSTANCE_REVERSION_H
#define ECLIPSE_INT_INSTANCE_REVERSION_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "p2/director_failure.h"
#include "p2/profile.h"
#include "p2/unit_change.h"
#include "shell/command_runner.h"

namespace eclipse_instance {

struct Reversion {
  std::string command;                         ///< that was run; empty when none was
  std::optional<eclipse_p2::Failure> failure;  ///< of the command
  std::string error;                           ///< why the instance is not as it was in the older state; empty when it is
};

/// What is installed according to a state.
eclipse_p2::InstalledUnits installed_in(const eclipse_p2::ProfileState& state);

/// Why going back from one state to another is not tried: a state cannot be read, or the other one has no director, so that
/// there would be no way forward. Empty when it is tried.
std::string why_not_revertible(const eclipse_p2::ProfileState& newest, const eclipse_p2::ProfileState& target);

/// A state with the units of another one that was written where the instance in this directory is now: for an instance that was
/// copied or moved, p2 would go back to a state of before in the directory of that time. The state itself if it has no
/// directory; nothing when there is none.
std::optional<eclipse_p2::ProfileState> same_state_here(const std::filesystem::path& instance,
                                                        const eclipse_p2::ProfileState& state);

/// Lets the director of the instance with this executable bring it back to the state of this time, and compares what is
/// installed with that state. What has to be fetched comes from the repositories, which may be missing if nothing has to be; of
/// very many, the first ones.
/// The caller must have the lock of the instance, and the newest state must not be damaged. What `progress` throws comes out.
Reversion revert(const std::string& executable, const std::string& time, const std::vector<std::string>& repositories,
                 const eclipse_shell::CommandProgress& progress = {});

}  // namespace eclipse_instance

#endif
