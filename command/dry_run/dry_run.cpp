#include "dry_run/dry_run.h"

#include <algorithm>

#include "base/memory_file.h"
#include "dry_run/log_lines.h"
#include "standalone_host/session_copy.h"

using namespace eclipse_host;
using namespace eclipse_shell;

namespace eclipse_dry_run {

namespace {

/// A component that is not selected and has no package. As the first of all components, it shows when the search begins, and
/// what the search asks of it shows how the components are chosen. It adds nothing to what is found.
std::unique_ptr<CatalogueComponent> probe_for(const Session& session) {
  auto probe = std::make_unique<CatalogueComponent>();
  const auto is_taken = [&](const std::string& code) {
    for (const auto& component : session.components) {
      if (component && component->code == code) return true;
    }
    return false;
  };
  do probe->code += "probe ";
  while (is_taken(probe->code));
  return probe;
}

/// Sees the calls of the last action, and records what was looked for where.
class SearchWatch {
 public:
  SearchWatch(const Session& session, const std::string& probe, DryRun& run) : probe_(probe), run_(run) {
    for (const auto& component : session.components) codes_.push_back(component ? component->code : "");
    run_.components.resize(codes_.size());
  }

  void see(const HostCall& call) {
    if (run_.searched) {
      see_in_search(call);
    } else if (run_.executable.empty() && see_in_choice(call)) {
      return;
    } else if (call.operation.starts_with("Component::") && call.arguments.front() == probe_) {
      run_.searched = true;
      run_.every_component = call.operation == "Component::provider";
    }
  }

 private:
  /// The executable is chosen when it is asked whether it exists.
  bool see_in_choice(const HostCall& call) {
    const std::string first = call.arguments.empty() ? "" : call.arguments.front();
    if (call.operation == "file_exists") {
      run_.executable = first;
    } else if (call.operation == "env_get_string") {
      run_.variables_read.push_back(first);
    } else if (call.operation == "Component::provider" && first != probe_) {
      run_.executable_searches.push_back({first, {}});
    } else if (call.operation == "is_file" && !run_.executable_searches.empty()) {
      run_.executable_searches.back().candidates.push_back(first);
    } else {
      return false;
    }
    return true;
  }

  void see_in_search(const HostCall& call) {
    const std::string& first = call.arguments.empty() ? "" : call.arguments.front();
    if (call.operation == "Component::installCondition" || call.operation == "Component::uninstallCondition") {
      note(first, &ComponentSearch::condition_asked);
    } else if (call.operation == "Component::provider") {
      note(first, &ComponentSearch::package_asked);
    } else if (call.operation == "path") {
      joined_ = first;
    } else if (call.operation == "is_file") {
      looked_for(first);
    } else if (call.operation == "print_log") {
      see_in_log(first);
    }
  }

  /// The components are asked in their order. Two of them may have the same code.
  void note(const std::string& code, bool ComponentSearch::*asked) {
    while (at_ < codes_.size() && (codes_[at_] != code || run_.components[at_].*asked)) ++at_;
    if (at_ < codes_.size()) run_.components[at_].*asked = true;
  }

  void see_in_log(std::string_view line) {
    const auto found = log_lines::found_descriptor(line);
    if (found && at_ < codes_.size()) {
      run_.components[at_].descriptors.push_back({path(joined_), *found, "", true});
      listed_.emplace_back(at_, run_.components[at_].descriptors.size() - 1);
    } else if (log_lines::missing_descriptor(line) && looked_at_ > 0) {
      descriptor(looked_at_ - 1).exists = false;
    }
  }

  /// The files are looked for in the order in which they were found in the lists.
  void looked_for(const std::string& file) {
    if (looked_at_ < listed_.size()) descriptor(looked_at_++).path = file;
  }

  ListedDescriptor& descriptor(std::size_t index) {
    const auto& [component, number] = listed_[index];
    return run_.components[component].descriptors[number];
  }

  std::string probe_;
  DryRun& run_;
  std::vector<std::string> codes_;
  std::size_t at_ = 0;                                       ///< the component that is searched
  std::string joined_;                                       ///< what was normalised last
  std::vector<std::pair<std::size_t, std::size_t>> listed_;  ///< component and number of each descriptor
  std::size_t looked_at_ = 0;
};

/// Makes the plug-in read descriptor files as they were first read. It asks the host for the path of a file, whether that is a
/// file, and for the path again, which it opens.
class DescriptorReading {
 public:
  explicit DescriptorReading(DescriptorFiles& files) : files_(files) {}

  void see(const HostCall& call) {
    if (call.operation == "is_file") {
      file_ = call.arguments.front();
    } else if (call.operation != "path") {
      file_.reset();
    }
  }

  /// The path to return for one that the plug-in asks for.
  std::string path_for(std::string path) {
    if (std::exchange(file_, std::nullopt) != path) return path;
    copy_.emplace(files_.at(path).bytes);
    return copy_->path();
  }

 private:
  DescriptorFiles& files_;
  std::optional<std::string> file_;  ///< that the last call asked about
  std::optional<eclipse_base::MemoryFile> copy_;
};

/// Thrown out of the run by its command runner when enough commands are known.
struct EnoughCommands {};

constexpr int failed = 1;  ///< the exit code of every command of a dry run

/// Records what happens before the first command, and then the commands.
class Recorder {
 public:
  Recorder(const Session& session, const std::string& probe, DescriptorFiles& files,
           const std::set<std::size_t>& wanted_commands)
      : watch_(session, probe, run_), reading_(files), wanted_commands_(wanted_commands) {}

  /// Sets the seams of the session that is run.
  void watch(Session& session) {
    session.on_call = [this](const HostCall& call) {
      if (commands_ > 0) return;
      if (call.operation == "is_file") run_.files.push_back(call.arguments.front());
      if (performing_) watch_.see(call);
      if (run_.searched) reading_.see(call);
    };
    session.replace_path = [this](std::string path) { return reading_.path_for(std::move(path)); };
    session.on_variable = [this](const std::string& name, const std::string& value) {
      if (commands_ == 0) run_.actions.back().writes.emplace_back(name, value);
    };
    session.run_command = [this, &session](const std::string& command) { return record(command, session); };
  }

  RunObserver observer() {
    RunObserver observer;
    observer.on_action = [this](const std::string& action) {
      run_.actions.push_back({action, {}});
      performing_ = eclipse_host::starts_director(action);
    };
    observer.on_log = [this](const std::string& line) {
      if (commands_ == 0) run_.log.push_back(line);
    };
    return observer;
  }

  DryRun finish(const Session& session, std::string refusal) {
    if (commands_ == 0) run_.variables = session.variables;
    run_.refusal = std::move(refusal);
    return std::move(run_);
  }

 private:
  CommandResult record(const std::string& command, const Session& session) {
    if (commands_ == 0) run_.variables = session.variables;
    const std::size_t number = commands_++;
    if (wanted_commands_.contains(number)) run_.commands.emplace(number, command);
    if (number >= *wanted_commands_.rbegin()) throw EnoughCommands();
    return {"", "", failed, 0};
  }

  DryRun run_;
  SearchWatch watch_;
  DescriptorReading reading_;
  const std::set<std::size_t>& wanted_commands_;
  std::size_t commands_ = 0;  ///< so far
  bool performing_ = false;
};

}  // namespace

bool DryRun::logged(std::string_view line) const { return std::find(log.begin(), log.end(), line) != log.end(); }

DryRun perform_dry_run(const Plugin& plugin, const Session& session, DescriptorFiles& files,
                       const std::set<std::size_t>& wanted_commands, RunObservers observers) {
  const std::unique_ptr<Session> copy = copy_of(session);
  std::unique_ptr<CatalogueComponent> probe = probe_for(session);
  Recorder recorder(session, probe->code, files, wanted_commands);
  copy->components.insert(copy->components.begin(), std::move(probe));
  recorder.watch(*copy);
  observers.push_back(recorder.observer());
  RunRecord record;
  try {
    run_session(plugin, *copy, record, observers);
  } catch (const EnoughCommands&) {
  }
  return recorder.finish(*copy, std::move(record.refusal));
}

}  // namespace eclipse_dry_run
