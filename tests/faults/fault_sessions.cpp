#include "faults/fault_sessions.h"

#include <stdexcept>

using differential::call_action;
using differential::PlannedComponent;
using differential::PlannedSession;
using exports::Action;

namespace faults {

namespace {

using Texts = std::vector<std::string>;

// Names are long, so that a text of one needs memory of its own.
const std::string plugins = "org.example.plug-ins";
const std::string others = "org.example.others";
const std::string ide = "org.example.integrated-development-environment";

std::vector<differential::PlannedFile> files() {
  const std::string key = "osgi.bundles=none\neclipse.buildId=4.5.2.v20160212-1500";
  return {{plugins + "/etc/eclipse/plug-ins.txt",
           "Repository\tFeature\nupdate/site-of-plug-ins\torg.example.first.feature.group\tanything at all\t2\n"
           "update/site-of-plug-ins.zip\torg.example.second.feature.group\n"},
          {others + "/share/etc/eclipse/others.txt", "update/site-of-others\torg.example.third.feature.group\t\t1\r\n"},
          {ide + "/eclipse"},
          {ide + "/bin/eclipse"},
          {"instance/eclipse"},
          {"instance/configuration/config.ini", key + "\nosgi.end=1\n"},
          {"instance-without-line-end/eclipse"},
          {"instance-without-line-end/configuration/config.ini", key},
          {"instance-without-version/eclipse"},
          {"instance-without-version/configuration/config.ini", "osgi.bundles=none\n"},
          {"instance-without-configuration/eclipse"}};
}

std::vector<std::optional<PlannedComponent>> components() {
  PlannedComponent with_plugins{.code = plugins, .installBase = "./", .installDir = plugins, .install = true, .remove = true};
  with_plugins.package = {.prefix = plugins,
                          .files = {"bin/tool", "etc\\eclipse\\plug-ins.txt\r\n", "etc/eclipse/not-there.txt"}};
  PlannedComponent with_others{.code = others, .installBase = ".", .installDir = others, .remove = true, .installed = true};
  with_others.package = {.prefix = others, .files = {"share/etc/eclipse/others.txt"}};
  PlannedComponent with_ide{.code = ide, .installBase = ".", .installDir = ide, .install = true};
  with_ide.package = {.prefix = ide, .files = {"eclipse.ini", "eclipse", "bin\\eclipse\n"}, .root = "."};
  const PlannedComponent without_code{.code = "", .install = true};
  const PlannedComponent without_provider{.code = "org.example.no-provider", .install = true, .has_provider = false};
  const PlannedComponent without_package{.code = "org.example.no-package", .install = true};
  return {std::nullopt, without_code, with_plugins, with_others, with_ide, without_provider, without_package};
}

PlannedSession session(const std::string& choice, const std::string& mode) {
  PlannedSession plan{.files = files(), .components = components()};
  plan.capabilities = {{"ECLIPSE_IDE_OF_THE_PRODUCT", 4}, {"ECLIPSE_IDE_WITHOUT_COMPONENT", 0}, {"OTHER_ECLIPSE_PLUGIN", 3}};
  plan.variables = {{"ECLIPSE_INTEGRATION_CHOICE", choice},
                    {"KORU_MODE", mode},
                    {"ECLIPSE_BIN", "eclipse"},
                    {"USER_DEFINED_ECLIPSE_PATH", "instance/eclipse"},
                    {"CASHED_ECLIPSE_PATH", "instance-of-an-earlier-run/eclipse"},
                    {"ECLIPSE_MIN_SUPPORTED_VERSION", "4.5.0 and a long rest of it"},
                    {"QN_SCRIPTS_COMPLETE_DESC", "What the installer has to say already."},
                    {"eclipse_integration_failed_title", "These features could not be integrated:"}};
  return plan;
}

const Action& action(std::string_view name) {
  for (const Action& each : exports::actions) {
    if (each.name == name) return each;
  }
  throw std::out_of_range(std::string(name));
}

eclipse_shell::CommandResult result(int exit_code) { return {"A line of output.\nAnd another one.\n", "", exit_code, 0}; }

void add_checks(std::vector<PlannedSession>& sessions) {
  for (const std::string mode : {"install", "modify", "uninstall"}) {
    for (const std::string choice : {"internal", "user", "none", ""}) {
      for (const std::string name : {"eclipse_integration_required", "find_eclipse_ide", "define_eclipse_path"}) {
        sessions.push_back(session(choice, mode));
        sessions.back().steps = {call_action(action(name))};
      }
    }
  }
}

void add_user_checks(std::vector<PlannedSession>& sessions) {
  for (const std::string instance : {"instance", "instance-without-line-end", "instance-without-version",
                                     "instance-without-configuration", "instance-not-there"}) {
    for (const std::string name : {"verify_user_defined_eclipse_path", "user_eclipse_version", "verify_eclipse_version"}) {
      sessions.push_back(session("user", "install"));
      sessions.back().variables["USER_DEFINED_ECLIPSE_PATH"] = instance + "/eclipse";
      sessions.back().steps = {call_action(action(name))};
    }
  }
}

void add_performances(std::vector<PlannedSession>& sessions) {
  const std::vector<std::vector<int>> exit_codes = {{0}, {13}, {13, 0}, {13, 0, 1, 0}};
  for (const auto& codes : exit_codes) {
    for (const std::string choice : {"internal", "user", "none"}) {
      for (const std::string name : {"perform_integration", "perform_unintegration"}) {
        sessions.push_back(session(choice, "modify"));
        sessions.back().graphical = codes.size() == 2;
        sessions.back().results.clear();
        for (const int code : codes) sessions.back().results.push_back(result(code));
        sessions.back().steps = {call_action(action(name))};
      }
    }
  }
}

/// The functions that no action calls.
void add_other_functions(std::vector<PlannedSession>& sessions) {
  for (const differential::Step& step : {differential::match_codes("org.example.o"), differential::match_contents("not-there"),
                                         differential::list_eclipses(Integrate, true), differential::list_eclipses(0, true)}) {
    sessions.push_back(session("user", "install"));
    sessions.back().steps = {step};
  }
}

void add_whole_run(std::vector<PlannedSession>& sessions) {
  sessions.push_back(session("internal", "install"));
  sessions.back().results = {result(13), result(1), result(0), result(13), result(2)};
  for (const Action& each : exports::actions) sessions.back().steps.push_back(call_action(each));
}

}  // namespace

std::vector<PlannedSession> fault_sessions() {
  std::vector<PlannedSession> sessions;
  add_checks(sessions);
  add_user_checks(sessions);
  add_performances(sessions);
  add_other_functions(sessions);
  add_whole_run(sessions);
  return sessions;
}

}  // namespace faults
