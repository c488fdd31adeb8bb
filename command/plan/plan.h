// What a run of a session would do.
#ifndef ECLIPSE_INT_PLAN_PLAN_H
#define ECLIPSE_INT_PLAN_PLAN_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dry_run/dry_run.h"
#include "eclipse_int/eclipse_int.h"
#include "plan/version_check.h"
#include "shell/command_runner.h"
#include "shell/shell_cause.h"
#include "shell/shell_reading.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_plan {

/// What becomes of a component when the plug-in looks for descriptor files.
enum class ComponentStatus {
  not_reached,   ///< it does not come to look for any
  no_code,       ///< every search skips the component
  not_selected,  ///< it was asked whether it is selected for this run, and is not
  no_package,    ///< its provider holds none
  taken
};

struct PlannedDescriptor {
  std::string path;
  bool exists = true;  ///< as a regular file
  std::size_t records = 0;
};

struct PlannedComponent {
  std::string code;
  ComponentStatus status = ComponentStatus::not_reached;
  std::vector<PlannedDescriptor> descriptors;
};

enum class RecordStatus {
  listed,         ///< its feature is given to the director at its slot
  repeated,       ///< its feature is listed at a lower slot already
  no_feature,     ///< takes a slot and adds its repository
  no_repository,  ///< passed over
};

struct PlannedRecord {
  std::string file;
  std::size_t line = 0;       ///< from 1
  std::size_t component = 0;  ///< its number in the plan
  plugin_config config;
  RecordStatus status = RecordStatus::no_repository;
  std::string repository;        ///< as the director gets it
  std::int64_t slot = 0;         ///< its place in the install order
  std::int64_t wanted_slot = 0;  ///< the number that is read from its order

  /// "FILE:LINE".
  std::string place() const { return file + ":" + std::to_string(line); }
  /// Otherwise the plug-in put its UNDEFINED_ORDER there, or the line says the same.
  bool gives_order() const { return config.order != "undefined"; }
};

struct PlannedCommand {
  std::string text;
  std::vector<std::string> intended;  ///< the words that the director is meant to get
  eclipse_shell::ShellReading shell;
  std::vector<eclipse_shell::ShellCause>
      causes;              ///< why the shell makes something else of it than is meant; none when the plug-in does
  std::string obstacle;    ///< why the shell cannot start the executable; empty when it can
  std::size_t number = 0;  ///< 0 for everything at once; of a retry, the number of its feature from 1

  bool is_too_long() const { return text.size() > eclipse_shell::longest_command; }
  bool is_passed_on() const { return shell.is_just(intended); }
  /// Whether the director gets what it is meant to get.
  bool is_sound() const { return !is_too_long() && obstacle.empty() && is_passed_on(); }
};

struct Plan {
  bool is_removal = false;
  std::vector<eclipse_dry_run::RecordedAction> actions;
  std::string refusal;               ///< why the run stops before the instance is changed; empty when it does not
  std::string last_words;            ///< the last line of the log
  std::vector<std::string> reasons;  ///< why there is no command, unless the run is refused
  std::optional<VersionCheck> version;
  std::string executable;        ///< of the instance; empty when none was chosen or the run is refused
  bool lacks_instance = false;   ///< an instance was chosen, and is not there
  bool every_component = false;  ///< whether they are selected is not asked, since the instance is new in this run
  std::vector<PlannedComponent> components;
  std::vector<PlannedRecord> records;  ///< in the order in which they are read
  std::set<std::string> repositories;
  std::optional<PlannedCommand> command;  ///< everything at once
  /// One by one, if that fails. Unless all were asked for, only those that have to be looked at: all others are like one of
  /// them, but for the name of the feature.
  std::vector<PlannedCommand> retries;
  std::size_t model_retry = 0;    ///< the number of the one that those which are left out are like
  std::size_t retry_count = 0;    ///< of all
  std::size_t longest_retry = 0;  ///< of all, in bytes

  /// The records that stand for the features of the command, in install order.
  std::vector<const PlannedRecord*> features() const;
  /// All records that took a slot, in the order of the slots.
  std::vector<const PlannedRecord*> by_slot() const;
};

enum class Retries { telling, all };

/// Finds out what eclipse_host::run_session() would do. Changes nothing and runs nothing; the session stays as it is.
Plan make_plan(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session, Retries retries);

}  // namespace eclipse_plan

#endif
