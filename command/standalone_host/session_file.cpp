#include "standalone_host/session_file.h"

#include <algorithm>
#include <map>
#include <string>
#include <system_error>

#include "base/file.h"
#include "base/json_document.h"
#include "base/printable.h"

using namespace eclipse_base;

namespace eclipse_host {

namespace {

/// Whether it is a symlink that is dangling or part of a cycle. One through an unreadable directory is neither.
bool is_dangling(const std::filesystem::directory_entry& entry) {
  if (!entry.is_symlink()) return false;
  std::error_code error;
  entry.status(error);
  return error && error != std::errc::permission_denied;
}

class SessionReader {
 public:
  SessionReader(const JsonDocument& document, Session& session)
      : document_(document), directory_(absolute_path(document.file()).lexically_normal().parent_path()), session_(session) {}

  void read() {
    const JsonElement root = document_.root();
    root.allow_keys({"$schema", "mode", "graphical", "variables", "components"});
    if (const auto schema = root.find("$schema")) schema->text();
    const std::string mode = read_mode(root.get("mode"));
    session_.graphical = read_flag(root, "graphical");
    if (const auto variables = root.find("variables")) read_variables(*variables);
    session_.variables["KORU_MODE"] = mode;
    for (const JsonElement& component : root.get("components").items()) read_component(component);
  }

 private:
  static std::string read_mode(const JsonElement& mode) {
    if (std::find(modes.begin(), modes.end(), mode.text()) == modes.end()) {
      mode.fail("unknown mode " + in_quotes(mode.text()) + "; write \"install\", \"modify\" or \"uninstall\"");
    }
    return mode.text();
  }

  static bool read_flag(const JsonElement& object, std::string_view key) {
    const auto flag = object.find(key);
    return flag && flag->boolean();
  }

  void read_variables(const JsonElement& variables) {
    for (const JsonElement& variable : variables.members()) {
      if (variable.key().empty()) variable.fail_at_key("the name is empty; name the variable");
      if (variable.key() == "KORU_MODE") variable.fail_at_key("is set by \"mode\"; remove it here");
      session_.variables[variable.key()] = variable.text();
    }
  }

  void read_component(const JsonElement& element) {
    element.allow_keys({"code", "installBase", "installDir", "capabilities", "install", "remove", "installed", "package"});
    auto component = std::make_unique<CatalogueComponent>();
    component->code = read_code(element.get("code"), element.path());
    component->installBase = read_base(element.get("installBase"));
    component->installDir = element.get("installDir").text();
    component->selected_for_install = read_flag(element, "install");
    component->selected_for_removal = read_flag(element, "remove");
    component->installed = read_flag(element, "installed");
    if (const auto capabilities = element.find("capabilities")) read_capabilities(*capabilities, element.path(), *component);
    if (const auto package = element.find("package")) component->package = read_package(*package, *component);
    session_.components.push_back(std::move(component));
  }

  std::string read_code(const JsonElement& code, const std::string& component_path) {
    if (code.text().empty()) return "";
    const auto [first, is_new] = paths_of_codes_.emplace(code.text(), component_path);
    if (!is_new)
      code.fail(in_quotes(code.text()) + " is already the code of " + first->second + "; give each component its own code");
    return code.text();
  }

  /// An empty one stays empty: it is not the session file's directory.
  std::string read_base(const JsonElement& base) const { return base.text().empty() ? "" : absolute(base.text()); }

  void read_capabilities(const JsonElement& capabilities, const std::string& component_path, CatalogueComponent& component) {
    for (const JsonElement& capability : capabilities.items()) {
      const auto [first, is_new] = paths_of_capabilities_.emplace(capability.text(), component_path);
      if (!is_new) {
        capability.fail(in_quotes(capability.text()) + " is already a capability of " + first->second +
                        "; make the name unique: any name containing it works");
      }
      session_.capabilities->emplace(capability.text(), &component);
    }
  }

  CataloguePackage read_package(const JsonElement& element, const CatalogueComponent& component) const {
    element.allow_keys({"root", "prefix", "files", "scan"});
    CataloguePackage package;
    const auto root = element.find("root");
    package.root = root ? existing_directory(*root) : directory_.string();
    const auto prefix = element.find("prefix");
    package.prefix = prefix ? prefix->text() : absolute(component.installBase + "/" + component.installDir);
    package.files = read_files(element);
    return package;
  }

  std::vector<std::string> read_files(const JsonElement& package) const {
    const auto files = package.find("files");
    const auto scan = package.find("scan");
    if (files && scan) scan->fail_at_key("cannot be combined with \"files\"; keep one of the two");
    if (scan) return scanned_files(*scan);
    if (!files)
      package.fail("\"files\" or \"scan\" is missing; list the package's files, or name the directory to take them from");
    std::vector<std::string> paths;
    for (const JsonElement& path : files->items()) paths.push_back(path.text());
    return paths;
  }

  std::vector<std::string> scanned_files(const JsonElement& scan) const {
    const std::filesystem::path directory = existing_directory(scan);
    std::vector<std::string> paths;
    std::filesystem::path last = directory;  // an error below a directory does not always have a path
    try {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        last = entry.path();
        if (!is_dangling(entry) && entry.is_regular_file())
          paths.push_back(entry.path().lexically_relative(directory).string());
      }
    } catch (const std::filesystem::filesystem_error& error) {
      scan.fail("cannot be scanned: " + in_quotes((error.path1().empty() ? last : error.path1()).string()) + ": " +
                error.code().message() + "; make it readable, or list the files in \"files\"");
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }

  std::string existing_directory(const JsonElement& element) const {
    std::string directory = absolute(element.text());
    std::error_code error;
    const auto status = std::filesystem::status(directory, error);
    if (status.type() == std::filesystem::file_type::not_found) {
      element.fail("the directory " + in_quotes(directory) + " does not exist; create it, or correct the path");
    }
    if (error) element.fail(in_quotes(directory) + " cannot be reached: " + error.message() + "; correct the path");
    if (!std::filesystem::is_directory(status)) element.fail(in_quotes(directory) + " is not a directory; correct the path");
    return directory;
  }

  std::string absolute(const std::string& text) const {
    std::string path = (directory_ / text).lexically_normal().string();
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
  }

  const JsonDocument& document_;
  const std::filesystem::path directory_;
  Session& session_;
  std::map<std::string, std::string> paths_of_codes_;
  std::map<std::string, std::string> paths_of_capabilities_;
};

}  // namespace

void read_session(const JsonDocument& document, Session& session) { SessionReader(document, session).read(); }

void read_session_file(const std::filesystem::path& file, Session& session) { read_session(JsonDocument(file), session); }

}  // namespace eclipse_host
