#include "p2/profile_repair.h"

#include <algorithm>
#include <set>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"
#include "p2/instance_lock.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

bool is_readable(const ProfileState& state) { return state.error.empty(); }

/// The bundles that the instance starts with. Each line is "NAME,VERSION,LOCATION,LEVEL,STARTED".
std::set<Unit> listed_bundles(const fs::path& instance) {
  std::set<Unit> bundles;
  const fs::path list = instance / "configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";
  for (const std::string& line : lines_of(read_file(list, largest::configuration).bytes)) {
    const auto columns = split(line, ',');
    if (!line.starts_with('#') && columns.size() > 1) bundles.insert({columns[0], columns[1]});
  }
  return bundles;
}

std::size_t count_of(const ProfileState& state) { return state.units ? state.units->size() : 0; }

ProfileDamage damage_of(const ProfileState& newest, const std::string& error, const std::string& repair) {
  return {newest.file, "the newest state of the p2 profile, " + printable(newest.file.string()) + ", " + error,
          "run: " + repair};
}

}  // namespace

std::string LostUnits::text() const {
  return "has " + counted(units, "unit") + ", the state before it has " + std::to_string(before) +
         ", and bundles.info still lists " + counted(bundles, "bundle") +
         " of those that are missing, as if two directors had worked at the same time";
}

std::optional<LostUnits> lost_units(const fs::path& instance, const std::vector<ProfileState>& states) {
  if (states.empty() || !is_readable(states.front())) return std::nullopt;
  const ProfileState& newest = states.front();
  const auto before = std::find_if(states.begin() + 1, states.end(), is_readable);
  if (before == states.end() || count_of(newest) * 2 >= count_of(*before)) return std::nullopt;
  std::set<Unit> listed = listed_bundles(instance);
  if (newest.units) {
    for (const InstalledUnit& unit : *newest.units) listed.erase({unit.id, unit.version});
  }
  const auto bundles = std::count_if(before->units->begin(), before->units->end(), [&](const InstalledUnit& unit) {
    return listed.contains(Unit{unit.id, unit.version});
  });
  if (bundles == 0) return std::nullopt;
  return LostUnits{count_of(newest), count_of(*before), static_cast<std::size_t>(bundles), before->time};
}

std::string repair_command(const std::string& executable, const std::string& to) {
  const std::string word = eclipse_shell::is_plain(executable) ? executable : eclipse_shell::quoted_for_shell(executable);
  return "eclipse-int repair " + printable(word) + (to.empty() ? "" : " --to " + to);
}

std::optional<ProfileDamage> profile_damage(const std::string& executable) {
  if (executable.empty()) return std::nullopt;
  const fs::path instance = instance_directory(executable);
  const std::vector<ProfileState> states = newest_states(instance);
  if (states.empty()) return std::nullopt;
  const ProfileState& newest = states.front();
  if (newest.is_damaged) return damage_of(newest, newest.error + ", so every director fails", repair_command(executable));
  const auto lost = lost_units(instance, states);
  if (!lost) return std::nullopt;
  return damage_of(newest, lost->text(), repair_command(executable, lost->time_before));
}

std::optional<ProfileDamage> profile_damage_at_rest(const std::string& executable) {
  auto damage = profile_damage(executable);
  if (damage && is_in_use(instance_directory(executable))) return std::nullopt;
  return damage;
}

std::vector<ProfileState> newest_states(const fs::path& instance, const std::optional<std::string>& to) {
  std::vector<ProfileState> states;
  std::size_t readable = 0;
  bool reached = !to;
  for (const fs::path& file : profile_states(instance)) {
    if (readable >= 2 && reached) break;
    states.push_back(read_profile_state(file));
    if (is_readable(states.back())) ++readable;
    reached = reached || states.back().time == *to;
  }
  return states;
}

std::vector<ProfileState> states_to_move(const std::vector<ProfileState>& states, const std::optional<std::string>& to) {
  const auto kept = std::find_if(states.begin(), states.end(),
                                 [&](const ProfileState& state) { return to ? state.time == *to : !state.is_damaged; });
  if (to && kept == states.end()) throw RepairError("the profile has no state of the time " + printable(*to));
  if (kept != states.end() && !is_readable(*kept)) throw RepairError(printable(kept->file.string()) + " " + kept->error);
  if (!states.empty() && kept == states.end()) {
    throw RepairError("no state of the p2 profile in " + printable(states.front().file.parent_path().string()) +
                      " can be read");
  }
  return {states.begin(), kept};
}

fs::path move_aside(const ProfileState& state) {
  const std::string name = state.file.string() + ".damaged";
  std::error_code error;
  fs::path free = name;
  for (int number = 2; fs::exists(fs::symlink_status(free, error)); ++number) free = name + "." + std::to_string(number);
  fs::rename(state.file, free, error);
  if (error) throw RepairError("cannot rename " + printable(state.file.string()) + ": " + error.message());
  return free;
}

}  // namespace eclipse_p2
