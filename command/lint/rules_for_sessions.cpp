// Rules about what a run of a session comes to.
#include <algorithm>

#include "base/json_document.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/sample_products.h"
#include "shell/command_runner.h"

using eclipse_base::in_quotes;
using eclipse_shell::longest_command;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

constexpr const char* installed_tools = R"(
    {
      "code": "tools", "installBase": ".", "installDir": "tools", "installed": true,
      "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/tools.txt"] }
    })";

void check_repositories(const Input& input, Reporter& reporter) {
  if (!input.session || !input.session->run.commands.empty()) return;
  const auto is_lost = [](const Record& record) { return !record.placement && !record.feature().empty(); };
  const bool any_lost = std::any_of(input.records.begin(), input.records.end(), is_lost);
  if (!any_lost || !input.session->run.logged("eclipse_int: feature or repo list is empty, skip integration")) return;
  reporter.report(input.session->mode, "every repository is empty: nothing will be installed");
}

void check_length(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  for (const std::string& command : input.session->run.commands) {
    if (command.size() <= longest_command) continue;
    reporter.report(input.session->mode, "the director's command has " + std::to_string(command.size()) + " bytes, more than " +
                                             std::to_string(longest_command));
  }
}

void check_new_instance(const Input& input, Reporter& reporter) {
  if (!input.session || input.session->is_removal()) return;
  const auto& files = input.session->run.files;
  std::string list;
  for (const Component& component : input.components) {
    if (component.catalogue->selected_for_install) continue;
    const auto was_read = [&](const ListedFile& file) {
      return file.descriptor && std::find(files.begin(), files.end(), file.descriptor->path) != files.end();
    };
    if (std::none_of(component.files.begin(), component.files.end(), was_read)) continue;
    list += (list.empty() ? "" : ", ") + in_quotes(component.catalogue->code);
  }
  if (list.empty()) return;
  reporter.report(input.session->mode, "the instance is new, so it also gets the features of " + list);
}

const std::string& long_descriptor() {
  static const std::string descriptor = [] {
    std::string name = "org.example";
    for (int i = 0; i < 40; ++i) name += ".very.long";
    std::string text;
    for (int i = 1; i <= 320; ++i) text += "site.zip\t" + name + "." + std::to_string(i) + ".feature.group\n";
    return text;
  }();
  return descriptor;
}

Sample long_product() {
  return {"session.json",
          {{"session.json", user_session()},
           {"ide/eclipse", "#!/bin/sh\n", 0755},
           {"tools/etc/eclipse/tools.txt", long_descriptor()},
           {"tools/site.zip", "an archive\n"}}};
}

}  // namespace

std::vector<Rule> rules_for_sessions() {
  return {
      {.name = "every-repository-empty",
       .group = Group::session,
       .severity = Severity::warning,
       .title = "there are features, but every repository is empty",
       .why = "The run logs \"feature or repo list is empty, skip integration\" and reports success.",
       .fix = "write the repositories into column 1",
       .bad = {"session.json",
               {{"session.json", internal_session()},
                {"ide/eclipse", "#!/bin/sh\n", 0755},
                {"tools/etc/eclipse/tools.txt", "\torg.example.one.feature.group\n"}}},
       .good = product(internal_session()),
       .check = check_repositories},
      {.name = "command-too-long",
       .group = Group::session,
       .severity = Severity::error,
       .title = "the director's command is longer than the system allows",
       .why =
           "The shell cannot be started with it, so the run for all features at once fails; then each feature is tried alone.",
       .fix = "group the features: one that includes the others is installed with them",
       .bad = long_product(),
       .good = product(user_session()),
       .check = check_length},
      {.name = "new-instance-gets-everything",
       .group = Group::session,
       .severity = Severity::note,
       .title = "the instance is new in this run",
       .why = "It gets the features of all components, not only of those that are selected.",
       .fix = "nothing if that is meant; else, for the choice user, keep CASHED_ECLIPSE_PATH from the run before",
       .bad = product(session("modify", user_choice("ide/eclipse"), installed_tools)),
       .good =
           product(session("modify", user_choice("ide/eclipse", R"(, "CASHED_ECLIPSE_PATH": "ide/eclipse")"), installed_tools)),
       .check = check_new_instance},
  };
}

}  // namespace eclipse_lint
