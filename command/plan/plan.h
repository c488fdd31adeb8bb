// What a run of a session would do.
#ifndef ECLIPSE_INT_PLAN_PLAN_H
#define ECLIPSE_INT_PLAN_PLAN_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dry_run/descriptor_lines.h"
#include "dry_run/dry_run.h"
#include "eclipse_int/eclipse_int.h"
#include "plan/version_check.h"
#include "shell/command_runner.h"
#include "shell/shell_cause.h"
#include "shell/shell_reading.h"

namespace eclipse_plan {

/// What becomes of a component when the plug-in looks for descriptor files.
enum class ComponentStatus {
  not_reached,   ///< the plug-in does not look for any
  no_code,       ///< every search skips a component without a code
  not_selected,  ///< the component is not selected for this run
  no_package,    ///< its provider has no package
  searched
};

struct PlannedDescriptor {
  std::string path;
  bool exists = true;  ///< as a regular file
  std::size_t records = 0;
  std::string error;  ///< why it cannot be read completely, which the plug-in ignores; empty when it can
};

struct PlannedComponent {
  std::string code;
  ComponentStatus status = ComponentStatus::not_reached;
  std::vector<PlannedDescriptor> descriptors;
};

enum class RecordStatus {
  listed,         ///< its feature is given to the director at its slot
  repeated,       ///< its feature is listed at a lower slot already
  no_feature,     ///< it only takes a slot and adds its repository
  no_repository,  ///< the plug-in ignores it
};

struct PlannedRecord {
  std::string file;
  std::size_t line = 0;       ///< from 1
  std::size_t component = 0;  ///< its number in the plan
  plugin_config config;
  RecordStatus status = RecordStatus::no_repository;
  bool is_blank = false;         ///< its line has nothing but tabs and spaces
  std::string repository;        ///< as the director gets it
  std::int64_t slot = 0;         ///< its place in the install order
  std::int64_t wanted_slot = 0;  ///< the number that is read from its order

  /// Of a table, as spreadsheets write them: the plug-in ignores it, and nobody misses it.
  bool is_empty_row() const { return is_blank && status == RecordStatus::no_repository; }
  /// "FILE:LINE".
  std::string place() const { return file + ":" + std::to_string(line); }
  /// Otherwise the order is the plug-in's UNDEFINED_ORDER, or the line contains this text.
  bool gives_order() const { return config.order != eclipse_dry_run::undefined_order; }
};

struct PlannedCommand {
  std::string text;
  std::vector<std::string> intended;  ///< the words that the director is to get
  eclipse_shell::ShellReading shell;
  std::vector<eclipse_shell::ShellCause>
      causes;                    ///< the texts that the shell changes; none when the plug-in itself composed the command badly
  std::string executable_error;  ///< why the shell cannot start the executable; empty when it can
  std::size_t number = 0;        ///< 0 for the command for all features; of a retry, the number of its feature from 1

  static constexpr const char* too_long = "the command is too long to be started";
  bool is_too_long() const { return text.size() > eclipse_shell::longest_command; }
  bool is_passed_on() const { return shell.starts_only(intended); }
  /// Whether the director is started with the intended words.
  bool runs_as_intended() const { return !is_too_long() && executable_error.empty() && is_passed_on(); }
};

struct Plan {
  bool is_removal = false;
  std::vector<eclipse_dry_run::DryRunAction> actions;
  std::string refusal;               ///< why the run stops before the instance is changed; empty when it does not
  std::string last_log_line;         ///< before the first command
  std::vector<std::string> reasons;  ///< why there is no command, unless the run is refused
  std::optional<VersionCheck> version;
  std::string executable;            ///< of the instance; empty when none was chosen or the run is refused
  bool is_instance_missing = false;  ///< an instance was chosen and does not exist
  bool every_component = false;      ///< all components are searched, selected or not, since the instance is new in this run
  std::vector<PlannedComponent> components;
  std::vector<PlannedRecord> records;  ///< in the order in which they are read
  /// Of an installation, which removes nothing: the records of components that are selected for removal alone, without those
  /// whose feature another component has as well.
  std::vector<PlannedRecord> unremoved;
  std::set<std::string> repositories;
  std::optional<PlannedCommand> command;  ///< for all features
  /// The commands for single features, which are run if that one fails. Unless all were requested, only the distinct ones: all
  /// others are like one of them except for the name of the feature. Either way, no more than make_plan() allows.
  std::vector<PlannedCommand> retries;
  std::size_t representative_retry = 0;    ///< the number of the one that those which are left out are like
  std::set<std::size_t> retries_left_out;  ///< the numbers of those that were too many
  std::size_t retry_count = 0;             ///< of all
  std::size_t longest_retry = 0;           ///< of all, in bytes

  /// The records that stand for the features of the command, in install order.
  std::vector<const PlannedRecord*> features() const;
  /// All records that took a slot, in the order of the slots.
  std::vector<const PlannedRecord*> by_slot() const;
  /// The URLs of the repositories, without the quotes that the shell removes.
  std::vector<std::string> repository_urls() const;
};

}  // namespace eclipse_plan

#endif
