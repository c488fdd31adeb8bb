// Rules about what the metadata of a repository has its units do.
#include "base/printable.h"
#include "lint/input.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "p2/repository.h"
#include "p2/unit.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

/// Reports an action "PHASE:NAME", and in the words of `error` what is wrong with it.
void report_action(const Input& input, const Record& record, const Unit& unit, const std::string& action,
                   const std::string& error, const std::string& fix, Reporter& reporter) {
  const std::size_t colon = action.find(':');
  const std::string phase = action.substr(0, colon);
  const bool is_removal = phase == "uninstall" || phase == "unconfigure";
  reporter.report(record.location(0),
                  in_quotes(text_of(unit)) + " in " + in_quotes(record.repository()) + " calls the action " +
                      in_quotes(action.substr(colon + 1)) + " to " + phase + ", " + error +
                      (is_removal ? ": once installed, it cannot be removed" : ""),
                  fix);
  if (!is_removal) reporter.fails(input.needed->records_that_need({unit}));
}

void check_actions(const Input& input, const Record& record, const Unit& unit, const UnitDescription& description,
                   Reporter& reporter) {
  for (const std::string& action : description.foreign_actions) {
    report_action(input, record, unit, action, "which p2 does not have for it",
                  "correct the p2.inf of the feature or bundle, or add metaRequirements for the bundle with the action",
                  reporter);
  }
  for (const std::string& action : description.bundle_actions) {
    report_action(input, record, unit, action, "which needs a bundle",
                  "move the instruction from the p2.inf of the feature to that of the bundle", reporter);
  }
}

Rule action_unknown() {
  return {
      .name = "action-unknown",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a unit calls an action that p2 does not offer it, and requires no unit that provides the action",
      .why =
          "The director ends with \"No action found\", or with another error if a feature calls an action that needs a bundle, "
          "such as markStarted. If the action belongs to the removal, the unit can be installed but never removed.",
      .fix = "correct the p2.inf of the feature or bundle",
      .bad = component_with_unit("1.0.0",
                                 "<touchpointData><instructions><instruction key='install'>org.example.register(a:b);"
                                 "</instruction></instructions></touchpointData>"),
      .good = component_with_unit("1.0.0",
                                  "<touchpointData><instructions><instruction key='install'>"
                                  "org.eclipse.equinox.p2.touchpoint.natives.mkdir(path:${installFolder}/a);"
                                  "</instruction></instructions></touchpointData>"),
      .check = [](const Input& input, Reporter& reporter) {
        if (!input.needed) return;
        const NeededUnits& needed = *input.needed;
        const Sites& sites = needed.sites();
        for (const auto& [site, record] : sites) {
          for (const auto& [unit, description] : site->descriptions) {
            if (needed.all().contains(unit)) check_actions(input, *record, unit, description, reporter);
          }
        }
      }};
}

}  // namespace

std::vector<Rule> repositories_units_rules() { return {action_unknown()}; }

}  // namespace eclipse_lint
