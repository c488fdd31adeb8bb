#include "draft/session_draft.h"

#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

#include "base/file.h"
#include "base/file_error.h"
#include "base/json_text.h"
#include "base/text.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_draft {

namespace {

std::string utf8(const fs::path& path) {
  if (is_utf8(path.string())) return path.string();
  throw FileError(path, "is not UTF-8, which a session file requires; rename it");
}

class SessionWriter {
 public:
  explicit SessionWriter(const SessionDraft& draft) : draft_(draft) {}

  Json write() {
    Json components = Json::array();
    for (const fs::path& directory : draft_.components) components.push_back(component(directory));
    return {{"mode", draft_.is_removal ? "uninstall" : "install"},
            {"variables",
             {{"ECLIPSE_INTEGRATION_CHOICE", "user"},
              {"ECLIPSE_BIN", draft_.eclipse.filename().string()},
              {"USER_DEFINED_ECLIPSE_PATH", utf8(draft_.eclipse)}}},
            {"components", std::move(components)}};
  }

 private:
  Json component(const fs::path& directory) {
    const std::string path = utf8(directory);
    Json json = {{"code", unused_code(directory.filename().string())},
                 {"installBase", directory.parent_path().string()},
                 {"installDir", directory.filename().string()},
                 {"capabilities", Json::array({"ECLIPSE_PLUGIN_" + std::to_string(codes_.size())})}};
    if (draft_.is_removal) {
      json["installed"] = true;
      json["remove"] = true;
    } else {
      json["install"] = true;
    }
    json["package"] = package(directory, path);
    return json;
  }

  Json package(const fs::path& directory, const std::string& path) const {
    const auto shipped = draft_.shipped.find(directory);
    if (shipped == draft_.shipped.end()) return {{"scan", path}};
    Json files = Json::array();
    for (const std::string& file : shipped->second) files.push_back(utf8(file));
    return {{"files", std::move(files)}};
  }

  /// The name, or, if a component before has it, the name with a number.
  std::string unused_code(const std::string& name) {
    std::string code = name;
    for (int i = 2; !codes_.insert(code).second; ++i) code = name + "_" + std::to_string(i);
    return code;
  }

  const SessionDraft& draft_;
  std::set<std::string> codes_;
};

}  // namespace

std::string draft_session(const SessionDraft& draft) { return SessionWriter(draft).write().dump(2) + "\n"; }

}  // namespace eclipse_draft
