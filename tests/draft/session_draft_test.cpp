#include "draft/session_draft.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "base/file_error.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_draft;
using nlohmann::json;

namespace {

TEST(SessionDraft, SelectsAllComponentsForInstallation) {
  const json session = json::parse(draft_session({{"/opt/tools", "/opt/other/tools", "/opt/more"}, "/opt/ide/eclipse"}));
  const auto component = [](const char* code, const char* base, const char* directory, const char* capability) {
    const std::string path = std::string(base) + "/" + directory;
    return json({{"code", code},
                 {"installBase", base},
                 {"installDir", directory},
                 {"capabilities", {capability}},
                 {"install", true},
                 {"package", {{"scan", path}}}});
  };
  EXPECT_EQ(session, json({{"mode", "install"},
                           {"variables",
                            {{"ECLIPSE_INTEGRATION_CHOICE", "user"},
                             {"ECLIPSE_BIN", "eclipse"},
                             {"USER_DEFINED_ECLIPSE_PATH", "/opt/ide/eclipse"}}},
                           {"components",
                            {component("tools", "/opt", "tools", "ECLIPSE_PLUGIN_1"),
                             component("tools_2", "/opt/other", "tools", "ECLIPSE_PLUGIN_2"),
                             component("more", "/opt", "more", "ECLIPSE_PLUGIN_3")}}}));
}

TEST(SessionDraft, SelectsAllComponentsForRemoval) {
  const json session = json::parse(draft_session({{"/opt/tools"}, "/opt/ide/my-eclipse", true}));
  EXPECT_EQ(session.at("mode"), "uninstall");
  EXPECT_EQ(session.at("variables").at("ECLIPSE_BIN"), "my-eclipse");
  EXPECT_EQ(session.at("components")[0], json({{"code", "tools"},
                                               {"installBase", "/opt"},
                                               {"installDir", "tools"},
                                               {"capabilities", {"ECLIPSE_PLUGIN_1"}},
                                               {"installed", true},
                                               {"remove", true},
                                               {"package", {{"scan", "/opt/tools"}}}}));
}

TEST(SessionDraft, ListsTheFilesOfAComponentThatShipsOnlySome) {
  const SessionDraft draft{{"/opt/tools", "/opt/more"}, "/opt/ide/eclipse", false, {{"/opt/tools", {"etc/eclipse/tools.txt"}}}};
  const json components = json::parse(draft_session(draft)).at("components");
  EXPECT_EQ(components[0].at("package"), json({{"files", {"etc/eclipse/tools.txt"}}}));
  EXPECT_EQ(components[1].at("package"), json({{"scan", "/opt/more"}}));
}

TEST(SessionDraft, IsIndentedAndEndsWithALine) {
  EXPECT_EQ(draft_session({{}, "/ide/eclipse"}), R"({
  "mode": "install",
  "variables": {
    "ECLIPSE_INTEGRATION_CHOICE": "user",
    "ECLIPSE_BIN": "eclipse",
    "USER_DEFINED_ECLIPSE_PATH": "/ide/eclipse"
  },
  "components": []
}
)");
}

TEST(SessionDraft, GivesEachComponentACodeOfItsOwn) {
  const json session = json::parse(draft_session({{"/1/tools", "/2/tools", "/3/tools"}, "/ide/eclipse"}));
  std::vector<std::string> codes;
  for (const json& component : session.at("components")) codes.push_back(component.at("code"));
  EXPECT_EQ(codes, (std::vector<std::string>{"tools", "tools_2", "tools_3"}));
}

TEST(SessionDraft, HoldsNoPathThatIsNotUtf8) {
  try {
    draft_session({{"/opt/\xE4"}, "/opt/eclipse"});
    ADD_FAILURE() << "no error";
  } catch (const eclipse_base::FileError& error) {
    EXPECT_STREQ(error.what(), "/opt/\\xE4: is not UTF-8, which a session file requires; rename it");
  }
  EXPECT_THROW(draft_session({{"/opt/tools"}, "/opt/\xE4/eclipse"}), eclipse_base::FileError);
}

}  // namespace
