#include "standalone_host/session_file.h"

#include <algorithm>
#include <map>
#include <string>
#include <system_error>

#include "base/file.h"
#include "base/json_document.h"
#include "base/printable.h"
#include "base/text.h"
#include "standalone_host/variables_file.h"

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
    std::string mode;
    document_.root().read_object(
        {{"$schema", Presence::optional, [](const JsonElement& schema) { schema.text(); }},
         {"mode", Presence::required, [&](const JsonElement& value) { mode = read_mode(value); }},
         {"graphical", Presence::optional, [&](const JsonElement& flag) { session_.graphical = flag.boolean(); }},
         {"variables", Presence::optional, [&](const JsonElement& variables) { read_variables(variables); }},
         {"components", Presence::required, [&](const JsonElement& components) {
            components.read_items([&](const JsonElement& component) { read_component(component); });
          }}});
    session_.variables["KORU_MODE"] = mode;
  }

 private:
  static std::string read_mode(const JsonElement& mode) {
    if (std::find(modes.begin(), modes.end(), mode.text()) == modes.end()) {
      mode.fail("unknown mode " + in_quotes(mode.text()) + "; write " + any_in_quotes(modes));
    }
    return mode.text();
  }

  void read_variables(const JsonElement& variables) {
    variables.read_members([&](const JsonElement& variable) {
      if (variable.key() == "KORU_MODE") variable.fail_at_key("is set by \"mode\"; remove it here");
      read_variable(variable, session_.variables);
    });
  }

  void read_component(const JsonElement& element) {
    CatalogueComponent& component = *session_.components.emplace_back(std::make_unique<CatalogueComponent>());
    element.read_object(
        {{"code", Presence::required, [&](const JsonElement& code) { component.code = read_code(code, element.path()); }},
         {"installBase", Presence::required, [&](const JsonElement& base) { component.installBase = read_base(base); }},
         {"installDir", Presence::required, [&](const JsonElement& directory) { component.installDir = directory.text(); }},
         {"capabilities", Presence::optional,
          [&](const JsonElement& capabilities) { read_capabilities(capabilities, element.path(), component); }},
         {"install", Presence::optional, [&](const JsonElement& flag) { component.selected_for_install = flag.boolean(); }},
         {"remove", Presence::optional, [&](const JsonElement& flag) { component.selected_for_removal = flag.boolean(); }},
         {"installed", Presence::optional, [&](const JsonElement& flag) { component.installed = flag.boolean(); }},
         {"package", Presence::optional,
          [&](const JsonElement& package) { component.package = read_package(package, component); }}});
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
    capabilities.read_items([&](const JsonElement& capability) {
      const auto [first, is_new] = paths_of_capabilities_.emplace(capability.text(), component_path);
      if (!is_new) {
        capability.fail(in_quotes(capability.text()) + " is already a capability of " + first->second +
                        "; make the name unique: any name containing it works");
      }
      session_.capabilities->emplace(capability.text(), &component);
    });
  }

  CataloguePackage read_package(const JsonElement& element, const CatalogueComponent& component) const {
    CataloguePackage package;
    package.root = directory_.string();
    package.prefix = absolute(component.installBase + "/" + component.installDir);
    element.read_object(
        {{"root", Presence::optional, [&](const JsonElement& root) { package.root = existing_directory(root); }},
         {"prefix", Presence::optional, [&](const JsonElement& prefix) { package.prefix = prefix.text(); }},
         {"files", Presence::optional,
          [&](const JsonElement& files) {
            files.read_items([&](const JsonElement& path) { package.files.push_back(path.text()); });
          }},
         {"scan", Presence::optional, [&](const JsonElement& scan) {
            if (element.find("files")) scan.fail_at_key("cannot be combined with \"files\"; keep one of the two");
            package.files = scanned_files(scan);
          }}});
    if (!element.find("files") && !element.find("scan"))
      element.fail("\"files\" or \"scan\" is missing; list the package's files, or name the directory to take them from");
    return package;
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

bool begins_like_session(std::string_view text) {
  for (;;) {
    text.remove_prefix(std::min(text.find_first_not_of(white_space), text.size()));
    const bool is_line = text.starts_with("//");
    if (!is_line && !text.starts_with("/*")) return text.starts_with('{');
    const std::string_view end = is_line ? "\n" : "*/";
    const std::size_t at = text.find(end, 2);
    text.remove_prefix(at == text.npos ? text.size() : at + end.size());
  }
}

bool is_session(const std::filesystem::path& file, std::string_view beginning) {
  return file.extension() == ".json" || begins_like_session(beginning);
}

}  // namespace eclipse_host
