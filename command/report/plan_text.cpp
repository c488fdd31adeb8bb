#include "report/plan_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"
#include "plan/reasons.h"
#include "report/state_report.h"
#include "terminal/table.h"

using namespace eclipse_shell;
using namespace eclipse_dry_run;
using namespace eclipse_plan;
using namespace eclipse_preview;
using eclipse_shell::longest_command;

using namespace eclipse_base;
using namespace eclipse_terminal;

namespace eclipse_report {

namespace {

std::string section(const std::string& title, const std::string& content) {
  return content.empty() ? "" : "\n" + title + "\n" + content;
}

std::string actions_of(const Plan& plan) {
  Table table;
  for (const DryRunAction& action : plan.actions) {
    std::string name = action.name;
    for (const auto& [variable, value] : action.writes) {
      table.add({name, std::string(variable).append(" = ").append(value)});
      name.clear();
    }
    if (action.writes.empty()) table.add({name, "sets no variable"});
  }
  if (plan.command) table.add({"", "runs the command below"});
  return table.text();
}

std::string version_of(const Plan& plan) {
  if (!plan.version) return "";
  const std::string version = printable(plan.version->version);
  const std::string minimum = printable(plan.version->minimum);
  const bool yes = plan.version->supported == "yes";
  std::string text = "  " + version + (yes ? " is supported: it is not below " : " is not supported: it is below ") +
                     "the minimum " + minimum + ", since " +
                     printable(first_difference(plan.version->version, plan.version->minimum)) + "\n";
  if (numeric_order_differs(*plan.version)) {
    text += "  Warning: versions are compared as text; as numbers, " + version + (yes ? " is below " : " is not below ") +
            minimum + "\n";
  }
  return text;
}

std::string why_none(const Plan& plan) {
  std::string text =
      "  None: " + printable(plan.refusal.empty() ? "the last line of the log is: " + plan.last_log_line : plan.refusal) + "\n";
  for (const std::string& reason : plan.reasons) text += "    " + printable(reason) + "\n";
  return text;
}

std::string reason_for(const PlannedComponent& component, bool is_removal) {
  switch (component.status) {
    case ComponentStatus::not_reached:
      return "no component is searched";
    case ComponentStatus::no_code:
      return "has no code";
    case ComponentStatus::not_selected:
      return is_removal ? "not selected for removal" : "not selected for installation";
    case ComponentStatus::no_package:
      return "has no package";
    case ComponentStatus::searched:
      break;
  }
  return component.descriptors.empty() ? "its package lists no descriptor file"
                                       : counted(component.descriptors.size(), "descriptor file");
}

std::string about(const PlannedDescriptor& descriptor) {
  if (!descriptor.exists) return "does not exist";
  const std::string records = counted(descriptor.records, "record");
  return descriptor.error.empty() ? records : records + "; " + descriptor.error;
}

std::string components_of(const Plan& plan) {
  Table table;
  for (const PlannedComponent& component : plan.components) {
    const bool is_searched = component.status == ComponentStatus::searched;
    table.add({component.code, is_searched ? "searched" : "skipped", reason_for(component, plan.is_removal)});
    for (const PlannedDescriptor& descriptor : component.descriptors) {
      table.add({"", "", descriptor.path + ": " + about(descriptor)});
    }
  }
  return table.text();
}

std::string title_of_components(const Plan& plan) {
  if (plan.executable.empty()) return "Components (none is searched)";
  if (plan.every_component) return "Components (all are searched, because the instance is not known yet)";
  return plan.is_removal ? "Components (only those selected for removal are searched)"
                         : "Components (only those selected for installation are searched, because the instance is known)";
}

std::string about_slot(const PlannedRecord& record) {
  const std::string wanted = std::to_string(record.wanted_slot);
  std::string about;
  if (record.gives_order() && record.config.order != wanted) about = "read as " + wanted;
  if (record.slot != record.wanted_slot) about += (about.empty() ? "" : ", ") + std::string("moved to the next free position");
  return about;
}

std::string features_of(const Plan& plan) {
  Table table;
  table.add({"", "Position", "Order", "Feature", "From", ""});
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
    if (record.status == RecordStatus::listed || record.is_empty_row()) continue;
    text += "  " + printable(record.place()) + ": ";
    if (record.status == RecordStatus::no_repository) {
      text += "has no repository, so the line is ignored\n";
    } else if (record.status == RecordStatus::no_feature) {
      text += "has no feature, so the line only takes position " + std::to_string(record.slot) + " and adds its repository\n";
    } else {
      text += printable(record.config.feature) + " is already listed at a position below " + std::to_string(record.slot) + "\n";
    }
  }
  return text;
}

std::string repositories_of(const Plan& plan) {
  std::string text;
  for (const std::string& repository : plan.repositories) text += "  " + printable(repository) + "\n";
  return text;
}

std::string shown_byte(const std::string& text, std::size_t offset) {
  const std::string byte = text.substr(offset, 1);
  return byte == " " ? "space" : printable(byte);
}

/// The shell may split a long text into thousands of words.
constexpr std::size_t most_lines = 50;

/// The texts of the first items, and how many more there are.
template <typename Item, typename Text>
std::string of_first(const std::vector<Item>& items, const std::string& indent, const std::string& noun,
                     const Text& text_of_item) {
  std::string text;
  const std::size_t shown = std::min(items.size(), most_lines);
  for (std::size_t i = 0; i < shown; ++i) text += text_of_item(items[i]);
  if (items.size() > shown) text += indent + "and " + counted(items.size() - shown, "more " + noun) + " (--json has them)\n";
  return text;
}

std::string words_of(const ShellReading& shell) {
  std::size_t command = 0;
  return of_first(shell.commands, "    ", "command", [&](const ShellWords& words) {
    return "    Words of command " + std::to_string(++command) + ":\n" +
           of_first(words, "      ", "word", [](const std::string& word) { return "      " + printable(word) + "\n"; });
  });
}

std::string text_of(const std::vector<ShellRemark>& remarks, const std::string& text, const std::string& indent) {
  return of_first(remarks, indent, "byte", [&](const ShellRemark& remark) {
    return indent + "Byte " + std::to_string(remark.offset + 1) + " (" + shown_byte(text, remark.offset) +
           "): " + remark.effect + "\n";
  });
}

/// One line for each text that the shell changes, and one for each location in it.
std::string causes_of(const PlannedCommand& command) {
  return of_first(command.causes, "    ", "text", [](const ShellCause& cause) {
    return "    From " + printable(cause.origin) + ": " + printable(cause.text) + "\n" +
           text_of(cause.remarks, cause.text, "      ");
  });
}

/// What the shell changes, where no text of the session or of a descriptor is the reason.
std::string remarks_of(const PlannedCommand& command) { return text_of(command.shell.remarks, command.text, "    "); }

std::string shell_warning(const PlannedCommand& command) {
  if (command.is_passed_on()) return "";
  const ShellReading& shell = command.shell;
  if (!shell.error.empty()) {
    const bool is_given = command.text.find('\0') == std::string::npos;
    const std::string effect = is_given ? std::string("the shell ") + eclipse_shell::rejects_command + " (exit code 2 or 1)"
                                        : "the command is not started";
    return "  Warning: " + effect + ": " + printable(shell.error) + "\n" + causes_of(command);
  }
  std::string text = "  Warning: the shell would change this command:\n" + words_of(shell);
  std::vector<std::string> redirections = shell.redirections;
  std::erase(redirections, error_redirection);
  text += of_first(redirections, "    ", "redirection",
                   [](const std::string& redirection) { return "    Redirection: " + printable(redirection) + "\n"; });
  return text + (command.causes.empty() ? remarks_of(command) : causes_of(command));
}

std::string length_warning(const PlannedCommand& command) {
  if (!command.is_too_long()) return "";
  return std::string("  Warning: ") + PlannedCommand::too_long + "\n";
}

std::string executable_warning(const PlannedCommand& command) {
  return command.executable_error.empty() ? "" : "  Warning: " + printable(command.executable_error) + "\n";
}

std::string text_of(const PlannedCommand& command) {
  return "  " + printable(command.text, {.longest = longest_command}) + "\n" + length_warning(command) +
         executable_warning(command) + shell_warning(command);
}

std::string length_of(std::size_t bytes) {
  return "(" + std::to_string(bytes) + " of at most " + std::to_string(longest_command) + " bytes)";
}

std::string command_of(const Plan& plan) {
  if (!plan.command) return section("Command", why_none(plan));
  return section("Command " + length_of(plan.command->text.size()), text_of(*plan.command));
}

/// Those like the representative retry are only counted, and so are those that are too many.
std::string retries_of(const Plan& plan) {
  if (plan.retries.empty()) return "";
  const std::size_t left_out = plan.retries_left_out.size();
  const std::size_t more = plan.retry_count - plan.retries.size() - left_out;
  std::string text;
  for (const PlannedCommand& retry : plan.retries) {
    text += text_of(retry);
    if (more == 0 || retry.number != plan.representative_retry) continue;
    text += "  and " + std::to_string(more) + " more like this, one for each feature (--retries shows them)\n";
  }
  if (left_out > 0) text += "  and " + std::to_string(left_out) + " more, which are left out here and in --json\n";
  return section("Retries if that fails, one for each feature: " + counted(plan.retry_count, "command") + ", the longest " +
                     length_of(plan.longest_retry),
                 text);
}

const char* sign_of(Change change) {
  switch (change) {
    case Change::add:
      return "+";
    case Change::keep:
      return "=";
    case Change::other_version:
      return "~";
    case Change::remove:
      return "-";
    case Change::fail:
      break;
  }
  return "!";
}

/// Without the version that the unit names itself.
std::string versions_of(const PreviewedFeature& feature) {
  if (feature.change != Change::other_version) return feature.version;
  return feature.installed + " -> " + feature.version;
}

std::string error_of_profile(const Plan& plan) {
  return "  What is installed is not known" +
         unread_profile(eclipse_p2::profile_units_error(eclipse_p2::instance_directory(plan.executable)));
}

std::string changes_of(const Plan& plan, const Preview& preview) {
  Table table;
  for (const PreviewedFeature& feature : preview.features) {
    const bool needs_place = feature.change == Change::fail;
    std::string remark = feature.remark;
    if (needs_place) remark += " (" + feature.place + ")";
    if (remark.empty() && feature.change == Change::add) remark = feature.repository;
    table.add({sign_of(feature.change), feature.unit, versions_of(feature), remark});
  }
  return table.text() + (preview.knows_installed ? "" : error_of_profile(plan));
}

std::string title_of_changes(const Plan& plan, const Preview& preview) {
  std::map<Change, std::size_t> counts;
  for (const PreviewedFeature& feature : preview.features) ++counts[feature.change];
  constexpr std::array<std::pair<Change, const char*>, 5> words = {{{Change::add, " to install"},
                                                                    {Change::keep, " to keep"},
                                                                    {Change::other_version, " in another version"},
                                                                    {Change::remove, " to remove"},
                                                                    {Change::fail, " that will fail"}}};
  std::vector<std::string> parts;
  for (const auto& [change, word] : words) {
    if (counts[change] > 0) parts.push_back(std::to_string(counts[change]) + word);
  }
  return (plan.is_removal ? "Features to remove from " : "Features to install into ") + printable(plan.executable) + ": " +
         joined(parts);
}

std::string checked_repositories(const Preview& preview) {
  Table table;
  for (const PreviewedRepository& repository : preview.repositories) {
    const std::string remark = repository.remark.empty() ? "ok" : repository.remark;
    table.add({repository.remark.empty() ? "" : repository.is_usable ? "?" : "!", repository.url, remark});
  }
  return preview.repositories.empty() ? "" : table.text();
}

/// Lines and files that a person believes are used.
std::string ignored_in(const Plan& plan) {
  std::string text;
  for (const PlannedRecord& record : plan.records) {
    if (record.status == RecordStatus::no_repository && !record.is_empty_row()) {
      text += "  " + printable(record.place()) + ": has no repository, so the line is ignored\n";
    }
  }
  for (const PlannedComponent& component : plan.components) {
    for (const PlannedDescriptor& descriptor : component.descriptors) {
      if (descriptor.exists && descriptor.error.empty()) continue;
      text += "  " + printable(descriptor.path) + ": " + printable(about(descriptor)) + "\n";
    }
  }
  return text;
}

/// Only where it may come as a surprise.
std::string surprising_version(const Plan& plan) {
  const bool is_surprise = plan.version && (plan.version->supported != "yes" || numeric_order_differs(*plan.version));
  return is_surprise ? version_of(plan) : "";
}

std::string surprising_command(const Plan& plan) {
  return plan.command && plan.command->runs_as_intended() ? "" : command_of(plan);
}

std::string title(const std::string& session_file) {
  return "Plan of " + printable(session_file) + " (dry run: nothing is run or changed)\n";
}

std::string changes_text(const Plan& plan, const std::optional<Preview>& preview) {
  if (!preview) return "";
  return section(title_of_changes(plan, *preview), changes_of(plan, *preview)) +
         section("Repositories", checked_repositories(*preview));
}

}  // namespace

std::string plan_text(const Plan& plan, const std::optional<Preview>& preview, const std::string& session_file) {
  return title(session_file) + section("Eclipse version", surprising_version(plan)) + changes_text(plan, preview) +
         section("Ignored", ignored_in(plan)) + surprising_command(plan);
}

std::string detailed_plan_text(const Plan& plan, const std::optional<Preview>& preview, const std::string& session_file) {
  return title(session_file) + section("Actions", actions_of(plan)) + section("Eclipse version", version_of(plan)) +
         section(title_of_components(plan), components_of(plan)) +
         section(plan.is_removal ? "Features to remove, in order" : "Features to install, in order", features_of(plan)) +
         section("Lines that add no feature", idle_records_of(plan)) +
         (plan.is_removal ? section("Repositories (not used by a removal)", repositories_of(plan)) : "") +
         changes_text(plan, preview) + command_of(plan) + retries_of(plan);
}

}  // namespace eclipse_report
