#include "lint/sample_products.h"

#include <utility>

namespace eclipse_lint::samples {

const char* const line_of_one = "Repository\tFeature\nsite\torg.example.one.feature.group\n";

const char* const offer_of_one =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n</units></repository>\n";

std::string session(const std::string& mode, const std::string& variables, const std::string& components) {
  return "{\n  \"mode\": \"" + mode + "\",\n  \"variables\": {" + variables + "},\n  \"components\": [" + components +
         "\n  ]\n}\n";
}

const char* const ide = R"(
    {
      "code": "ide", "installBase": ".", "installDir": "ide", "install": true,
      "capabilities": ["ECLIPSE_IDE"], "package": { "files": ["eclipse"] }
    },)";

const char* const tools = R"(
    {
      "code": "tools", "installBase": ".", "installDir": "tools", "install": true, "remove": true,
      "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/tools.txt"] }
    })";

const char* const internal_choice = R"( "ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "eclipse" )";

std::string user_choice(const std::string& path, const std::string& more) {
  return R"(
    "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse",
    "USER_DEFINED_ECLIPSE_PATH": ")" +
         path + "\"" + more + "\n  ";
}

std::string internal_session(const std::string& mode) { return session(mode, internal_choice, std::string(ide) + tools); }

std::string user_session() { return session("install", user_choice("ide/eclipse"), tools); }

Sample product(const std::string& session_file, const std::vector<SampleFile>& others) {
  std::vector<SampleFile> files = {{"session.json", session_file},
                                   {"ide/eclipse", "#!/bin/sh\n", 0755},
                                   {"tools/etc/eclipse/tools.txt", line_of_one},
                                   {"tools/site/content.xml", offer_of_one}};
  files.insert(files.end(), others.begin(), others.end());
  return {"session.json", std::move(files)};
}

}  // namespace eclipse_lint::samples
