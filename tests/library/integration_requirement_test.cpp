#include <gtest/gtest.h>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::ComponentFields;
using fake::FakeHost;
using fake::Texts;

namespace {

const Texts required = {"eclipse_int: eclipse_integration_required entered", "eclipse_int: eclipse integration is required",
                        "ECLIPSE_INTEGRATION_REQUIRED=yes"};
const Texts not_required = {"eclipse_int: eclipse_integration_required entered",
                            "eclipse_int: eclipse integration is not required", "ECLIPSE_INTEGRATION_REQUIRED=no"};
const Texts not_found = {"eclipse_int::find_eclipse_ide: entered",
                         "eclipse_int::find_eclipse_ide: eclipse integration is not required", "ECLIPSE_IDE=no",
                         "ECLIPSE_IDE_ENABLED=no"};
const Texts enabled = {"eclipse_int::find_eclipse_ide: entered", "eclipse_int::find_eclipse_ide: eclipse ide is found",
                       "ECLIPSE_IDE=yes", "eclipse_int::find_eclipse_ide: eclipse ide is enabled", "ECLIPSE_IDE_ENABLED=yes"};
const Texts disabled = {"eclipse_int::find_eclipse_ide: entered", "eclipse_int::find_eclipse_ide: eclipse ide is found",
                        "ECLIPSE_IDE=yes", "eclipse_int::find_eclipse_ide: eclipse ide is disabled", "ECLIPSE_IDE_ENABLED=no"};
const Texts chosen = {"eclipse_int::find_eclipse_ide: entered",
                      "eclipse_int::find_eclipse_ide: ECLIPSE_INTEGRATION_CHOICE is set to internal", "ECLIPSE_IDE=yes",
                      "ECLIPSE_IDE_ENABLED=yes"};

struct Case {
  std::string mode;
  std::vector<ComponentFields> components;
  Texts events;
  Texts component_calls;
};

void expect_case(int (*action)(session_t*), const Case& expected) {
  FakeHost host;
  host.variables["KORU_MODE"] = expected.mode;
  std::string what = expected.mode;
  for (const ComponentFields& component : expected.components) {
    host.add(component);
    what += " " + component.code + testing::PrintToString(component.capabilities);
  }
  // What an earlier call left is overwritten.
  host.variables["ECLIPSE_INTEGRATION_REQUIRED"] = host.variables["ECLIPSE_IDE"] = host.variables["ECLIPSE_IDE_ENABLED"] =
      "stale";
  for (int call = 0; call < 2; ++call) {
    host.events.clear();
    host.calls.clear();
    EXPECT_EQ(action(&host), 0) << what;
    EXPECT_EQ(host.events, expected.events) << what;
    EXPECT_EQ(host.calls_of({"Component::"}), expected.component_calls) << what;
  }
}

TEST(IntegrationRequired, FollowsModeComponentsAndCapabilityNames) {
  const std::vector<Case> cases = {
      {"install", {}, not_required, {}},
      {"install",
       {{.code = "p", .install = true, .capabilities = {"ECLIPSE_PLUGIN"}}},
       required,
       {"Component::installCondition(p)"}},
      {"install",
       {{.code = "p", .install = true, .capabilities = {"MY_ECLIPSE_PLUGIN_2"}}},
       required,
       {"Component::installCondition(p)"}},
      {"install",
       {{.code = "p",
         .install = true,
         .capabilities = {"eclipse_plugin", "ECLIPSE_PLUGI", "CLIPSE_PLUGIN", "ECLIPSE_PLUG-IN"}}},
       not_required,
       Texts(4, "Component::installCondition(p)")},
      {"install",
       {{.code = "p", .install = true, .capabilities = {"ECLIPSE_IDE"}}},
       not_required,
       {"Component::installCondition(p)"}},
      {"install", {{.code = "", .install = true, .capabilities = {"ECLIPSE_PLUGIN"}}}, not_required, {}},
      {"install",
       {{.code = "p", .remove = true, .installed = true, .capabilities = {"ECLIPSE_PLUGIN"}}},
       not_required,
       {"Component::installCondition(p)"}},
      {"modify",
       {{.code = "p", .install = true, .capabilities = {"ECLIPSE_PLUGIN"}}},
       required,
       {"Component::installCondition(p)"}},
      {"modify",
       {{.code = "p", .remove = true, .installed = true, .capabilities = {"ECLIPSE_PLUGIN"}}},
       required,
       {"Component::installCondition(p)", "Component::getInstalled(p)"}},
      {"modify",
       {{.code = "p", .remove = true, .capabilities = {"ECLIPSE_PLUGIN"}}},
       not_required,
       {"Component::installCondition(p)", "Component::getInstalled(p)"}},
      {"uninstall", {{.code = "p", .capabilities = {"ECLIPSE_PLUGIN"}}}, required, {}},
      {"", {{.code = "p", .capabilities = {"ECLIPSE_PLUGIN"}}}, required, {}},
      {"Install", {{.code = "p", .capabilities = {"ECLIPSE_PLUGIN"}}}, required, {}},
      {"uninstall", {{.code = "p", .capabilities = {"ECLIPSE_IDE"}}}, not_required, {}},
  };
  for (const Case& expected : cases) expect_case(&eclipse_integration_required, expected);
}

TEST(IntegrationRequired, ComponentsAreAskedInKeyOrderBeforeTheNameIsLookedAtAndUpToTheFirstHit) {
  expect_case(&eclipse_integration_required,
              {"modify",
               {{.code = "after", .install = true, .capabilities = {"Z_ECLIPSE_PLUGIN"}},
                {.code = "hit", .installed = true, .capabilities = {"D_ECLIPSE_PLUGIN"}},
                {.code = "other", .install = true, .capabilities = {"A_SOMETHING"}},
                {.code = "", .install = true, .capabilities = {"B_ECLIPSE_PLUGIN"}},
                {.code = "deselected", .capabilities = {"C_ECLIPSE_PLUGIN"}}},
               required,
               {"Component::installCondition(other)", "Component::installCondition(deselected)",
                "Component::getInstalled(deselected)", "Component::installCondition(hit)", "Component::getInstalled(hit)"}});
}

TEST(IntegrationRequired, EntryWithoutAComponentIsSkipped) {
  FakeHost host;
  host.capabilities = {{"ECLIPSE_PLUGIN", nullptr}};
  EXPECT_EQ(eclipse_integration_required(&host), 0);
  EXPECT_EQ(host.events, not_required);
}

TEST(IntegrationRequired, WithoutACapabilityMapItIsNot) {
  FakeHost host;
  host.capabilities.reset();
  EXPECT_EQ(eclipse_integration_required(&host), 0);
  EXPECT_EQ(host.events, (Texts{"eclipse_int: eclipse_integration_required entered", "eclipse_int: provides_list is NULL",
                                "eclipse_int: eclipse integration is not required", "ECLIPSE_INTEGRATION_REQUIRED=no"}));
  EXPECT_EQ(host.calls_of({"env_get_string"}), Texts{});
}

TEST(FindEclipseIde, FollowsModeComponentsAndCapabilityNames) {
  const std::vector<Case> cases = {
      {"install", {}, not_found, {}},
      {"install",
       {{.code = "i", .install = true, .capabilities = {"ECLIPSE_IDE"}}},
       enabled,
       {"Component::installCondition(i)"}},
      {"install",
       {{.code = "i", .install = true, .capabilities = {"MY_ECLIPSE_IDE_2"}}},
       enabled,
       {"Component::installCondition(i)"}},
      {"install", {{.code = "i", .install = true, .capabilities = {"ECLIPSE_PLUGIN"}}}, not_found, {}},
      {"install", {{.code = "i", .install = true, .capabilities = {"Eclipse_IDE"}}}, not_found, {}},
      {"install", {{.code = "", .install = true, .capabilities = {"ECLIPSE_IDE"}}}, not_found, {}},
      {"install",
       {{.code = "i", .installed = true, .capabilities = {"ECLIPSE_IDE"}}},
       disabled,
       {"Component::installCondition(i)"}},
      {"modify",
       {{.code = "i", .install = true, .capabilities = {"ECLIPSE_IDE"}}},
       enabled,
       {"Component::installCondition(i)"}},
      {"modify",
       {{.code = "i", .installed = true, .capabilities = {"ECLIPSE_IDE"}}},
       enabled,
       {"Component::installCondition(i)", "Component::getInstalled(i)"}},
      {"modify",
       {{.code = "i", .remove = true, .capabilities = {"ECLIPSE_IDE"}}},
       disabled,
       {"Component::installCondition(i)", "Component::getInstalled(i)"}},
      {"uninstall", {{.code = "i", .capabilities = {"ECLIPSE_IDE"}}}, enabled, {}},
      {"", {{.code = "i", .capabilities = {"ECLIPSE_IDE"}}}, enabled, {}},
  };
  for (const Case& expected : cases) expect_case(&find_eclipse_ide, expected);
}

TEST(FindEclipseIde, OnlyIdeEntriesAreAskedUpToTheFirstThatTakesPart) {
  expect_case(&find_eclipse_ide, {"install",
                                  {{.code = "after", .install = true, .capabilities = {"Z_ECLIPSE_IDE"}},
                                   {.code = "second", .install = true, .capabilities = {"D_ECLIPSE_IDE"}},
                                   {.code = "first", .capabilities = {"C_ECLIPSE_IDE"}},
                                   {.code = "", .install = true, .capabilities = {"B_ECLIPSE_IDE"}},
                                   {.code = "other", .install = true, .capabilities = {"A_ECLIPSE_PLUGIN"}}},
                                  enabled,
                                  {"Component::installCondition(first)", "Component::installCondition(second)"}});
}

TEST(FindEclipseIde, EntryWithoutAComponentIsSkipped) {
  FakeHost host;
  host.capabilities = {{"ECLIPSE_IDE", nullptr}};
  EXPECT_EQ(find_eclipse_ide(&host), 0);
  EXPECT_EQ(host.events, not_found);
}

TEST(FindEclipseIde, WithoutACapabilityMapThereIsNone) {
  for (const std::string choice : {"", "user", "none", "Internal"}) {
    FakeHost host;
    host.variables["ECLIPSE_INTEGRATION_CHOICE"] = choice;
    host.capabilities.reset();
    EXPECT_EQ(find_eclipse_ide(&host), 0);
    EXPECT_EQ(host.events,
              (Texts{"eclipse_int::find_eclipse_ide: entered", "eclipse_int::find_eclipse_ide : provides_list is NULL",
                     "eclipse_int::find_eclipse_ide: eclipse integration is not required", "ECLIPSE_IDE=no",
                     "ECLIPSE_IDE_ENABLED=no"}));
    EXPECT_EQ(host.calls_of({"env_get_string"}), Texts{"env_get_string(ECLIPSE_INTEGRATION_CHOICE)"});
  }
}

TEST(FindEclipseIde, InternalChoiceIsEnoughAndTheMapIsNotConsulted) {
  for (const bool with_map : {true, false}) {
    FakeHost host;
    host.variables = {{"ECLIPSE_INTEGRATION_CHOICE", "internal"}, {"KORU_MODE", "install"}};
    host.add({.code = "i", .capabilities = {"ECLIPSE_IDE"}});
    if (!with_map) host.capabilities.reset();
    EXPECT_EQ(find_eclipse_ide(&host), 0);
    EXPECT_EQ(host.events, chosen);
    EXPECT_EQ(host.calls_of({"session_get_cdata", "Component::"}), Texts{});
  }
}

}  // namespace
