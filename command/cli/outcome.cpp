#include "cli/outcome.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "cli/one_line.h"

using namespace eclipse_host;

namespace eclipse_cli {

namespace {

using eclipse_host::CommandRecord;
using eclipse_host::RunRecord;
using Variables = std::map<std::string, std::string>;

/// What a director command asks for, read from its text.
struct Request {
  bool removal;
  std::string instance;               ///< the directory of the executable
  std::vector<std::string> features;  ///< those of the first list: what stands behind it in the retry of a removal repeats one
};

std::vector<std::string> split_at_commas(const std::string& list) {
  std::vector<std::string> items;
  std::istringstream stream(list);
  for (std::string item; std::getline(stream, item, ',');) items.push_back(item);
  return items;
}

std::optional<Request> request_of(const std::string& command) {
  static const std::string director = " -nosplash -application org.eclipse.equinox.p2.director ";
  const std::size_t executable_end = command.find(director);
  if (executable_end == std::string::npos) return std::nullopt;
  const std::string arguments = command.substr(executable_end + director.size() - 1);
  const bool removal = arguments.starts_with(" -u ");
  const std::size_t option = removal ? 0 : arguments.rfind(" -i ");
  if (option == std::string::npos) return std::nullopt;
  const std::size_t start = option + 4;
  const std::size_t end = arguments.find(" 2>&1", start);
  const std::filesystem::path executable = command.substr(0, executable_end);
  return Request{removal, executable.parent_path().string(), split_at_commas(arguments.substr(start, end - start))};
}

/// What became of the features that were to go into one instance, or out of it.
class Effect {
 public:
  explicit Effect(const Request& request) : removal_(request.removal), instance_(request.instance) {}

  bool is_of(const Request& request) const { return removal_ == request.removal && instance_ == request.instance; }

  void add_command(const std::vector<std::string>& features, bool success) {
    retried_ = retried_ || failed_;
    failed_ = !success;
    for (const std::string& feature : features) add_feature(feature, success);
  }

  std::string text(const InstanceFinding& finding) const {
    const std::string where = (removal_ ? "removed from " : "installed into ") + on_one_line(instance_);
    const std::string found = (removal_ ? "it still has them, as the verification below says"
                                        : "it does not have them, as the verification below says");
    std::string text;
    if (retried_) text += "  Not all " + how() + " at once, so they were tried one by one.\n";
    text += list("These features were " + where, true, finding, false);
    text += list("The director succeeded, but these features were not " + where + "; " + found, true, finding, true);
    return text + list("These features were not " + where, false, finding, false) +
           list("The director failed, but these features are as they should be in " + on_one_line(instance_) +
                    ", as the verification below says",
                false, finding, true);
  }

 private:
  void add_feature(const std::string& feature, bool success) {
    const auto is_it = [&](const auto& known) { return known.first == feature; };
    const auto found = std::find_if(features_.begin(), features_.end(), is_it);
    if (found == features_.end()) {
      features_.emplace_back(feature, success);
    } else {
      found->second = found->second || success;
    }
  }

  std::string how() const { return removal_ ? "came out" : "went in"; }

  bool is_denied(const std::string& feature, bool success, const InstanceFinding& finding) const {
    const std::optional<bool> has = finding.has(feature);
    return has && (*has != removal_) != success;
  }

  /// The features with these fates below a title; nothing when there is none.
  std::string list(const std::string& title, bool success, const InstanceFinding& finding, bool denied) const {
    std::string lines;
    for (const auto& [feature, succeeded] : features_) {
      if (succeeded != success || is_denied(feature, success, finding) != denied) continue;
      lines += "    " + on_one_line(feature) + "\n";
    }
    return lines.empty() ? "" : "  " + title + ":\n" + lines;
  }

  bool removal_;
  std::string instance_;
  std::vector<std::pair<std::string, bool>> features_;  ///< with whether a director succeeded on it
  bool failed_ = false;                                 ///< the last director did
  bool retried_ = false;                                ///< a director was started after one had failed
};

std::vector<Effect> effects_of(const std::vector<CommandRecord>& commands) {
  std::vector<Effect> effects;
  for (const CommandRecord& record : commands) {
    const auto request = request_of(record.command);
    if (!request) continue;
    auto effect = std::find_if(effects.begin(), effects.end(), [&](const Effect& known) { return known.is_of(*request); });
    if (effect == effects.end()) effect = effects.insert(effect, Effect(*request));
    effect->add_command(request->features, record.result.exit_code == 0);
  }
  return effects;
}

std::string verdict(const RunRecord& record, const InstanceFinding& finding) {
  if (!record.refusal.empty()) return "Refused: " + on_one_line(record.refusal) + "\n";
  if (record.failed()) return "Failed\n";
  return finding.differs ? "Done, but the Eclipse is not as the session should have left it\n" : "Done\n";
}

std::string what_happened(const RunRecord& record, const InstanceFinding& finding) {
  if (record.commands.empty()) {
    std::string text = "  No director was started, so nothing was changed in Eclipse.\n";
    if (record.refusal.empty() && !record.log.empty()) text += "  The log ends with: " + on_one_line(record.log.back()) + "\n";
    return text;
  }
  std::string text;
  for (const Effect& effect : effects_of(record.commands)) text += effect.text(finding);
  for (const auto& action : record.actions) {
    if (action.result != 0) text += "  " + action.name + " ended with " + std::to_string(action.result) + ".\n";
  }
  return text;
}

std::string changed_variables(const Variables& before, const Variables& after) {
  std::string text;
  for (const auto& [name, value] : after) {
    const auto old = before.find(name);
    if (old == before.end() || old->second != value) text += "  " + on_one_line(name) + " = " + on_one_line(value) + "\n";
  }
  for (const auto& [name, value] : before) {
    if (after.find(name) == after.end()) text += "  " + on_one_line(name) + " is no longer set\n";
  }
  return text.empty() ? "" : "\nVariables that changed:\n" + text;
}

/// The parts of a summary stand on lines of their own; for a graphical installer "<p>" separates them.
std::string with_line_feeds(std::string summary) {
  static const std::string mark = "<p>";
  for (std::size_t at = 0; (at = summary.find(mark, at)) != std::string::npos;) summary.replace(at, mark.size(), "\n");
  return summary;
}

std::string failure_summary(const Variables& variables, bool graphical) {
  const auto failed = variables.find("QN_SCRIPTS_FAILED");
  const auto summary = variables.find("QN_SCRIPTS_COMPLETE_DESC");
  if (failed == variables.end() || failed->second != "yes" || summary == variables.end()) return "";
  std::istringstream lines(graphical ? with_line_feeds(summary->second) : summary->second);
  std::string text = "\nThe installer's summary:\n";
  for (std::string line; std::getline(lines, line);) text += (line.empty() ? "" : "  " + line) + "\n";
  return text;
}

}  // namespace

std::string outcome_of(const RunRecord& record, bool graphical, const InstanceFinding& finding) {
  return verdict(record, finding) + what_happened(record, finding) +
         changed_variables(record.variables_before, record.variables_after) +
         failure_summary(record.variables_after, graphical);
}

}  // namespace eclipse_cli
