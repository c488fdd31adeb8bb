// What an Eclipse instance has installed, as the p2 profile in it records.
#ifndef ECLIPSE_INT_P2_PROFILE_H
#define ECLIPSE_INT_P2_PROFILE_H

#include <filesystem>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "p2/unit.h"

namespace eclipse_p2 {

/// A list of ids that its copies share: thousands of units may have one id, and whatever requires one requires them all.
class SharedIds {
 public:
  SharedIds() : SharedIds(std::vector<std::string>()) {}
  SharedIds(std::initializer_list<std::string> ids) : SharedIds(std::vector<std::string>(ids)) {}
  explicit SharedIds(std::vector<std::string> ids) : ids_(std::make_shared<const std::vector<std::string>>(std::move(ids))) {}

  const std::vector<std::string>& get() const { return *ids_; }

 private:
  std::shared_ptr<const std::vector<std::string>> ids_;
};

struct InstalledUnit {
  Unit unit() const { return {id, version}; }

  std::string id;
  std::string version;
  SharedIds required_by;       ///< the installed units that require it as a unit or as a bundle
  bool is_root = false;        ///< it was installed by name; otherwise it came along with another unit
  bool is_bundle = false;      ///< it has a jar that the instance starts with
  std::string pinned_by = {};  ///< a root that requires exactly this version; empty when none does
  bool is_singleton = true;    ///< an instance can have only one version of it
};

/// Every state of the profile of the instance in this directory, newest first. p2 starts from the first one and never falls
/// back to another, even if that one is damaged. Empty when there is none, or when it is not certain which profile is the
/// instance's, or where it is.
std::vector<std::filesystem::path> profile_states(const std::filesystem::path& instance);

/// Files beside the states that p2 takes for states by the ends of their names, although these do not begin with a time: it
/// refuses every change then.
std::vector<std::filesystem::path> misnamed_states(const std::filesystem::path& instance);

/// The states that a repair has renamed.
std::vector<std::filesystem::path> states_aside(const std::filesystem::path& instance);

/// A state of a profile.
struct ProfileState {
  std::filesystem::path file;
  std::string time;         ///< when it was written: the milliseconds since 1970 that its file name begins with
  std::string error;        ///< why it cannot be read, to be read after its file name, such as "is damaged"; empty when it can
  bool is_damaged = false;  ///< the error is in its content, so that p2 cannot read it either
  std::optional<std::vector<InstalledUnit>> units;  ///< nothing when it has no list of them
  std::string recorded_time = {};                   ///< as its content says; empty when it does not
  std::string install_folder = {};  ///< the directory of the instance when it was written; empty when it does not say
  bool is_roaming = false;          ///< p2 follows the instance when it is copied or moved

  bool is_readable() const { return error.empty(); }
};

/// The date of a time of a state, in universal time.
std::string date_of(const std::string& time);

ProfileState read_profile_state(const std::filesystem::path& file);

/// The states that were read so far, each once, however many ask for it. p2 writes a state once, so only one that it was just
/// writing is another one later.
class ProfileStates {
 public:
  /// The state in a file. The result stays where it is until this object is assigned to.
  const ProfileState& at(const std::filesystem::path& file);

 private:
  std::map<std::filesystem::path, ProfileState> states_;
};

/// What the units of a state consist of, and where p2 keeps that.
struct ProfileArtifacts {
  /// Of the units that consist of bundles and features, the artifacts as name_of_artifact() names them.
  std::map<Unit, std::vector<std::string>> of_units;
  std::string pool;                 ///< the directory of the bundle pool; empty when the state does not say
  std::vector<std::string> beside;  ///< URLs of what p2 looks into beside the pool, such as the "dropins"
};

/// Of a state that can be read.
ProfileArtifacts read_profile_artifacts(const std::filesystem::path& file);

/// The time of a state, which its file name begins with.
std::string time_of_state(const std::filesystem::path& file);

/// Whether the instance was in this directory when the state was written, as far as the state says.
bool was_written_in(const ProfileState& state, const std::filesystem::path& instance);

/// Whether p2 takes the state for what is in this directory: it was written here, or the instance was copied or moved.
bool is_about(const ProfileState& state, const std::filesystem::path& instance);

/// Whether a state of one time was written before that of another.
bool is_before(const std::string& time, const std::string& other);

/// The newest state; empty when there is none.
std::filesystem::path profile_file(const std::filesystem::path& instance);

/// Every unit that the profile of the instance in this directory has, roots and what came along with them, as its newest state
/// says. Nothing when there is none that can be read, as when the profile is kept elsewhere.
std::optional<std::vector<InstalledUnit>> profile_units(const std::filesystem::path& instance, ProfileStates& states);
/// The same, read anew.
std::optional<std::vector<InstalledUnit>> profile_units(const std::filesystem::path& instance);

/// Why profile_units() gives nothing, such as "FILE is damaged"; empty when the instance has no profile of its own.
std::string profile_units_error(const std::filesystem::path& instance);

/// Why no director of an instance finds a profile, and how to fix that.
struct MissingProfile {
  std::string message;
  std::string fix;
};

/// Nothing when the instance names no profile, when that has a state, or when it is not certain that it has none.
std::optional<MissingProfile> missing_profile(const std::filesystem::path& instance);

/// Why there are no states, to be read after the name of the instance.
std::string why_no_profile(const std::filesystem::path& instance);

/// The units that were installed by name.
std::vector<Unit> roots_of(const std::vector<InstalledUnit>& units);

}  // namespace eclipse_p2

#endif
