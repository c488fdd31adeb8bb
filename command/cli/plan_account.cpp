#include "cli/plan_account.h"

#include <algorithm>
#include <cstddef>

#include "cli/one_line.h"
#include "cli/table.h"
#include "plan/reasons.h"

using namespace eclipse_shell;
using namespace eclipse_dry_run;

using namespace eclipse_plan;
using eclipse_shell::longest_command;

namespace eclipse_cli {

namespace {

std::string section(const std::string& title, const std::string& content) {
  return content.empty() ? "" : "\n" + title + "\n" + content;
}

std::string actions_of(const Plan& plan) {
  Table table;
  for (const RecordedAction& action : plan.actions) {
    std::string name = action.name;
    for (const auto& [variable, value] : action.writes) {
      table.add({name, std::string(variable).append(" = ").append(value)});
      name.clear();
    }
    if (action.writes.empty()) table.add({name, "sets nothing"});
  }
  if (plan.command) table.add({"", "runs the command below"});
  return table.text();
}

std::string version_of(const Plan& plan) {
  if (!plan.version) return "";
  const std::string version = on_one_line(plan.version->version);
  const std::string minimum = on_one_line(plan.version->minimum);
  const bool yes = plan.version->supported == "yes";
  std::string text =
      "  " + version + (yes ? " is supported: it does not come before " : " is not supported: it comes before ") +
      "the minimum " + minimum + ", since " + on_one_line(where_they_part(plan.version->version, plan.version->minimum)) + "\n";
  if (numbers_say_otherwise(*plan.version)) {
    text += "  Warning: texts are compared, not numbers; as numbers, " + version +
            (yes ? " comes before " : " does not come before ") + minimum + "\n";
  }
  return text;
}

std::string why_none(const Plan& plan) {
  std::string text =
      "  None: " + on_one_line(plan.refusal.empty() ? "the log ends with: " + plan.last_words : plan.refusal) + "\n";
  for (const std::string& reason : plan.reasons) text += "    " + on_one_line(reason) + "\n";
  return text;
}

std::string reason_for(const PlannedComponent& component, bool is_removal) {
  switch (component.status) {
    case ComponentStatus::not_reached:
      return "no component is searched";
    case ComponentStatus::no_code:
      return "it has no code";
    case ComponentStatus::not_selected:
      return is_removal ? "it is not selected to be removed" : "it is not selected to be installed";
    case ComponentStatus::no_package:
      return "it has no package";
    case ComponentStatus::taken:
      break;
  }
  return component.descriptors.empty() ? "its package lists no descriptor file"
                                       : counted(component.descriptors.size(), "descriptor file");
}

std::string components_of(const Plan& plan) {
  Table table;
  for (const PlannedComponent& component : plan.components) {
    const bool taken = component.status == ComponentStatus::taken;
    table.add({component.code, taken ? "taken" : "skipped", reason_for(component, plan.is_removal)});
    for (const PlannedDescriptor& descriptor : component.descriptors) {
      table.add(
          {"", "", descriptor.path + (descriptor.exists ? ": " + counted(descriptor.records, "record") : ": is not there")});
    }
  }
  return table.text();
}

std::string title_of_components(const Plan& plan) {
  if (plan.executable.empty()) return "Components (none is searched)";
  if (plan.every_component) return "Components (every one is searched, since the instance is new in this run)";
  return plan.is_removal ? "Components (those that are being removed are searched)"
                         : "Components (those that are being installed are searched, since the instance is known)";
}

std::string about_slot(const PlannedRecord& record) {
  const std::string wanted = std::to_string(record.wanted_slot);
  std::string about;
  if (record.gives_order() && record.config.order != wanted) about = "read as " + wanted;
  if (record.slot != record.wanted_slot) about += (about.empty() ? "" : ", ") + std::string("moved up to a free slot");
  return about;
}

std::string features_of(const Plan& plan) {
  Table table;
  table.add({"", "Slot", "Order", "Feature", "From", ""});
  std::size_t number = 0;
  for (const PlannedRecord* const record : plan.features()) {
    table.add({std::to_string(++number), std::to_string(record->slot), record->gives_order() ? record->config.order : "none",
               record->config.feature, record->place(), about_slot(*record)});
  }
  return number == 0 ? "" : table.text();
}

std::string idle_records_of(const Plan& plan) {
  std::string text;
  for (const PlannedRecord& record : plan.records) {
    if (record.status == RecordStatus::listed) continue;
    text += "  " + on_one_line(record.place()) + ": ";
    if (record.status == RecordStatus::no_repository) {
      text += "has no repository, so the line is passed over\n";
    } else if (record.status == RecordStatus::no_feature) {
      text += "has no feature, so the line only takes slot " + std::to_string(record.slot) + " and adds its repository\n";
    } else {
      text +=
          on_one_line(record.config.feature) + " is listed at a lower slot than " + std::to_string(record.slot) + " already\n";
    }
  }
  return text;
}

std::string repositories_of(const Plan& plan) {
  std::string text;
  for (const std::string& repository : plan.repositories) text += "  " + on_one_line(repository) + "\n";
  return text;
}

std::string shown_byte(const std::string& text, std::size_t offset) {
  const std::string byte = text.substr(offset, 1);
  return byte == " " ? "space" : on_one_line(byte);
}

/// Of a long text the shell may make thousands of words.
constexpr std::size_t most_lines = 50;

/// What is told of the first items, and how many more there are.
template <typename Item, typename Tell>
std::string of_first(const std::vector<Item>& items, const std::string& indent, const std::string& noun, const Tell& tell) {
  std::string text;
  const std::size_t shown = std::min(items.size(), most_lines);
  for (std::size_t i = 0; i < shown; ++i) text += tell(items[i]);
  if (items.size() > shown) text += indent + "and " + counted(items.size() - shown, "more " + noun) + " (--json has them)\n";
  return text;
}

std::string words_of(const ShellReading& shell) {
  std::size_t command = 0;
  return of_first(shell.commands, "    ", "command", [&](const ShellWords& words) {
    return "    Command " + std::to_string(++command) + " would get these words:\n" +
           of_first(words, "      ", "word", [](const std::string& word) { return "      " + on_one_line(word) + "\n"; });
  });
}

std::string text_of(const std::vector<ShellRemark>& remarks, const std::string& text, const std::string& indent) {
  return of_first(remarks, indent, "byte", [&](const ShellRemark& remark) {
    return indent + "Byte " + std::to_string(remark.offset + 1) + " (" + shown_byte(text, remark.offset) +
           "): " + remark.effect + "\n";
  });
}

/// One line for each text that the shell does not pass on, and one for each place in it.
std::string causes_of(const PlannedCommand& command) {
  return of_first(command.causes, "    ", "text", [](const ShellCause& cause) {
    return "    Because of " + on_one_line(cause.origin) + ": " + on_one_line(cause.text) + "\n" +
           text_of(cause.remarks, cause.text, "      ");
  });
}

/// What the shell does not pass on, where no text of the session or of a descriptor is the reason.
std::string remarks_of(const PlannedCommand& command) { return text_of(command.shell.remarks, command.text, "    "); }

std::string shell_warning(const PlannedCommand& command) {
  if (command.is_passed_on()) return "";
  const ShellReading& shell = command.shell;
  if (!shell.fault.empty()) {
    const bool is_given = command.text.find('\0') == std::string::npos;
    const std::string effect =
        is_given ? "the shell refuses the command and starts nothing (exit code 2 or 1)" : "the command is not started";
    return "  Warning: " + effect + ": " + on_one_line(shell.fault) + "\n" + causes_of(command);
  }
  std::string text = "  Warning: the shell makes something else of the command than is meant:\n" + words_of(shell);
  std::vector<std::string> redirections = shell.redirections;
  std::erase(redirections, "2>&1");
  text += of_first(redirections, "    ", "redirection",
                   [](const std::string& redirection) { return "    Redirection: " + on_one_line(redirection) + "\n"; });
  return text + (command.causes.empty() ? remarks_of(command) : causes_of(command));
}

std::string length_warning(const PlannedCommand& command) {
  if (!command.is_too_long()) return "";
  return "  Warning: the command is longer than a shell can be given, so it is not started\n";
}

std::string obstacle_warning(const PlannedCommand& command) {
  return command.obstacle.empty() ? "" : "  Warning: " + on_one_line(command.obstacle) + "\n";
}

std::string text_of(const PlannedCommand& command) {
  return "  " + on_one_line(command.text, longest_command) + "\n" + length_warning(command) + obstacle_warning(command) +
         shell_warning(command);
}

std::string length_of(std::size_t bytes) {
  return "(" + std::to_string(bytes) + " of at most " + std::to_string(longest_command) + " bytes)";
}

std::string command_of(const Plan& plan) {
  if (!plan.command) return section("Command", why_none(plan));
  return section("Command " + length_of(plan.command->text.size()), text_of(*plan.command));
}

/// Those that read as the first one does which does not stand out are counted behind it.
std::string retries_of(const Plan& plan) {
  if (plan.retries.empty()) return "";
  const std::size_t more = plan.retry_count - plan.retries.size();
  std::string text;
  for (const PlannedCommand& retry : plan.retries) {
    text += text_of(retry);
    if (more == 0 || retry.number != plan.model_retry) continue;
    text += "  and " + std::to_string(more) + " more like it, one for each feature (--retries shows them)\n";
  }
  const std::string count = std::to_string(plan.retry_count) + (plan.retry_count == 1 ? " command" : " commands");
  return section("If that fails, one by one: " + count + " " + length_of(plan.longest_retry), text);
}

}  // namespace

std::string account_of(const Plan& plan, const std::string& session_file) {
  return "Plan of " + on_one_line(session_file) + "; nothing is run and nothing is changed\n" +
         section("Actions", actions_of(plan)) + section("Version of the Eclipse", version_of(plan)) +
         section(title_of_components(plan), components_of(plan)) +
         section(plan.is_removal ? "Features to be removed, in order" : "Features to be installed, in order",
                 features_of(plan)) +
         section("Lines without effect on the features", idle_records_of(plan)) +
         section(plan.is_removal ? "Repositories (a removal does not use them)" : "Repositories", repositories_of(plan)) +
         command_of(plan) + retries_of(plan);
}

}  // namespace eclipse_cli
