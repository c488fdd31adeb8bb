#include "plan/plan.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>

#include "dry_run/dry_run.h"
#include "dry_run/plugin_functions.h"
#include "plan/alike_retries.h"
#include "plan/reasons.h"

using namespace eclipse_shell;
using namespace eclipse_dry_run;

using namespace eclipse_host;
using eclipse_dry_run::Library;

namespace eclipse_plan {

namespace {

constexpr std::string_view director = " -nosplash -application org.eclipse.equinox.p2.director ";

ComponentStatus status_of(const CatalogueComponent* component, const ComponentSearch& search, bool searched) {
  if (component == nullptr || component->code.empty()) return ComponentStatus::no_code;
  if (!searched) return ComponentStatus::not_reached;
  if (!search.package_asked) return ComponentStatus::not_selected;
  return component->has_provider && component->package ? ComponentStatus::taken : ComponentStatus::no_package;
}

/// The numbers of the lines that the records of a file stand in. A line that is data gives the record with its first columns,
/// and a line that is none gives no record with them; so the next line with the columns of the next record is the record's.
std::vector<std::size_t> lines_of(const Library& library, const std::string& file, const std::vector<plugin_config>& records) {
  std::vector<std::size_t> numbers;
  std::ifstream stream(file, std::ios::binary);
  std::size_t number = 0;
  for (std::string line; numbers.size() < records.size() && std::getline(stream, line);) {
    ++number;
    const std::vector<std::string> columns = library.columns(line);
    const plugin_config& next = records[numbers.size()];
    if (columns.size() > 1 && columns[0] == next.repository && columns[1] == next.feature) numbers.push_back(number);
  }
  numbers.resize(records.size());
  return numbers;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : ",") + text;
  return joined;
}

/// The plug-in puts quotes around the URL of an archive for the shell.
bool is_archive(const std::string& repository) { return repository.starts_with('"'); }

std::string joined_repositories(const std::set<std::string>& repositories) {
  std::vector<std::string> words;
  words.reserve(repositories.size());
  for (const std::string& repository : repositories) {
    words.push_back(is_archive(repository) ? repository.substr(1, repository.size() - 2) : repository);
  }
  return joined(words);
}

/// Why the shell cannot start an executable that exists; empty when it can.
std::string obstacle_to(const std::string& executable) {
  const std::string quoted = "\"" + executable + "\"";
  if (executable.find('/') == executable.npos) {
    return quoted + " has no slash, so the shell looks for it along PATH and not in this directory; give its full path";
  }
  std::error_code error;
  if (std::filesystem::is_directory(executable, error)) {
    return quoted + " is a directory, so the shell cannot start it (exit code 126); give the path of the executable in it";
  }
  if (access(executable.c_str(), X_OK) != 0) {
    return quoted + " may not be executed, so the shell cannot start it (exit code 126); make it executable with chmod +x";
  }
  return "";
}

std::vector<plugin_config> configs_of(const std::vector<PlannedRecord>& records) {
  std::vector<plugin_config> configs;
  configs.reserve(records.size());
  for (const PlannedRecord& record : records) configs.push_back(record.config);
  return configs;
}

class PlanMaker {
 public:
  PlanMaker(const Plugin& plugin, const Session& session, Retries retries)
      : plugin_(plugin),
        library_(plugin),
        session_(session),
        retries_(retries),
        run_(record_run(plugin, session,
                        retries == Retries::telling ? std::optional(std::set<std::size_t>{0, 1}) : std::nullopt)) {}

  bool is_eclipse_chosen() const {
    const std::string choice = session_.variable("ECLIPSE_INTEGRATION_CHOICE");
    return choice == "internal" || choice == "user";
  }

  Plan make() {
    plan_.is_removal = session_.variable("KORU_MODE") == "uninstall";
    plan_.actions = run_.actions;
    plan_.refusal = run_.refusal;
    plan_.last_words = run_.last_words;
    plan_.executable = run_.executable;
    plan_.lacks_instance = run_.refusal.empty() && !run_.searched && is_eclipse_chosen();
    plan_.every_component = run_.every_component;
    add_version_check();
    for (std::size_t i = 0; i < run_.components.size(); ++i) add_component(session_.components[i].get(), run_.components[i]);
    place_records();
    if (!run_.commands.empty()) {
      add_commands();
    } else if (plan_.refusal.empty()) {
      plan_.reasons = reasons_for_no_command(plan_, run_, session_);
    }
    return std::move(plan_);
  }

 private:
  void add_version_check() {
    for (const RecordedAction& action : plan_.actions) {
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
    PlannedDescriptor planned{descriptor.path, descriptor.exists, 0};
    if (!descriptor.exists) return planned;
    std::vector<plugin_config> records = library_.records(descriptor.directory, descriptor.name);
    const std::vector<std::size_t> lines = lines_of(library_, descriptor.path, records);
    for (std::size_t i = 0; i < records.size(); ++i) {
      PlannedRecord& record = plan_.records.emplace_back();
      record.file = descriptor.path;
      record.line = lines[i];
      record.component = plan_.components.size();
      record.config = std::move(records[i]);
    }
    planned.records = records.size();
    return planned;
  }

  void place_records() {
    const auto placements = library_.placements(configs_of(plan_.records));
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
    return known != wanted_slots_.end() ? known->second : wanted_slots_[order] = library_.order(order);
  }

  void mark_repeated() {
    std::set<std::string_view> listed;
    for (const PlannedRecord* const record : plan_.by_slot()) {
      if (record->status != RecordStatus::listed || listed.insert(record->config.feature).second) continue;
      plan_.records[static_cast<std::size_t>(record - plan_.records.data())].status = RecordStatus::repeated;
    }
  }

  void add_commands() {
    for (const PlannedRecord* const record : plan_.features()) features_.push_back(record->config.feature);
    repositories_ = joined_repositories(plan_.repositories);
    plan_.command = planned(0, run_.commands.at(0));
    plan_.retry_count = features_.size();
    const std::size_t rest = run_.commands.at(1).size() - features_.front().size();
    for (const std::string& feature : features_) plan_.longest_retry = std::max(plan_.longest_retry, rest + feature.size());
    if (retries_ == Retries::telling) find_telling_retries();
    for (const auto& [number, text] : run_.commands) {
      if (number > 0) plan_.retries.push_back(planned(number, text));
    }
  }

  /// Mostly they are all alike, so that the first one tells enough.
  void find_telling_retries() {
    const TellingRetries telling = telling_retries(run_.commands.at(1), features_);
    plan_.model_retry = telling.model;
    if (telling.numbers.size() == 1) return;
    for (auto& command : record_run(plugin_, session_, telling.numbers).commands) run_.commands.insert(std::move(command));
  }

  PlannedCommand planned(std::size_t number, const std::string& text) {
    PlannedCommand command{text, {}, read_as_shell(text), {}, "", number};
    const std::string executable = text.substr(0, text.find(director));
    command.intended = {executable, "-nosplash", "-application", "org.eclipse.equinox.p2.director"};
    const auto add = [&](const std::string& option, const std::string& value) {
      command.intended.insert(command.intended.end(), {option, value});
    };
    if (!plan_.is_removal) add("-repository", repositories_);
    add(plan_.is_removal ? "-u" : "-i", number == 0 ? joined(features_) : features_[number - 1]);
    if (!command.is_passed_on()) add_causes(command);
    if (!cause_in(piece_of(executable))) command.obstacle = obstacle_to(executable);
    return command;
  }

  void add_causes(PlannedCommand& command) {
    const auto add = [&](const CommandPiece& piece) {
      if (auto cause = cause_in(piece)) command.causes.push_back(*std::move(cause));
    };
    add(piece_of(command.intended.front()));
    if (!plan_.is_removal) {
      const auto& causes = repository_causes();
      command.causes.insert(command.causes.end(), causes.begin(), causes.end());
    }
    for (const auto& [number, cause] : feature_causes()) {
      if (plan_.is_removal || command.number == 0 || command.number == number) command.causes.push_back(cause);
    }
  }

  /// By the numbers of the features, from 1.
  const std::map<std::size_t, ShellCause>& feature_causes() {
    if (feature_causes_) return *feature_causes_;
    feature_causes_.emplace();
    const auto listed = plan_.features();
    for (std::size_t i = 0; i < listed.size(); ++i) {
      auto cause = cause_in({i == 0 ? "" : ",", features_[i], ",", "column 2 of " + listed[i]->place()});
      if (cause) feature_causes_->emplace(i + 1, *std::move(cause));
    }
    return *feature_causes_;
  }

  CommandPiece piece_of(const std::string& executable) const {
    const bool is_named = run_.executable == session_.variable("USER_DEFINED_ECLIPSE_PATH");
    return {"", executable, " ", is_named ? "USER_DEFINED_ECLIPSE_PATH" : "the path of the executable"};
  }

  /// A directory is told once for its component, and a site once, with the first line that names it.
  const std::vector<ShellCause>& repository_causes() {
    if (repository_causes_) return *repository_causes_;
    repository_causes_.emplace();
    std::set<std::pair<std::size_t, bool>> directories;
    std::set<std::string_view> sites;
    for (const PlannedRecord& record : plan_.records) {
      if (record.status == RecordStatus::no_repository) continue;
      const bool archive = is_archive(record.repository);
      const std::string quote = archive ? "\"" : "";
      if (directories.emplace(record.component, archive).second) {
        add_cause({quote + "/", record.config.base_dir, "/" + quote,
                   "the directory of component " + plan_.components[record.component].code});
      }
      if (sites.insert(record.repository).second) {
        add_cause({quote + "/", record.config.repository, archive ? "!/\"" : ",", "column 1 of " + record.place()});
      }
    }
    return *repository_causes_;
  }

  void add_cause(const CommandPiece& piece) {
    if (auto cause = cause_in(piece)) repository_causes_->push_back(*std::move(cause));
  }

  const Plugin& plugin_;
  Library library_;
  const Session& session_;
  Retries retries_;
  RecordedRun run_;
  std::map<std::string, std::int64_t> wanted_slots_;
  std::vector<std::string> features_;  ///< in install order
  std::string repositories_;           ///< as the director is meant to get them
  std::optional<std::vector<ShellCause>> repository_causes_;
  std::optional<std::map<std::size_t, ShellCause>> feature_causes_;
  Plan plan_;
};

}  // namespace

Plan make_plan(const Plugin& plugin, const Session& session, Retries retries) {
  return PlanMaker(plugin, session, retries).make();
}

std::vector<const PlannedRecord*> Plan::by_slot() const {
  std::vector<const PlannedRecord*> placed;
  for (const PlannedRecord& record : records) {
    if (record.status != RecordStatus::no_repository) placed.push_back(&record);
  }
  std::stable_sort(placed.begin(), placed.end(), [](const auto* one, const auto* other) { return one->slot < other->slot; });
  return placed;
}

std::vector<const PlannedRecord*> Plan::features() const {
  std::vector<const PlannedRecord*> listed = by_slot();
  std::erase_if(listed, [](const PlannedRecord* record) { return record->status != RecordStatus::listed; });
  return listed;
}

}  // namespace eclipse_plan
