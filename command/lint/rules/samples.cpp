#include "lint/rules/samples.h"

#include <utility>

namespace eclipse_lint::samples {

namespace {

constexpr const char* content_with_jar =
    "<repository><units>\n"
    "<unit id='org.example.one.feature.group' version='1.0.0'>\n"
    "<properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>\n"
    "<requires><required namespace='org.eclipse.equinox.p2.iu' name='org.example.one.plugin'/></requires></unit>\n"
    "<unit id='org.example.one.plugin' version='1.0.0'/>\n</units></repository>\n";

}  // namespace

Sample descriptor(const std::string& content) { return {"tools.txt", {{"tools.txt", content}}}; }

Sample good_descriptor() {
  return descriptor(
      "Repository\tFeature\n"
      "sites/alpha\torg.example.alpha.feature.group\n"
      "sites/beta.zip\torg.example.beta.feature.group\n");
}

Sample component(const std::string& descriptor, std::vector<SampleFile> others) {
  others.insert(others.begin(), {"tools/etc/eclipse/tools.txt", descriptor});
  return {"tools", std::move(others)};
}

Sample good_component() { return component(line_of_one, {{"tools/site/content.xml", content_of_one}}); }

Sample component_with_unit(const std::string& version, const std::string& more) {
  return component(line_of_one, {{"tools/site/content.xml",
                                  "<?xml version='1.0'?>\n<repository><units>\n"
                                  "  <unit id='org.example.one.feature.group' version='" +
                                      version + "'>" + more + "</unit>\n</units></repository>\n"}});
}

std::string empty_jar() { return "PK\x05\x06" + std::string(18, '\0'); }

const char* const md5_of_empty_jar = "76cdb2bad9582d23c1f6f4d868218d6c";

Sample component_with_jar(const std::string& md5) {
  const std::string artifacts =
      "<repository><mappings>\n<rule filter='(&amp; (classifier=osgi.bundle))' "
      "output='${repoUrl}/plugins/${id}_${version}.jar'/>\n</mappings><artifacts>\n"
      "<artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'>\n"
      "<properties><property name='download.md5' value='" +
      md5 + "'/></properties></artifact>\n</artifacts></repository>\n";
  return component(line_of_one, {{"tools/site/content.xml", content_with_jar},
                                 {"tools/site/artifacts.xml", artifacts},
                                 {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", empty_jar()}});
}

const char* const profile_name = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile";

const char* const line_of_one = "Repository\tFeature\nsite\torg.example.one.feature.group\n";

const char* const content_of_one =
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

std::string entry_of(const ToolsEntry& component) {
  return "\n    {\n      \"code\": \"" + component.code + "\", \"installBase\": \".\", \"installDir\": \"" +
         component.directory + "\", " + component.state + ",\n      \"capabilities\": [" + component.capabilities +
         "], \"package\": { " + component.package + " }\n    }";
}

const char* const tools = R"(
    {
      "code": "tools", "installBase": ".", "installDir": "tools", "install": true, "remove": true,
      "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/tools.txt"] }
    })";

const char* const internal_choice = R"( "ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "eclipse" )";

const char* const product_directory = "/opt/product";

std::string user_choice(const std::string& path, const std::string& more) {
  return R"(
    "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse",
    "USER_DEFINED_ECLIPSE_PATH": ")" +
         std::string(product_directory) + "/" + path + "\"" + more + "\n  ";
}

std::string known_eclipse(const std::string& path) {
  return R"(, "CASHED_ECLIPSE_PATH": ")" + std::string(product_directory) + "/" + path + "\"";
}

std::string internal_session(const std::string& mode) { return session(mode, internal_choice, std::string(ide) + tools); }

std::string user_session(const std::string& components) { return session("install", user_choice("ide/eclipse"), components); }

Sample product(const std::string& session_file, const std::vector<SampleFile>& others) {
  std::vector<SampleFile> files = {{"session.json", session_file},
                                   {"ide/eclipse", "#!/bin/sh\n", 0755},
                                   {"tools/etc/eclipse/tools.txt", line_of_one},
                                   {"tools/site/content.xml", content_of_one}};
  files.insert(files.end(), others.begin(), others.end());
  return {"session.json", std::move(files)};
}

}  // namespace eclipse_lint::samples
