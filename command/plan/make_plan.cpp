#include "plan/make_plan.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>

#include "base/text.h"
#include "dry_run/chosen_executable.h"
#include "dry_run/command_pieces.h"
#include "dry_run/descriptor_files.h"
#include "dry_run/descriptor_lines.h"
#include "dry_run/dry_run.h"
#include "dry_run/log_lines.h"
#include "dry_run/plugin_functions.h"
#include "p2/director_command.h"
#include "plan/distinct_retries.h"
#include "plan/reasons.h"

using namespace eclipse_dry_run;
using namespace eclipse_host;
using namespace eclipse_shell;

namespace eclipse_plan {

namespace {

ComponentStatus status_of(const CatalogueComponent* component, const ComponentSearch& search, bool searched) {
  if (component == nullptr || component->code.empty()) return ComponentStatus::no_code;
  if (!searched) return ComponentStatus::not_reached;
  if (!search.package_asked) return ComponentStatus::not_selected;
  return component->has_provider && component->package ? ComponentStatus::searched : ComponentStatus::no_package;
}

/// What the director is to get of a list: each text without quotes and backslashes that the shell removes.
template <typename Texts>
std::string joined_words(const Texts& texts) {
  std::vector<std::string> words(texts.size());
  std::transform(texts.begin(), texts.end(), words.begin(), as_word);
  return eclipse_base::joined(words, ",");
}

std::vector<plugin_config> configs_of(const std::vector<PlannedRecord>& records) {
  std::vector<plugin_config> configs;
  configs.reserve(records.size());
  for (const PlannedRecord& record : records) configs.push_back(record.config);
  return configs;
}

class PlanMaker {
 public:
  PlanMaker(const Plugin& plugin, const Session& session, Retries retries, const RunObservers& observers)
      : plugin_(plugin),
        functions_(plugin),
        session_(session),
        retries_(retries),
        observers_(observers),
        run_(perform_dry_run(plugin, session, files_, std::set<std::size_t>{0, 1}, observers)) {}

  Plan make() {
    plan_.is_removal = session_.is_removal();
    plan_.actions = run_.actions;
    plan_.refusal = run_.refusal;
    if (!run_.log.empty()) plan_.last_log_line = run_.log.back();
    plan_.executable = path_in_commands(run_.executable);
    plan_.is_instance_missing =
        run_.refusal.empty() && !run_.searched && (session_.chooses_internal() || session_.chooses_users_own());
    plan_.every_component = run_.every_component;
    add_version_check();
    for (std::size_t i = 0; i < run_.components.size(); ++i) add_component(session_.components[i].get(), run_.components[i]);
    place_records();
    if (!plan_.is_removal && run_.searched) add_unremoved();
    if (!run_.commands.empty()) {
      add_commands();
    } else if (plan_.refusal.empty()) {
      check_that_there_are_no_records();
      plan_.reasons = reasons_for_no_command(plan_, run_, session_);
    }
    return std::move(plan_);
  }

 private:
  void add_version_check() {
    for (const DryRunAction& action : plan_.actions) {
      for (const auto& [name, value] : action.writes) {
        if (name != "ECLIPSE_VERSION_IS_SUPPORTED") continue;
        plan_.version =
            VersionCheck{run_.variables.at("ECLIPSE_VERSION"), session_.expand("${ECLIPSE_MIN_SUPPORTED_VERSION}"), value};
      }
    }
  }

  void add_component(const CatalogueComponent* component, const ComponentSearch& search) {
    PlannedComponent planned;
    if (component != nullptr) planned.code = component->code;
    planned.status = status_of(component, search, run_.searched);
    for (const ListedDescriptor& descriptor : search.descriptors) planned.descriptors.push_back(add_descriptor(descriptor));
    plan_.components.push_back(std::move(planned));
  }

  PlannedDescriptor add_descriptor(const ListedDescriptor& descriptor) {
    PlannedDescriptor planned{descriptor.path, descriptor.exists, 0, ""};
    if (!descriptor.exists) return planned;
    planned.records = add_records(descriptor.directory, descriptor.path, plan_.components.size(), plan_.records);
    planned.error = files_.at(descriptor.path).error;
    return planned;
  }

  /// Returns how many there are.
  std::size_t add_records(const std::string& directory, const std::string& path, std::size_t component,
                          std::vector<PlannedRecord>& all) {
    const std::string& content = files_.at(path).bytes;
    auto lines = descriptor_lines(functions_, content);
    std::vector<plugin_config> records = functions_.records(directory, content);
    const auto line_of = lines_of_records(lines, records);
    for (std::size_t i = 0; i < records.size(); ++i) {
      PlannedRecord& record = all.emplace_back();
      record.file = path;
      record.line = line_of[i]->number;
      record.component = component;
      record.is_blank = line_of[i]->is_blank();
      record.config = std::move(records[i]);
    }
    return records.size();
  }

  static bool is_only_for_removal(const CatalogueComponent& component) {
    return component.selected_for_removal && !component.selected_for_install && !component.code.empty();
  }

  void add_unremoved() {
    const auto& components = session_.components;
    if (std::none_of(components.begin(), components.end(), [](const auto& each) { return each && is_only_for_removal(*each); }))
      return;
    std::vector<PlannedRecord> others;
    for (std::size_t i = 0; i < components.size(); ++i) {
      if (!components[i] || !components[i]->has_provider || !components[i]->package) continue;
      auto& records = is_only_for_removal(*components[i]) ? plan_.unremoved : others;
      for (const std::string& listed : components[i]->package->files) {
        const auto file = functions_.descriptor(*components[i], listed);
        if (file && file->exists) add_records(file->directory, file->path, i, records);
      }
    }
    std::set<std::string_view> staying;
    for (const PlannedRecord& record : others) staying.insert(record.config.feature);
    std::erase_if(plan_.unremoved, [&](const PlannedRecord& record) { return staying.contains(record.config.feature); });
  }

  void place_records() {
    const auto placements = functions_.placements(configs_of(plan_.records));
    for (std::size_t i = 0; i < placements.size(); ++i) {
      if (!placements[i]) continue;
      PlannedRecord& record = plan_.records[i];
      record.status = record.config.feature.empty() ? RecordStatus::no_feature : RecordStatus::listed;
      record.repository = placements[i]->url;
      record.slot = placements[i]->slot;
      record.wanted_slot = wanted_slot(record.config.order);
      plan_.repositories.insert(record.repository);
    }
    mark_repeated();
  }

  /// Most records give no order.
  std::int64_t wanted_slot(const std::string& order) {
    const auto known = wanted_slots_.find(order);
    return known != wanted_slots_.end() ? known->second : wanted_slots_[order] = functions_.order(order);
  }

  void mark_repeated() {
    std::set<std::string_view> listed;
    for (const PlannedRecord* const record : plan_.by_slot()) {
      if (record->status != RecordStatus::listed || listed.insert(record->config.feature).second) continue;
      plan_.records[static_cast<std::size_t>(record - plan_.records.data())].status = RecordStatus::repeated;
    }
  }

  void add_commands() {
    for (const PlannedRecord* const record : plan_.features()) {
      features_.push_back(record->config.feature);
      places_.push_back(record->place());
    }
    check_that_records_are_those_of(run_.commands.at(0));
    repositories_ = joined_words(plan_.repositories);
    plan_.command = planned(0, run_.commands.at(0));
    plan_.retry_count = features_.size();
    const std::size_t rest = run_.commands.at(1).size() - features_.front().size();
    for (const std::string& feature : features_) plan_.longest_retry = std::max(plan_.longest_retry, rest + feature.size());
    add_retries(limited(wanted_retries(), rest));
  }

  /// The plug-in reads the descriptors itself, so that one may be changed, or fail to be read, between the two readings.
  void check_that_records_are_those_of(const std::string& command) const {
    if (features_.empty() || command.find(eclipse_base::joined(features_, ",")) == command.npos) throw_as_read_differently();
  }

  void check_that_there_are_no_records() const {
    const std::string& last = plan_.last_log_line;
    const bool are_none =
        last == eclipse_dry_run::log_lines::nothing_to_install || last == eclipse_dry_run::log_lines::nothing_to_remove;
    if (are_none && !plan_.features().empty() && !plan_.repositories.empty()) throw_as_read_differently();
  }

  [[noreturn]] void throw_as_read_differently() const {
    const PlannedDescriptor* const descriptor = likely_changed();
    if (descriptor == nullptr) {
      throw PluginError(plugin_.library(),
                        "gives the director features, but logs no descriptor file; use the plug-in of this version");
    }
    const std::string& error = descriptor->error;
    throw eclipse_base::FileError(descriptor->path,
                                  (error.empty() ? "does not contain the lines that the plug-in read from it" : error) +
                                      "; repeat the command when nobody is changing the descriptor files");
  }

  /// The first that cannot be read, or any; null when the plug-in logs none.
  const PlannedDescriptor* likely_changed() const {
    const PlannedDescriptor* changed = nullptr;
    for (const PlannedComponent& component : plan_.components) {
      for (const PlannedDescriptor& descriptor : component.descriptors) {
        if (changed == nullptr || changed->error.empty()) changed = &descriptor;
      }
    }
    return changed;
  }

  std::set<std::size_t> wanted_retries() {
    if (retries_ == Retries::distinct) {
      const DistinctRetries distinct = distinct_retries(run_.commands.at(1), features_);
      plan_.representative_retry = distinct.representative;
      return distinct.numbers;
    }
    std::set<std::size_t> all;
    for (std::size_t number = 1; number <= features_.size(); ++number) all.insert(all.end(), number);
    return all;
  }

  /// As many of these retries as a plan may contain, with the first one and the representative. `rest` is the length of a retry
  /// without its feature.
  std::set<std::size_t> limited(const std::set<std::size_t>& numbers, std::size_t rest) {
    std::set<std::size_t> kept = {1};
    if (plan_.representative_retry != 0) kept.insert(plan_.representative_retry);
    const std::size_t most = retries_ == Retries::distinct ? most_distinct_retries : features_.size();
    std::size_t size = 0;
    for (const std::size_t number : numbers) {
      size += rest + features_[number - 1].size() + known_of_retry;
      if (kept.contains(number)) continue;
      auto& place = kept.size() < most && size <= largest_retries ? kept : plan_.retries_left_out;
      place.insert(place.end(), number);
    }
    return kept;
  }

  /// Usually all retries are alike, and the first one is enough.
  void add_retries(const std::set<std::size_t>& numbers) {
    if (numbers.size() > 1) {
      for (auto& command : perform_dry_run(plugin_, session_, files_, numbers, observers_).commands)
        run_.commands.insert(std::move(command));
    }
    for (const auto& [number, text] : run_.commands) {
      if (number > 0) plan_.retries.push_back(planned(number, text));
    }
  }

  PlannedCommand planned(std::size_t number, const std::string& text) {
    PlannedCommand command{text, {}, read_as_shell(text), {}, "", number};
    const auto cut = eclipse_p2::cut_director_command(text);
    const std::string executable = cut ? cut->executable : text;
    command.intended =
        eclipse_p2::intended_words({.executable = executable,
                                    .is_removal = plan_.is_removal,
                                    .repositories = repositories_,
                                    .features = number == 0 ? joined_words(features_) : as_word(features_[number - 1])});
    StartObstacle obstacle = start_obstacle(executable, origin_of_executable());
    if (obstacle.error) command.executable_error = obstacle.error->text();
    if (!command.is_passed_on()) add_causes(command, std::move(obstacle.cause));
    return command;
  }

  void add_causes(PlannedCommand& command, std::optional<ShellCause> in_executable) {
    const auto add = [&](std::optional<ShellCause> cause) {
      if (cause) command.causes.push_back(*std::move(cause));
    };
    add(std::move(in_executable));
    if (!plan_.is_removal) {
      const auto& causes = repository_causes();
      command.causes.insert(command.causes.end(), causes.begin(), causes.end());
    }
    // A removal tries one feature by adding it to the command for all.
    if (command.number == 0 || plan_.is_removal) {
      const auto& causes = feature_causes();
      command.causes.insert(command.causes.end(), causes.begin(), causes.end());
    } else {
      add(cause_in(piece_of_feature(command.number - 1, {})));
    }
  }

  /// Of those in the list of all.
  const std::vector<ShellCause>& feature_causes() {
    if (feature_causes_) return *feature_causes_;
    feature_causes_.emplace();
    for (std::size_t i = 0; i < features_.size(); ++i) {
      const InList place = {.is_first = i == 0, .is_last = i + 1 == features_.size()};
      if (auto cause = cause_in(piece_of_feature(i, place))) feature_causes_->push_back(*std::move(cause));
    }
    return *feature_causes_;
  }

  CommandPiece piece_of_feature(std::size_t index, InList place) const {
    return feature_piece(features_[index], place, "column 2 of " + places_[index]);
  }

  const char* origin_of_executable() const {
    return session_.chooses_users_own() ? "USER_DEFINED_ECLIPSE_PATH" : "the path of the executable";
  }

  /// Each directory is reported once for its component, and each repository once, with the first line that names it.
  const std::vector<ShellCause>& repository_causes() {
    if (repository_causes_) return *repository_causes_;
    repository_causes_.emplace();
    std::set<std::pair<std::size_t, bool>> directories;
    std::set<std::string_view> repositories;
    for (const PlannedRecord& record : plan_.records) {
      if (record.status == RecordStatus::no_repository) continue;
      const bool archive = is_archive_url(record.repository);
      if (directories.emplace(record.component, archive).second) {
        add_cause(directory_piece(record.config.base_dir, archive,
                                  "the directory of component " + plan_.components[record.component].code));
      }
      if (repositories.insert(record.repository).second) {
        const InList place = {.is_last = record.repository == *plan_.repositories.rbegin()};
        add_cause(repository_piece(record.config.base_dir, record.config.repository, archive, place,
                                   "column 1 of " + record.place()));
      }
    }
    return *repository_causes_;
  }

  void add_cause(const CommandPiece& piece) {
    if (auto cause = cause_in(piece)) repository_causes_->push_back(*std::move(cause));
  }

  const Plugin& plugin_;
  PluginFunctions functions_;
  const Session& session_;
  Retries retries_;
  DescriptorFiles files_;
  const RunObservers& observers_;
  DryRun run_;
  std::map<std::string, std::int64_t> wanted_slots_;
  std::vector<std::string> features_;  ///< in install order
  std::vector<std::string> places_;    ///< of the features
  std::string repositories_;           ///< the words that the director is to get
  std::optional<std::vector<ShellCause>> repository_causes_;
  std::optional<std::vector<ShellCause>> feature_causes_;
  Plan plan_;
};

}  // namespace

Plan make_plan(const Plugin& plugin, const Session& session, Retries retries, const RunObservers& observers) {
  return PlanMaker(plugin, session, retries, observers).make();
}

}  // namespace eclipse_plan
