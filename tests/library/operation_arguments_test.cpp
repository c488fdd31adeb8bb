// The arguments that carry no meaning for the plug-in but do for a host: fixed numbers and truth values, which form of an
// operation is called, the formats of log lines, and where the exit status is to be stored. The host here only records them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/temporary_directory.h"

namespace {

using Texts = std::vector<std::string>;

std::map<std::string, std::string> variables;
std::map<std::string, Component*> capabilities;
std::vector<Component*> catalogue;
Texts calls;
/// The formats handed to print_log(): a host may go by these instead of the finished lines.
Texts formats;
std::vector<int*> status_places;
/// What the commands store, one after another; nothing is stored once it is used up.
std::vector<int> statuses;

std::string in_quotes(const std::string& text) { return '"' + text + '"'; }

class WritingProvider : public Provider {
 public:
  Package* findPackage(const std::string& repository, const std::string& code, const std::string& version) override {
    calls.push_back("findPackage " + in_quotes(repository) + " " + in_quotes(code) + " " + in_quotes(version));
    return &package_;
  }
  std::vector<std::string> packageFiles(Package* package) override {
    calls.push_back(package == &package_ ? "packageFiles of the package" : "packageFiles of something else");
    return {"bin/eclipse", "etc/eclipse/p"};
  }
  std::string rootPath() override {
    calls.push_back("rootPath");
    return "/root";
  }

 private:
  Package package_{"ide"};
};

WritingProvider provider_of_all;

}  // namespace

// NOLINTBEGIN(performance-unnecessary-value-param)
Provider* Component::provider() { return &provider_of_all; }
bool Component::installCondition() { return code == "ide"; }
bool Component::uninstallCondition() { return true; }
bool Component::getInstalled(int number) {
  calls.push_back("getInstalled " + std::to_string(number));
  return true;
}
std::vector<Component*> TSD::components() { return catalogue; }
std::string env_get_string(session_t*, const char* name) { return variables[name]; }
void env_set_string(session_t*, const char* name, const char* value) {
  calls.push_back("env_set_string of characters " + std::string(name) + " " + in_quotes(value));
  variables[name] = value;
}
void env_set_string(session_t*, const std::string& name, const std::string& value) {
  calls.push_back("env_set_string of texts " + name + " " + in_quotes(value));
  variables[name] = value;
}
std::string expand_operand(session_t*, const char* text, bool flag) {
  calls.push_back("expand_operand " + in_quotes(text) + (flag ? " true" : " false"));
  return "4";
}
void* session_get_cdata(session_t*, char* name) {
  calls.push_back("session_get_cdata " + std::string(name));
  return &capabilities;
}
bool is_gui_mode(session_t*) { return false; }
void print_log(const char* format, ...) { formats.emplace_back(format); }
std::string path(std::string text) { return text; }
std::string resolved_path(std::string text) {
  calls.push_back("resolved_path " + in_quotes(text));
  return text;
}
bool path_is_relative(std::string text) { return !text.starts_with('/'); }
std::string get_basename(const std::string& path) { return path.substr(path.rfind('/') + 1); }
std::string get_dirname(const std::string& path) { return path.substr(0, path.rfind('/')); }
bool is_file(const std::string&) { return true; }
bool file_exists(const std::string& path, bool flag) {
  calls.push_back("file_exists " + in_quotes(path) + (flag ? " true" : " false"));
  return true;
}
char* get_file(const std::string& path, int number, long long* size) {
  calls.push_back("get_file " + in_quotes(path) + " " + std::to_string(number) + (size == nullptr ? " null" : " not null"));
  return strdup("eclipse.buildId=4.5\n");
}
std::string join(std::vector<std::string> items, std::string separator) {
  calls.push_back("join of a list by " + in_quotes(separator));
  std::string text;
  for (const std::string& item : items) text += item + separator;
  return text;
}
std::string join(std::set<std::string> items, std::string separator) {
  calls.push_back("join of a set by " + in_quotes(separator));
  return std::to_string(items.size());
}
std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to) {
  calls.push_back("replaceAllSubstrings " + in_quotes(from) + " " + in_quotes(to));
  return text;
}
std::string get_command_output(std::string command, int* exit_status, bool flag, std::string text) {
  calls.push_back("get_command_output " + command.substr(command.rfind(" -")) + (flag ? " true " : " false ") +
                  in_quotes(text));
  status_places.push_back(exit_status);
  if (statuses.empty()) return "printed";
  *exit_status = statuses.front();
  statuses.erase(statuses.begin());
  return "printed";
}
// NOLINTEND(performance-unnecessary-value-param)

namespace {

class OperationArguments : public testing::Test {
 protected:
  OperationArguments() {
    ide.code = "ide";
    other.code = "other";
    capabilities = {{"ECLIPSE_IDE", &ide}, {"ECLIPSE_PLUGIN", &other}};
    catalogue = {&ide};
    variables = {{"ECLIPSE_BIN", "eclipse"}, {"USER_DEFINED_ECLIPSE_PATH", "/own/eclipse"}};
    calls.clear();
    formats.clear();
    status_places.clear();
    statuses.clear();
  }

  Component ide;
  Component other;
  session_t session;
};

TEST_F(OperationArguments, OfTheRequirement) {
  variables["KORU_MODE"] = "modify";
  eclipse_integration_required(&session);
  find_eclipse_ide(&session);
  EXPECT_EQ(calls, (Texts{"session_get_cdata KORU_YUM_CAPABILITY_PROVIDERS", "getInstalled 0",
                          "env_set_string of characters ECLIPSE_INTEGRATION_REQUIRED \"yes\"",
                          "session_get_cdata KORU_YUM_CAPABILITY_PROVIDERS", "env_set_string of characters ECLIPSE_IDE \"yes\"",
                          "env_set_string of characters ECLIPSE_IDE_ENABLED \"yes\""}));
}

TEST_F(OperationArguments, OfTheRequirementWhenThereIsNone) {
  capabilities.clear();
  eclipse_integration_required(&session);
  find_eclipse_ide(&session);
  variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  find_eclipse_ide(&session);
  EXPECT_EQ(calls, (Texts{"session_get_cdata KORU_YUM_CAPABILITY_PROVIDERS",
                          "env_set_string of characters ECLIPSE_INTEGRATION_REQUIRED \"no\"",
                          "session_get_cdata KORU_YUM_CAPABILITY_PROVIDERS", "env_set_string of characters ECLIPSE_IDE \"no\"",
                          "env_set_string of characters ECLIPSE_IDE_ENABLED \"no\"",
                          "env_set_string of characters ECLIPSE_IDE \"yes\"",
                          "env_set_string of characters ECLIPSE_IDE_ENABLED \"yes\""}));
}

TEST_F(OperationArguments, OfTheEclipsePath) {
  define_eclipse_path(&session);
  EXPECT_EQ(calls,
            (Texts{"session_get_cdata KORU_YUM_CAPABILITY_PROVIDERS", "findPackage \"\" \"ide\" \"\"",
                   "packageFiles of the package", "rootPath", "resolved_path \"/root/ide\"",
                   "file_exists \"/root/ide/bin/eclipse\" false", "env_set_string of texts ECLIPSE_PATH \"/root/ide/bin\""}));
  calls.clear();
  variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  define_eclipse_path(&session);
  EXPECT_EQ(Texts(calls.end() - 2, calls.end()),
            (Texts{"file_exists \"/own/eclipse\" false", "env_set_string of texts ECLIPSE_PATH \"/own\""}));
}

TEST_F(OperationArguments, OfTheVersionCheck) {
  verify_eclipse_version(&session);
  // Either form of env_set_string will do here.
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("env_set_string"); });
  EXPECT_EQ(calls, (Texts{"get_file \"/own/configuration/config.ini\" 0 null",
                          "expand_operand \"${ECLIPSE_MIN_SUPPORTED_VERSION}\" true"}));
  EXPECT_EQ(variables["ECLIPSE_VERSION"] + " " + variables["ECLIPSE_VERSION_IS_SUPPORTED"], "4.5 yes");
}

TEST_F(OperationArguments, OfTheCatalogue) {
  get_component_by_content_predicate("x", &ide);
  get_integration_files({&ide}, Integrate, false);
  find_eclipse_executable("x", {&other});
  EXPECT_EQ(calls, (Texts{"findPackage \"\" \"ide\" \"\"", "packageFiles of the package", "findPackage \"\" \"ide\" \"\"",
                          "packageFiles of the package", "findPackage \"\" \"other\" \"\"", "packageFiles of the package"}));
}

TEST_F(OperationArguments, OfTheLogInTheChecks) {
  eclipse_integration_required(&session);
  find_eclipse_ide(&session);
  define_eclipse_path(&session);
  variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  define_eclipse_path(&session);
  variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  define_eclipse_path(&session);
  verify_eclipse_version(&session);
  EXPECT_EQ(formats,
            (Texts{"eclipse_int: eclipse_integration_required entered", "eclipse_int: eclipse integration is required",
                   "eclipse_int::find_eclipse_ide: entered", "eclipse_int::find_eclipse_ide: eclipse ide is found",
                   "eclipse_int::find_eclipse_ide: eclipse ide is enabled", "eclipse_int: found eclipse executable: %s",
                   "eclipse_int: no integration choice haven't been done yet. Setting default eclipse path: %s",
                   "eclipse_int: found eclipse executable: %s", "eclipse_int: internal eclipse install subdir: %s",
                   "eclipse_int: found eclipse executable: %s", "eclipse_int: user eclipse install subdir: %s",
                   "verify_eclipse_version: user_eclipse_version", "eclipse_int: user_eclipse_version",
                   "verify_eclipse_version: compare %s and %s"}));
}

TEST_F(OperationArguments, OfTheLogForPlacesInTheOrder) {
  std::set<std::string> repositories;
  std::set<std::string> extras;
  Texts features;
  populate_lists({{"s", "lowest", "", "-2147483648", "/b"},
                  {"s", "none", "", UNDEFINED_ORDER, "/b"},
                  {"s", "highest", "", "2147483647", "/b"},
                  {"s", "beyond", "", "2147483647", "/b"}},
                 repositories, extras, features);
  const std::string record = "eclipse_int: Repository: %s Feature: %s";
  const std::string place = "eclipse_int: order: %d feature: %s";
  EXPECT_EQ(features, (Texts{"lowest", "none", "highest", "beyond"}));
  EXPECT_EQ(formats, (Texts{record, record, record, record, place, place, place, "eclipse_int: order: %lld feature: %s"}));
}

/// The component has a descriptor file with two features, and the user's Eclipse is a known one.
class DirectorArguments : public OperationArguments {
 protected:
  DirectorArguments() {
    fake::write_file("c/etc/eclipse/p", "site\tF1\nsite\tF2\n");
    ide.installBase = directory.path();
    ide.installDir = "c";
    variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
    variables["CASHED_ECLIPSE_PATH"] = "/own/eclipse";
  }

  bool one_place_for_all_statuses() const {
    return std::equal(status_places.begin() + 1, status_places.end(), status_places.begin());
  }

  fake::TemporaryDirectory directory;
};

const Texts catalogue_calls = {"findPackage \"\" \"ide\" \"\"", "packageFiles of the package"};

TEST_F(DirectorArguments, OfIntegration) {
  statuses = {5, 6, 7};
  EXPECT_EQ(perform_integration(&session), 7);
  EXPECT_EQ(calls, (Texts{"file_exists \"/own/eclipse\" false", "env_set_string of texts ECLIPSE_PATH \"/own\"",
                          catalogue_calls[0], catalogue_calls[1], "join of a set by \",\"", "join of a list by \",\"",
                          "get_command_output  -i F1,F2, 2>&1 true \"\"", "get_command_output  -i F1 2>&1 true \"\"",
                          "replaceAllSubstrings \"\n\" \"\n\"", "get_command_output  -i F2 2>&1 true \"\"",
                          "replaceAllSubstrings \"\n\" \"\n\"",
                          "env_set_string of characters QN_SCRIPTS_COMPLETE_DESC \"\n\n\nprinted\nprinted\"",
                          "env_set_string of characters QN_SCRIPTS_FAILED \"yes\""}));
  EXPECT_EQ(status_places.size(), 3U);
  EXPECT_TRUE(one_place_for_all_statuses());
}

TEST_F(DirectorArguments, OfUnintegration) {
  statuses = {5, 6, 7};
  EXPECT_EQ(perform_unintegration(&session), 7);
  EXPECT_EQ(calls, (Texts{"file_exists \"/own/eclipse\" false", "env_set_string of texts ECLIPSE_PATH \"/own\"",
                          catalogue_calls[0], catalogue_calls[1], "join of a list by \",\"",
                          "get_command_output  -u F1,F2, 2>&1 true \"\"", "get_command_output  -u F1,F2, 2>&1F1 2>&1 true \"\"",
                          "get_command_output  -u F1,F2, 2>&1F2 2>&1 true \"\""}));
  EXPECT_EQ(status_places.size(), 3U);
  EXPECT_TRUE(one_place_for_all_statuses());
}

/// What both directions log of the component's descriptor file, and of a director command.
const Texts gathered_formats = {"eclipse_int: found eclipse configuration: %s", "eclipse_int: Repository: %s Feature: %s",
                                "eclipse_int: Repository: %s Feature: %s", "eclipse_int: order: %d feature: %s",
                                "eclipse_int: order: %d feature: %s"};
const Texts command_formats = {"eclipse_int: running command: %s", "eclipse_int: out: %s", "eclipse_int: exit code: %d"};

Texts in_order(const std::vector<Texts>& parts) {
  Texts all;
  for (const Texts& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(DirectorArguments, OfTheLogOfIntegration) {
  statuses = {5, 6, 7};
  perform_integration(&session);
  EXPECT_EQ(formats, in_order({{"eclipse_int: perform_integration entered", "eclipse_int: integrate_into_instance entered",
                                "eclipse_int: eclipse install subdir: %s"},
                               gathered_formats,
                               command_formats,
                               {"eclipse_int: failed to integrate all plug-ins at once, integrating individually"},
                               command_formats,
                               command_formats}));
}

TEST_F(DirectorArguments, OfTheLogOfUnintegration) {
  statuses = {5, 6, 7};
  perform_unintegration(&session);
  EXPECT_EQ(formats, in_order({{"eclipse_int: perform_unintegration entered", "eclipse_int: unintegrate_from_instance entered",
                                "eclipse_int: eclipse install subdir: %s"},
                               gathered_formats,
                               command_formats,
                               {"eclipse_int: failed to unintegrate all plug-ins at once, unintegrating individually"},
                               command_formats,
                               command_formats}));
}

TEST_F(DirectorArguments, StatusThatTheHostDoesNotStoreIsThatOfTheCommandBefore) {
  EXPECT_EQ(perform_integration(&session), 0);
  EXPECT_EQ(perform_unintegration(&session), 0);
  EXPECT_EQ(status_places.size(), 2U);
  statuses = {5};
  EXPECT_EQ(perform_integration(&session), 5);
  EXPECT_EQ(variables["QN_SCRIPTS_COMPLETE_DESC"], "\n\n\nprinted\nprinted");
  statuses = {5};
  EXPECT_EQ(perform_unintegration(&session), 5);
}

}  // namespace
