#include "plan/reasons.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;
using namespace eclipse_host;

namespace eclipse_plan {

namespace {

using Texts = std::vector<std::string>;

constexpr std::size_t most_names = 5;

std::string listed(const Texts& names) { return first_few(names, most_names); }

std::string value_of(const Session& session, const std::string& name) {
  const std::string value = session.variable(name);
  return name + (value.empty() ? " is not set" : " is \"" + value + "\"");
}

std::string about_package(const ExecutableSearch& search, const Session& session, const std::string& name) {
  const std::string code = search.component + ": ";
  if (!search.candidates.empty()) return code + "not found: " + listed(search.candidates);
  for (const auto& component : session.components) {
    if (!component || component->code != search.component || !component->has_provider || !component->package) continue;
    const std::string files = counted(component->package->files.size(), "file");
    return (code + "its package lists ").append(files).append(", none of them named \"").append(name).append("\"");
  }
  return code + "it has no package";
}

/// The plug-in searches the components that it takes for IDEs.
Texts about_executable(const DryRun& run, const Session& session) {
  if (run.executable_searches.empty()) {
    Texts capabilities;
    if (session.capabilities) {
      for (const auto& [name, component] : *session.capabilities) capabilities.push_back(name);
    }
    return {"no component provides an IDE; the capabilities are: " + (capabilities.empty() ? "none" : listed(capabilities))};
  }
  const std::string name = session.variable("ECLIPSE_BIN");
  Texts reasons = {"searched for the executable: " + counted(run.executable_searches.size(), "package")};
  for (const ExecutableSearch& search : run.executable_searches) reasons.push_back(about_package(search, session, name));
  return reasons;
}

/// One line for components, records or files that have something in common; none when there are none.
void add_group(Texts& reasons, const Texts& names, const std::string& what) {
  if (!names.empty()) reasons.push_back(what + ": " + listed(names));
}

Texts codes_with(const Plan& plan, ComponentStatus status) {
  Texts codes;
  for (const PlannedComponent& component : plan.components) {
    if (component.status == status) codes.push_back(component.code.empty() ? "(no code)" : component.code);
  }
  return codes;
}

Texts places_with(const Plan& plan, RecordStatus status) {
  Texts places;
  for (const PlannedRecord& record : plan.records) {
    if (record.status == status && !record.is_empty_row()) places.push_back(record.place());
  }
  return places;
}

void add_about_descriptors(Texts& reasons, const Plan& plan) {
  Texts without;
  Texts missing;
  Texts empty;
  for (const PlannedComponent& component : plan.components) {
    if (component.status == ComponentStatus::searched && component.descriptors.empty()) without.push_back(component.code);
    for (const PlannedDescriptor& descriptor : component.descriptors) {
      if (descriptor.records == 0) (descriptor.exists ? empty : missing).push_back(descriptor.path);
    }
  }
  add_group(reasons, without, "searched, but the package lists no descriptor file");
  add_group(reasons, missing, "listed descriptor files that do not exist");
  add_group(reasons, empty, "descriptor files without records");
}

/// Everything that leaves the lists empty.
Texts about_lists(const Plan& plan) {
  Texts reasons;
  if (plan.components.empty()) reasons.emplace_back("the session has no components");
  add_group(reasons, codes_with(plan, ComponentStatus::no_code), "skipped, without a code");
  add_group(reasons, codes_with(plan, ComponentStatus::not_selected),
            plan.is_removal ? "skipped, not selected for removal" : "skipped, not selected for installation");
  add_group(reasons, codes_with(plan, ComponentStatus::no_package), "skipped, without a package");
  add_about_descriptors(reasons, plan);
  add_group(reasons, places_with(plan, RecordStatus::no_repository), "lines that are ignored, without a repository");
  add_group(reasons, places_with(plan, RecordStatus::no_feature), "lines without a feature");
  return reasons;
}

}  // namespace

std::vector<std::string> reasons_for_no_command(const Plan& plan, const DryRun& run, const Session& session) {
  if (run.searched) return about_lists(plan);
  if (!run.executable.empty()) return {"\"" + run.executable + "\" does not exist"};
  Texts reasons;
  for (const std::string& name : run.variables_read) reasons.push_back(value_of(session, name));
  if (session.chooses_internal()) {
    for (std::string& reason : about_executable(run, session)) reasons.push_back(std::move(reason));
  }
  reasons.push_back("no Eclipse instance is chosen, and no component is searched (" +
                    counted(session.components.size(), "component") + ")");
  return reasons;
}

}  // namespace eclipse_plan
