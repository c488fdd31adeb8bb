#include "p2/touchpoint_actions.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "p2/names.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

// As the plugin.xml files of Eclipse 4.26 list them.
constexpr std::array<std::string_view, 25> actions_of_eclipse = {"addJvmArg",
                                                                 "addProgramArg",
                                                                 "addProgramProperty",
                                                                 "addRepository",
                                                                 "addSourceBundle",
                                                                 "checkTrust",
                                                                 "chmod",
                                                                 "collect",
                                                                 "installBundle",
                                                                 "installFeature",
                                                                 "ln",
                                                                 "markStarted",
                                                                 "removeJvmArg",
                                                                 "removeProgramArg",
                                                                 "removeProgramProperty",
                                                                 "removeRepository",
                                                                 "removeSourceBundle",
                                                                 "setFrameworkDependentProperty",
                                                                 "setFrameworkIndependentProperty",
                                                                 "setJvm",
                                                                 "setLauncherName",
                                                                 "setProgramProperty",
                                                                 "setStartLevel",
                                                                 "uninstallBundle",
                                                                 "uninstallFeature"};
constexpr std::array<std::string_view, 14> actions_of_natives = {"blockMacUpdate",
                                                                 "checkAndPromptNativePackage",
                                                                 "checkAndPromptNativePackageWindowsRegistry",
                                                                 "chmod",
                                                                 "cleanupcopy",
                                                                 "cleanupzip",
                                                                 "collect",
                                                                 "copy",
                                                                 "link",
                                                                 "ln",
                                                                 "mkdir",
                                                                 "remove",
                                                                 "rmdir",
                                                                 "unzip"};
// The touchpoint of Eclipse passes these on to the other one.
constexpr std::array<std::string_view, 2> passed_on = {"mkdir", "rmdir"};
constexpr std::array<std::string_view, 6> actions_of_bundles = {"addSourceBundle",    "installBundle", "markStarted",
                                                                "removeSourceBundle", "setStartLevel", "uninstallBundle"};

template <typename Names>
bool is_in(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// An action without a namespace is one of the unit's touchpoint.
bool is_known(std::string_view action, std::string_view touchpoint) {
  constexpr std::string_view own = "org.eclipse.equinox.p2.";
  if (action.find('.') != action.npos) return action.starts_with(own);
  const bool is_of_eclipse = is_in(actions_of_eclipse, action) || is_in(passed_on, action);
  if (touchpoint == osgi_touchpoint) return is_of_eclipse;
  if (touchpoint == "org.eclipse.equinox.p2.native") return is_in(actions_of_natives, action);
  return is_of_eclipse || is_in(actions_of_natives, action);
}

bool is_for_bundles(std::string_view action) {
  constexpr std::string_view eclipse = "org.eclipse.equinox.p2.touchpoint.eclipse.";
  if (action.starts_with(eclipse)) action.remove_prefix(eclipse.size());
  return is_in(actions_of_bundles, action);
}

bool is_phase(std::string_view key) {
  constexpr std::array<std::string_view, 5> phases = {"collect", "install", "configure", "unconfigure", "uninstall"};
  return is_in(phases, key);
}

/// Of the statements "NAME(PARAMETERS);". A semicolon in a parameter is written as "${#59}".
std::vector<std::string> actions_in(const std::string& statements) {
  std::vector<std::string> actions;
  for (const std::string& statement : split(statements, ';')) {
    const std::size_t parenthesis = statement.find('(');
    if (parenthesis == statement.npos) continue;
    const std::string_view action = trimmed(std::string_view(statement).substr(0, parenthesis));
    if (!action.empty()) actions.emplace_back(action);
  }
  return actions;
}

/// The group of a feature, or its jar.
bool is_feature(const pugi::xml_node& unit) {
  if (is_group(unit)) return true;
  const pugi::xml_node provides = unit.child("provides");
  return static_cast<bool>(provides.find_child_by_attribute("provided", "namespace", feature_name_space));
}

/// Calls use(PHASE, ACTION) for all of the instructions of a unit.
template <typename Use>
void for_each_action(const pugi::xml_node& unit, const Use& use) {
  for (const pugi::xml_node instructions : unit.child("touchpointData").children("instructions")) {
    for (const pugi::xml_node instruction : instructions.children("instruction")) {
      const std::string phase = instruction.attribute("key").value();
      if (!is_phase(phase) || instruction.attribute("import")) continue;
      for (const std::string& action : actions_in(instruction.text().get())) use(phase, action);
    }
  }
}

}  // namespace

std::set<std::string> foreign_actions_of(const pugi::xml_node& unit) {
  std::set<std::string> actions;
  if (unit.child("metaRequirements") || unit.child("metaRequires")) return actions;
  const std::string touchpoint = unit.child("touchpoint").attribute("id").value();
  for_each_action(unit, [&](const std::string& phase, const std::string& action) {
    if (!is_known(action, touchpoint)) actions.insert(phase + ":" + action);
  });
  return actions;
}

std::set<std::string> bundle_actions_of_feature(const pugi::xml_node& unit) {
  std::set<std::string> actions;
  if (!is_feature(unit)) return actions;
  for_each_action(unit, [&](const std::string& phase, const std::string& action) {
    if (is_for_bundles(action)) actions.insert(phase + ":" + action);
  });
  return actions;
}

}  // namespace eclipse_p2
