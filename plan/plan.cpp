#include "plan/plan.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <string_view>

#include "inquiry/library.h"
#include "plan/recorded_run.h"

using namespace eclipse_host;
using eclipse_inquiry::Library;

namespace eclipse_plan {

namespace {

constexpr std::size_t everything = static_cast<std::size_t>(-1);
constexpr std::string_view director = " -nosplash -application org.eclipse.equinox.p2.director ";

ComponentFate fate_of(const CatalogueComponent* component, const ComponentSearch& search, bool searched) {
  if (component == nullptr || component->code.empty()) return ComponentFate::no_code;
  if (!searched) return ComponentFate::not_reached;
  if (!search.package_asked) return ComponentFate::not_selected;
  return component->has_provider && component->package ? ComponentFate::taken : ComponentFate::no_package;
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

/// Without the quotes that the plug-in puts around the URL of an archive for the shell.
std::string joined_repositories(const std::set<std::string>& repositories) {
  std::vector<std::string> words;
  words.reserve(repositories.size());
  for (const std::string& repository : repositories) {
    words.push_back(repository.starts_with('"') ? repository.substr(1, repository.size() - 2) : repository);
  }
  return joined(words);
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
      : library_(plugin), session_(session), run_(record_run(plugin, session, retries == Retries::first ? 2 : everything)) {}

  Plan make() {
    plan_.is_removal = session_.variable("KORU_MODE") == "uninstall";
    plan_.actions = run_.actions;
    plan_.refusal = run_.refusal;
    plan_.last_words = run_.last_words;
    plan_.executable = run_.executable;
    plan_.lacks_instance = !run_.searched && (!run_.executable.empty() || run_.last_words == "eclipse_int: eclipse not found");
    plan_.every_component = run_.every_component;
    add_version_check();
    for (std::size_t i = 0; i < run_.components.size(); ++i) add_component(session_.components[i].get(), run_.components[i]);
    place_records();
    if (!run_.commands.empty()) add_commands();
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
    planned.fate = fate_of(component, search, run_.searched);
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
      record.fate = record.config.feature.empty() ? RecordFate::no_feature : RecordFate::listed;
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
      if (record->fate != RecordFate::listed || listed.insert(record->config.feature).second) continue;
      plan_.records[static_cast<std::size_t>(record - plan_.records.data())].fate = RecordFate::repeated;
    }
  }

  void add_commands() {
    std::vector<std::string> features;
    for (const PlannedRecord* const record : plan_.features()) features.push_back(record->config.feature);
    const std::string repositories = joined_repositories(plan_.repositories);
    plan_.command = planned(run_.commands.front(), joined(features), repositories);
    for (std::size_t i = 1; i < run_.commands.size(); ++i) {
      plan_.retries.push_back(planned(run_.commands[i], features.at(i - 1), repositories));
    }
    plan_.retry_count = features.size();
  }

  PlannedCommand planned(const std::string& text, const std::string& features, const std::string& repositories) const {
    PlannedCommand command{text, {}, read_as_shell(text)};
    command.intended = {text.substr(0, text.find(director)), "-nosplash", "-application", "org.eclipse.equinox.p2.director"};
    const auto add = [&](const std::string& option, const std::string& value) {
      command.intended.insert(command.intended.end(), {option, value});
    };
    if (!plan_.is_removal) add("-repository", repositories);
    add(plan_.is_removal ? "-u" : "-i", features);
    return command;
  }

  Library library_;
  const Session& session_;
  RecordedRun run_;
  std::map<std::string, std::int64_t> wanted_slots_;
  Plan plan_;
};

}  // namespace

Plan make_plan(const Plugin& plugin, const Session& session, Retries retries) {
  return PlanMaker(plugin, session, retries).make();
}

bool PlannedCommand::is_too_long() const { return text.size() > longest_argument; }

std::vector<const PlannedRecord*> Plan::by_slot() const {
  std::vector<const PlannedRecord*> placed;
  for (const PlannedRecord& record : records) {
    if (record.fate != RecordFate::no_repository) placed.push_back(&record);
  }
  std::stable_sort(placed.begin(), placed.end(), [](const auto* one, const auto* other) { return one->slot < other->slot; });
  return placed;
}

std::vector<const PlannedRecord*> Plan::features() const {
  std::vector<const PlannedRecord*> listed = by_slot();
  std::erase_if(listed, [](const PlannedRecord* record) { return record->fate != RecordFate::listed; });
  return listed;
}

}  // namespace eclipse_plan
