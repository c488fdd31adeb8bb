#include "p2/touchpoint_actions.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

/// Of both touchpoints, as the plugin.xml of Eclipse 4.26 lists them.
bool is_known(std::string_view action) {
  constexpr std::array<std::string_view, 36> known = {"addJvmArg",
                                                      "addProgramArg",
                                                      "addProgramProperty",
                                                      "addRepository",
                                                      "addSourceBundle",
                                                      "blockMacUpdate",
                                                      "checkAndPromptNativePackage",
                                                      "checkAndPromptNativePackageWindowsRegistry",
                                                      "checkTrust",
                                                      "chmod",
                                                      "cleanupcopy",
                                                      "cleanupzip",
                                                      "collect",
                                                      "copy",
                                                      "installBundle",
                                                      "installFeature",
                                                      "link",
                                                      "ln",
                                                      "markStarted",
                                                      "mkdir",
                                                      "remove",
                                                      "removeJvmArg",
                                                      "removeProgramArg",
                                                      "removeProgramProperty",
                                                      "removeRepository",
                                                      "removeSourceBundle",
                                                      "rmdir",
                                                      "setFrameworkDependentProperty",
                                                      "setFrameworkIndependentProperty",
                                                      "setJvm",
                                                      "setLauncherName",
                                                      "setProgramProperty",
                                                      "setStartLevel",
                                                      "uninstallBundle",
                                                      "uninstallFeature",
                                                      "unzip"};
  constexpr std::string_view own = "org.eclipse.equinox.p2.";
  const std::size_t dot = action.rfind('.');
  if (dot == action.npos) return std::find(known.begin(), known.end(), action) != known.end();
  return action.starts_with(own);
}

bool is_phase(std::string_view key) {
  constexpr std::array<std::string_view, 5> phases = {"collect", "install", "configure", "unconfigure", "uninstall"};
  return std::find(phases.begin(), phases.end(), key) != phases.end();
}

/// Of the statements "NAME(PARAMETERS);". A semicolon in a parameter is written as "${#59}".
void add_actions(const pugi::xml_node& instruction, std::set<std::string>& actions) {
  const std::string phase = instruction.attribute("key").value();
  for (const std::string& statement : split(instruction.text().get(), ';')) {
    const std::size_t parenthesis = statement.find('(');
    if (parenthesis == statement.npos) continue;
    const std::string_view action = trimmed(std::string_view(statement).substr(0, parenthesis));
    if (!action.empty() && !is_known(action)) actions.insert(std::string(phase).append(":").append(action));
  }
}

}  // namespace

std::set<std::string> foreign_actions_of(const pugi::xml_node& unit) {
  std::set<std::string> actions;
  if (unit.child("metaRequirements") || unit.child("metaRequires")) return actions;
  for (const pugi::xml_node instructions : unit.child("touchpointData").children("instructions")) {
    for (const pugi::xml_node instruction : instructions.children("instruction")) {
      const bool is_judged = is_phase(instruction.attribute("key").value()) && !instruction.attribute("import");
      if (is_judged) add_actions(instruction, actions);
    }
  }
  return actions;
}

}  // namespace eclipse_p2
