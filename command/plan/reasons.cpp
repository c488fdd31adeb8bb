#include "plan/reasons.h"

#include <algorithm>
#include <utility>

using namespace eclipse_dry_run;

using namespace eclipse_host;

namespace eclipse_plan {

std::string counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

namespace {

using Texts = std::vector<std::string>;

constexpr std::size_t most_names = 5;

/// The first of them, and how many more there are.
std::string listed(const Texts& names) {
  std::string list;
  for (std::size_t i = 0; i < std::min(names.size(), most_names); ++i) list += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > most_names) list += " and " + std::to_string(names.size() - most_names) + " more";
  return list;
}

std::string value_of(const Session& session, const std::string& name) {
  const std::string value = session.variable(name);
  return name + (value.empty() ? " is not set" : " is \"" + value + "\"");
}

std::string about_package(const LookedInto& looked, const Session& session, const std::string& name) {
  const std::string code = looked.component + ": ";
  if (!looked.candidates.empty()) return code + "no file is at " + listed(looked.candidates);
  for (const auto& component : session.components) {
    if (!component || component->code != looked.component || !component->has_provider || !component->package) continue;
    const std::string files = counted(component->package->files.size(), "file");
    return (code + "its package lists ").append(files).append(", and none that could be \"").append(name).append("\"");
  }
  return code + "it has no package";
}

/// The internal Eclipse is sought among the components that the plug-in takes for IDEs.
Texts about_executable(const RecordedRun& run, const Session& session) {
  if (run.looked_into.empty()) {
    Texts capabilities;
    if (session.capabilities) {
      for (const auto& [name, component] : *session.capabilities) capabilities.push_back(name);
    }
    return {"no component provides an IDE; the capabilities are: " + (capabilities.empty() ? "none" : listed(capabilities))};
  }
  const std::string name = session.variable("ECLIPSE_BIN");
  Texts reasons = {"the executable was looked for in " + counted(run.looked_into.size(), "package")};
  for (const LookedInto& looked : run.looked_into) reasons.push_back(about_package(looked, session, name));
  return reasons;
}

/// A line about those components, records or files that have something in common; none when there are none.
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
    if (record.status == status) places.push_back(record.place());
  }
  return places;
}

void add_about_descriptors(Texts& reasons, const Plan& plan) {
  Texts without;
  Texts missing;
  Texts empty;
  for (const PlannedComponent& component : plan.components) {
    if (component.status == ComponentStatus::taken && component.descriptors.empty()) without.push_back(component.code);
    for (const PlannedDescriptor& descriptor : component.descriptors) {
      if (descriptor.records == 0) (descriptor.exists ? empty : missing).push_back(descriptor.path);
    }
  }
  add_group(reasons, without, "taken, but the package lists no descriptor file");
  add_group(reasons, missing, "listed descriptor files that are not there");
  add_group(reasons, empty, "descriptor files without a line of data");
}

/// Everything that kept the lists empty.
Texts about_lists(const Plan& plan) {
  Texts reasons;
  if (plan.components.empty()) reasons.emplace_back("the session has no components");
  add_group(reasons, codes_with(plan, ComponentStatus::no_code), "skipped, without a code");
  add_group(reasons, codes_with(plan, ComponentStatus::not_selected),
            plan.is_removal ? "skipped, not selected to be removed" : "skipped, not selected to be installed");
  add_group(reasons, codes_with(plan, ComponentStatus::no_package), "skipped, without a package");
  add_about_descriptors(reasons, plan);
  add_group(reasons, places_with(plan, RecordStatus::no_repository), "lines without a repository, which are passed over");
  add_group(reasons, places_with(plan, RecordStatus::no_feature), "lines without a feature");
  return reasons;
}

}  // namespace

std::vector<std::string> reasons_for_no_command(const Plan& plan, const RecordedRun& run, const Session& session) {
  if (run.searched) return about_lists(plan);
  if (!run.executable.empty()) return {"\"" + run.executable + "\" does not exist"};
  Texts reasons;
  for (const std::string& name : run.asked_variables) reasons.push_back(value_of(session, name));
  if (session.variable("ECLIPSE_INTEGRATION_CHOICE") == "internal") {
    for (std::string& reason : about_executable(run, session)) reasons.push_back(std::move(reason));
  }
  reasons.push_back("so there is no Eclipse to work on, and no component is searched (" +
                    counted(session.components.size(), "component") + ")");
  return reasons;
}

}  // namespace eclipse_plan
