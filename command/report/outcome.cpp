#include "report/outcome.h"

#include <algorithm>
#include <compare>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "report/failure_fix.h"
#include "report/printed_lines.h"

using namespace eclipse_host;
using namespace eclipse_base;

namespace eclipse_report {

namespace {

using eclipse_host::CommandRecord;
using eclipse_host::RunRecord;
using eclipse_p2::DirectorCommand;
using eclipse_p2::Failure;
using Variables = std::map<std::string, std::string>;

/// What became of the features that were to be installed into one instance, or removed from it.
class Effect {
 public:
  explicit Effect(const DirectorCommand& command)
      : removal_(command.is_removal), executable_(command.executable), instance_(directory_of(command.executable)) {}

  bool is_of(const DirectorCommand& command) const {
    return removal_ == command.is_removal && executable_ == command.executable;
  }

  void add_command(const std::vector<std::string>& features, bool success) {
    retried_ = retried_ || failed_;
    failed_ = !success;
    for (const std::string& feature : features) add_feature(feature, success);
  }

  std::string text(const InstanceFinding& finding) const {
    std::string text;
    if (retried_) text += verb("  Installing", "  Removing") + " all features at once failed, so each was tried separately.\n";
    std::map<Group, std::string> lists;
    for (const auto& [feature, success] : features_) {
      lists[group_of(success, finding.has(feature))] += "    " + printable(feature) + "\n";
    }
    for (const auto& [group, list] : lists) text += "  " + title(group) + ":\n" + list;
    return text;
  }

 private:
  /// What features have in common, in the order in which they are listed.
  struct Group {
    bool failed;                ///< the director reported a failure
    bool denied;                ///< the verification says otherwise
    std::optional<bool> found;  ///< by the verification

    auto operator<=>(const Group&) const = default;  // NOLINT(modernize-use-nullptr): clang-tidy 14 sees a null pointer here
  };

  Group group_of(bool success, std::optional<bool> found) const {
    return {!success, found && (*found != removal_) != success, found};
  }

  static std::string directory_of(const std::string& executable) {
    return std::filesystem::path(executable).parent_path().string();
  }

  void add_feature(const std::string& feature, bool success) {
    const auto is_it = [&](const auto& known) { return known.first == feature; };
    const auto found = std::find_if(features_.begin(), features_.end(), is_it);
    if (found == features_.end()) {
      features_.emplace_back(feature, success);
    } else {
      found->second = found->second || success;
    }
  }

  std::string verb(const std::string& installing, const std::string& removing) const {
    return removal_ ? removing : installing;
  }

  std::string title(const Group& group) const {
    const std::string where = verb(" into ", " from ") + printable(instance_);
    if (group.denied) {
      return std::string("The director reports ") + (group.failed ? "failure" : "success") + ", but the verification below " +
             (*group.found ? "finds" : "does not find") + " these features in " + printable(instance_);
    }
    if (group.found) return (group.failed ? verb("Not installed", "Not removed") : verb("Installed", "Removed")) + where;
    return group.failed ? "The director failed to " + verb("install", "remove") + " these features" + where
                        : "The director reports success for " + verb("installing", "removing") + " these features" + where;
  }

  bool removal_;
  std::string executable_;
  std::string instance_;                                ///< the directory of the executable
  std::vector<std::pair<std::string, bool>> features_;  ///< with whether a director succeeded on it
  bool failed_ = false;                                 ///< the last director did
  bool retried_ = false;                                ///< a director was started after one had failed
};

std::vector<Effect> effects_of(const std::vector<CommandRecord>& commands) {
  std::vector<Effect> effects;
  for (const CommandRecord& record : commands) {
    const auto director = eclipse_p2::cut_director_command(record.command);
    if (!director) continue;
    auto effect = std::find_if(effects.begin(), effects.end(), [&](const Effect& known) { return known.is_of(*director); });
    if (effect == effects.end()) effect = effects.insert(effect, Effect(*director));
    effect->add_command(features_of(*director), record.result.exit_code == 0);
  }
  return effects;
}

constexpr std::size_t most_features = 10;

/// The reason, then the fix, then where there is more. A director that gives no reason, and another program, are named first.
std::string reason_text(const Failure& failure, bool is_removal) {
  std::vector<std::string> causes = telling_causes(failure);
  const bool is_named = failure.layer == eclipse_p2::Layer::director && !causes.empty();
  std::string text =
      is_named ? printable(causes.front()) : std::string(name_of(failure.layer)) + " failed: " + printable(failure.meaning);
  text += "\n";
  if (is_named) causes.erase(causes.begin());
  for (const std::string& cause : causes) text += "    " + printable(cause) + "\n";
  if (const std::string fix = fix_of(failure, is_removal); !fix.empty()) text += "    Fix: " + printable(fix) + "\n";
  return failure.log ? text + "    Log: " + printable(failure.log->string()) + "\n" : text;
}

std::string why_failed(const RunRecord& record, const CommandFailures& failures) {
  std::string text;
  const auto reasons = failure_reasons(record.commands, failures);
  const bool is_removal =
      eclipse_p2::cut_director_command(record.commands.front().command).value_or(DirectorCommand()).is_removal;
  for (const auto& [failure, exit_code, features] : reasons) {
    text += "  Why: " + reason_text(*failure, is_removal);
    if (reasons.size() > 1 && !features.empty())
      text += "    Features: " + printable(first_few(features, most_features), {.longest = no_limit}) + "\n";
  }
  if (reasons.empty() && failures.of(0) != nullptr)
    text += "  Why not all at once: " + reason_text(*failures.of(0), is_removal);
  return text;
}

/// The lines that the commands printed. The views are of their outputs.
std::unordered_set<std::string_view> printed_lines(const std::vector<CommandRecord>& commands) {
  std::unordered_set<std::string_view> lines;
  for (const CommandRecord& command : commands) {
    for_each_line(command.result.output, [&](std::string_view line) { lines.insert(line); });
  }
  return lines;
}

std::string verdict(const RunRecord& record, const InstanceFinding& finding) {
  if (!record.refusal.empty()) return "Refused: " + printable(record.refusal) + "\n";
  if (!record.contradiction.empty()) return "Failed: " + printable(record.contradiction) + "\n";
  if (record.failed()) return "Failed\n";
  if (finding.is_damaged) return "The commands succeeded, but the Eclipse instance is damaged\n";
  if (record.commands.empty() && !finding.differs) return "Nothing done\n";
  return finding.differs ? "Done, but the Eclipse instance is not in the state that the session describes\n" : "Done\n";
}

std::string what_happened(const RunRecord& record, const CommandFailures& failures, const InstanceFinding& finding) {
  if (record.commands.empty()) {
    std::string text = "  No command of the session was run, so nothing was changed in Eclipse.\n";
    if (record.refusal.empty() && !record.log.empty()) text += "  The log ends with: " + printable(record.log.back()) + "\n";
    return text;
  }
  std::string text = why_failed(record, failures);
  for (const Effect& effect : effects_of(record.commands)) text += effect.text(finding);
  for (const auto& action : record.actions) {
    if (action.result != 0) text += "  " + action.name + " returned " + std::to_string(action.result.value()) + ".\n";
  }
  return text;
}

constexpr const char* summary_variable = "QN_SCRIPTS_COMPLETE_DESC";
constexpr const char* graphical_line_end = "<p>";  ///< in the summary of a graphical installer

/// The installer's summary has a section of its own.
std::string changed_variables(const Variables& before, const Variables& after) {
  std::string text;
  for (const auto& [name, value] : after) {
    if (name == summary_variable) continue;
    const auto old = before.find(name);
    if (old == before.end() || old->second != value) text += "  " + printable(name) + " = " + printable(value) + "\n";
  }
  for (const auto& [name, value] : before) {
    if (after.find(name) == after.end()) text += "  " + printable(name) + " is unset\n";
  }
  return text.empty() ? "" : "\nChanged variables:\n" + text;
}

/// The lines of a summary without what the commands printed, which comes to a line. Empty when nothing else is there.
std::string summary_lines(const std::string& summary, const std::vector<CommandRecord>& commands) {
  const auto printed = printed_lines(commands);
  std::istringstream lines(summary);
  std::string text;
  bool has_own = false;
  bool is_left_out = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    const bool was_left_out = is_left_out;
    is_left_out = printed.contains(line);
    has_own = has_own || !is_left_out;
    if (!is_left_out) text += "  " + printable(line) + "\n";
    if (is_left_out && !was_left_out) text += "  (the output of the failed commands)\n";
  }
  return has_own ? text : "";
}

std::string failure_summary(const Variables& variables, bool graphical, const std::vector<CommandRecord>& commands) {
  const auto failed = variables.find("QN_SCRIPTS_FAILED");
  const auto summary = variables.find(summary_variable);
  if (failed == variables.end() || failed->second != "yes" || summary == variables.end()) return "";
  const std::string text =
      summary_lines(graphical ? replaced(summary->second, graphical_line_end, "\n") : summary->second, commands);
  return text.empty() ? "" : "\nThe installer's summary (" + std::string(summary_variable) + "):\n" + text;
}

}  // namespace

std::string outcome_text(const RunRecord& record, const CommandFailures& failures, const Session& session,
                         const InstanceFinding& finding) {
  return verdict(record, finding) + what_happened(record, failures, finding) +
         changed_variables(record.variables_before, session.variables) +
         failure_summary(session.variables, session.graphical, record.commands);
}

}  // namespace eclipse_report
