// Rules about finding descriptor files in packages.
#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <set>

#include "base/json_document.h"
#include "lint/rule.h"
#include "lint/sample_products.h"
#include "lint/texts.h"

using namespace eclipse_dry_run;

namespace fs = std::filesystem;
using eclipse_base::in_quotes;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

/// A component's directory with one descriptor file and its site.
Sample directory_with(const std::string& descriptor_name) {
  return {"tools", {{descriptor_name, line_of_one}, {"tools/site/content.xml", offer_of_one}}};
}

template <typename Use>
void for_each_listed(const Input& input, const Use& use) {
  for (const Component& component : input.components) {
    for (const ListedFile& file : component.files) use(component, file);
  }
}

// ---- Near misses ----

bool is_near_miss(const std::string& listed) {
  const auto directories = split(lower_case(with_slashes(listed)), '/');
  for (std::size_t i = 0; i + 2 < directories.size(); ++i) {
    if (directories[i].ends_with("etc") && directories[i + 1].starts_with("eclipse")) return true;
    if (directories[i] == "eclipse" && directories[i + 1] == "etc") return true;
  }
  return false;
}

bool begins_with_header(const fs::path& file) {
  constexpr std::string_view header = "Repository\t";
  std::array<char, header.size()> begin{};
  std::ifstream(file, std::ios::binary).read(begin.data(), begin.size());
  return std::string_view(begin.data(), begin.size()) == header;
}

/// Where the descriptor files really are, of which some may be links.
std::set<fs::path> real_descriptors(const Input& input) {
  std::set<fs::path> real;
  for_each_listed(input, [&](const Component&, const ListedFile& file) {
    std::error_code error;
    if (file.descriptor && file.descriptor->exists) real.insert(fs::canonical(file.descriptor->path, error));
  });
  return real;
}

void check_outside(const Input& input, Reporter& reporter) {
  const auto known = real_descriptors(input);
  for_each_listed(input, [&](const Component& component, const ListedFile& file) {
    if (file.descriptor || file.text.empty()) return;
    const fs::path path = fs::path(component.directory) / with_slashes(file.text);
    std::error_code error;
    if (!fs::is_regular_file(path, error) || known.count(fs::canonical(path, error)) != 0) return;
    if (!is_near_miss(file.text) && !begins_with_header(path)) return;
    reporter.report(file.location, in_quotes(file.text) + " looks like a descriptor file but is not below etc/eclipse/");
  });
}

// ---- Lists and disks that differ ----

bool is_missing(const ListedFile& file) { return file.descriptor && !file.descriptor->exists; }

/// The directory of a component's directory in which a listed file is that is not in the component's directory itself; empty
/// when there is none.
std::string directory_with_missing(const Input& input, const Component& component, const ListedFile& missing) {
  const std::string end = "/" + missing.descriptor->name;
  for (const auto& [holder, file] : input.unlisted) {
    if (holder == &component && file.exists && file.name.ends_with(end))
      return file.name.substr(0, file.name.size() - end.size());
  }
  return "";
}

/// A file that is listed, but sought in the wrong directory.
bool is_sought_elsewhere(const UnlistedFile& unlisted) {
  const auto& listed = unlisted.component->files;
  return std::any_of(listed.begin(), listed.end(), [&](const ListedFile& file) {
    return is_missing(file) && unlisted.file.name.ends_with("/" + file.descriptor->name);
  });
}

void check_not_listed(const Input& input, Reporter& reporter) {
  for (const UnlistedFile& unlisted : input.unlisted) {
    const auto& [component, file] = unlisted;
    if (!file.exists || is_sought_elsewhere(unlisted)) continue;
    reporter.report(component->list_location, "the package does not list " + in_quotes(file.name) + ", which is on disk");
  }
}

/// Whether a listed descriptor file is the directory etc/eclipse itself, or one in it.
bool names_directory(const ListedFile& file) {
  const std::string_view name = std::string_view(file.text).substr(0, file.text.find_last_not_of("\r\n") + 1);
  const std::string converted = with_slashes(name);
  std::error_code error;
  return converted.ends_with("etc/eclipse") || converted.ends_with("etc/eclipse/") ||
         (converted.ends_with('/') && file.descriptor && fs::is_directory(file.descriptor->path, error));
}

bool ends_in_space(std::string_view name) { return name.ends_with(' ') || name.ends_with('\t'); }

/// Packages may list directories together with what is in them.
bool has_listed_files(const Component& component, const DescriptorFile& directory) {
  return std::any_of(component.files.begin(), component.files.end(), [&](const ListedFile& file) {
    return file.descriptor && file.descriptor->path.starts_with(directory.path + "/");
  });
}

/// What is at a path where a file should be, "a pipe" for one; empty when it is a file, or nothing at all.
std::string kind_of_no_file(const std::string& path) {
  std::error_code error;
  if (fs::symlink_status(path, error).type() == fs::file_type::symlink && !fs::exists(path, error)) return "a dangling symlink";
  switch (fs::status(path, error).type()) {
    case fs::file_type::directory:
      return "a directory";
    case fs::file_type::fifo:
      return "a pipe";
    case fs::file_type::socket:
      return "a socket";
    case fs::file_type::block:
    case fs::file_type::character:
      return "a device";
    default:
      return "";
  }
}

void check_missing(const Input& input, Reporter& reporter) {
  for_each_listed(input, [&](const Component& component, const ListedFile& file) {
    if (!file.descriptor || file.descriptor->exists || names_directory(file) || ends_in_space(file.descriptor->name)) return;
    if (!kind_of_no_file(file.descriptor->path).empty()) return;
    std::string message = "the descriptor file is not there: looked at " + file.descriptor->path;
    const fs::path packaged = fs::path(component.catalogue->package->prefix) / file.descriptor->name;
    std::error_code error;
    if (fs::is_regular_file(packaged, error)) message += "; it is below the package's prefix, " + packaged.string();
    const std::string directory = directory_with_missing(input, component, file);
    if (directory.empty()) {
      reporter.report(file.location, std::move(message));
    } else {
      reporter.report(file.location, message + "; it is below " + in_quotes(directory) + " in that directory",
                      "correct installDir, which is " + in_quotes(component.catalogue->installDir) +
                          ": the file is there when it leads to " + in_quotes(directory));
    }
  });
}

void check_is_file(const Input& input, Reporter& reporter) {
  const auto check = [&](const Component& component, const DescriptorFile& file, const Location& location, bool is_listed) {
    const std::string kind = file.exists ? "" : kind_of_no_file(file.path);
    if (kind.empty()) return;
    // On disk, an empty directory is only odd when it is called like a file.
    const bool may_be_a_directory = is_listed ? has_listed_files(component, file) : !fs::path(file.name).has_extension();
    if (kind == "a directory" && may_be_a_directory) return;
    reporter.report(location, in_quotes(file.name) + " is " + kind + ", not a file");
  };
  for_each_listed(input, [&](const Component& component, const ListedFile& file) {
    if (file.descriptor && !names_directory(file)) check(component, *file.descriptor, file.location, input.session.has_value());
  });
  for (const auto& [component, file] : input.unlisted) check(*component, file, component->list_location, false);
}

void check_unreadable(const Input& input, Reporter& reporter) {
  for (const Descriptor& descriptor : input.descriptors) {
    if (!descriptor.is_readable) reporter.report(descriptor.location(), "the descriptor file cannot be read");
  }
}

// ---- Files that are taken for descriptors ----

bool is_named_otherwise(const std::string& name) {
  constexpr std::array<std::string_view, 15> endings = {"~",    ".bak", ".orig", ".old",  ".swp", ".rej", ".md", ".xml",
                                                        ".jar", ".zip", ".html", ".json", ".png", ".pdf", ".gz"};
  const std::string lowered = lower_case(fs::path(name).filename().string());
  if (lowered.starts_with("readme") || lowered.starts_with("license")) return true;
  return std::any_of(endings.begin(), endings.end(), [&](std::string_view ending) { return lowered.ends_with(ending); });
}

bool holds_something_else(const Descriptor& descriptor) {
  if (descriptor.content.starts_with("<?xml") || descriptor.content.starts_with("PK\x03\x04")) return true;
  return std::any_of(descriptor.content.begin(), descriptor.content.end(),
                     [](char byte) { return byte > '\0' && byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r'; });
}

using RecordsOfFiles = std::map<const Descriptor*, std::vector<const Record*>>;

RecordsOfFiles records_of_files(const Input& input) {
  RecordsOfFiles records;
  for (const Record& record : input.records) records[record.descriptor].push_back(&record);
  return records;
}

/// Of a file whose name is no descriptor's: whether it reads like one all the same.
bool reads_like_descriptor(const Descriptor& descriptor, const std::vector<const Record*>& records) {
  return descriptor.is_text && !records.empty() && std::all_of(records.begin(), records.end(), [](const Record* record) {
           return looks_like_feature(record->feature());
         });
}

void check_no_descriptor(const Input& input, Reporter& reporter) {
  auto records = records_of_files(input);
  for (const Descriptor& descriptor : input.descriptors) {
    const auto& own = records[&descriptor];
    const bool is_other = is_named_otherwise(descriptor.file) && descriptor.is_readable;
    if (!holds_something_else(descriptor) && (!is_other || reads_like_descriptor(descriptor, own))) continue;
    const bool is_data = !descriptor.is_text || std::any_of(own.begin(), own.end(),
                                                            [](const Record* record) { return record->placement.has_value(); });
    reporter.report(is_data ? Severity::error : Severity::warning, descriptor.location(),
                    "this is hardly a descriptor file, but will be read as one", "move it out of etc/eclipse/");
  }
}

void check_odd_name(const Input& input, Reporter& reporter) {
  auto records = records_of_files(input);
  for (const Descriptor& descriptor : input.descriptors) {
    if (!is_named_otherwise(descriptor.file) || holds_something_else(descriptor)) continue;
    if (reads_like_descriptor(descriptor, records[&descriptor])) {
      reporter.report(descriptor.location(),
                      "the name is that of a copy or a document, but the file will be read as a descriptor");
    }
  }
}

bool matches_a_directory(const std::string& name) {
  for (std::size_t at = name.find("etc/eclipse/"); at != std::string::npos; at = name.find("etc/eclipse/", at + 1)) {
    if (at == 0 || name[at - 1] == '/') return true;
  }
  return false;
}

void check_accident(const Input& input, Reporter& reporter) {
  for_each_listed(input, [&](const Component&, const ListedFile& file) {
    std::error_code error;
    if (!file.descriptor || matches_a_directory(file.descriptor->name) || fs::is_directory(file.descriptor->path, error))
      return;
    reporter.report(file.location,
                    in_quotes(file.text) + " contains \"etc/eclipse/\" by accident: no directory in it is called etc");
  });
}

void check_directory_entry(const Input& input, Reporter& reporter) {
  for_each_listed(input, [&](const Component& component, const ListedFile& file) {
    if (!input.session) return;
    std::error_code error;
    const bool is_directory_with_files =
        file.descriptor && has_listed_files(component, *file.descriptor) && fs::is_directory(file.descriptor->path, error);
    if (names_directory(file) || is_directory_with_files)
      reporter.report(file.location, in_quotes(file.text) + " is the directory, not a descriptor file");
  });
}

void check_space_in_name(const Input& input, Reporter& reporter) {
  for_each_listed(input, [&](const Component&, const ListedFile& file) {
    if (!file.descriptor || !ends_in_space(file.descriptor->name) || file.descriptor->exists) return;
    reporter.report(file.location, "the listed name ends in a space or a tab: " + in_quotes(file.text));
  });
}

void check_listed_twice(const Input& input, Reporter& reporter) {
  for (const Component& component : input.components) {
    std::map<std::string, const ListedFile*> first;
    for (const ListedFile& file : component.files) {
      if (!file.descriptor || first.emplace(file.descriptor->path, &file).second) continue;
      reporter.report(file.location, in_quotes(file.descriptor->name) + " is listed already");
    }
  }
}

// ---- Components ----

bool has_plugin_capability(const Input& input, const Component& component) {
  return input.library->asks_for_integration(component.capabilities);
}

void check_never_searched(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  for (const Component& component : input.components) {
    if (!component.has_descriptors() && !has_plugin_capability(input, component)) continue;
    if (component.catalogue->code.empty()) reporter.report(component.location, "the component has no code");
    if (!component.catalogue->package) reporter.report(component.location, "the component has no package");
    if (component.catalogue->installBase.empty()) {
      reporter.report(component.location,
                      "installBase is empty: the component's files are looked for in " + component.directory);
    }
  }
}

void check_capability(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  for (const Component& component : input.components) {
    if (component.catalogue->code.empty() || !component.catalogue->package) continue;
    const bool capable = has_plugin_capability(input, component);
    if (component.has_descriptors() && !capable) {
      reporter.report(component.location, "the component has descriptor files but no ECLIPSE_PLUGIN capability");
    } else if (!component.has_descriptors() && capable) {
      reporter.report(component.location, "the component has an ECLIPSE_PLUGIN capability but no descriptor file");
    }
  }
}

}  // namespace

std::vector<Rule> rules_for_files() {
  return {
      {.name = "descriptor-outside-etc-eclipse",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a descriptor file lies in no directory etc/eclipse/",
       .why = "The file is never looked at. Nothing is logged.",
       .fix = "put it below a directory etc/eclipse/, in just these letters",
       .bad = directory_with("tools/etc/Eclipse/tools.txt"),
       .good = directory_with("tools/etc/eclipse/tools.txt"),
       .check = check_outside},
      {.name = "descriptor-not-listed",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a descriptor file is on disk but not in the package's list",
       .why = "The file is never read: only the package's list is searched.",
       .fix = "add it to the package's list of files",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "package": { "files": ["readme.txt"] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_not_listed},
      {.name = "listed-descriptor-missing",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a listed descriptor file is not on disk",
       .why = "One log line says that it is not found; its features are neither installed nor removed.",
       .fix = "put the file there, or correct installBase and installDir: the package's prefix does not count for it",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "tools", "installBase": ".", "installDir": "tool", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
    "package": { "prefix": "tools", "files": ["etc/eclipse/tools.txt"] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_missing},
      {.name = "descriptor-is-no-file",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a directory called like a file, a dangling symlink, a pipe or a device lies below etc/eclipse/",
       .why =
           "Only files are read. When the package lists it, one log line says that it is not found; its features are neither "
           "installed nor removed.",
       .fix = "put the file itself there",
       .bad = {"tools", {{.name = "tools/etc/eclipse/tools.txt", .link_to = "../tools.txt"}}},
       .good = directory_with("tools/etc/eclipse/tools.txt"),
       .check = check_is_file},
      {.name = "not-a-descriptor",
       .group = Group::files,
       .severity = Severity::error,
       .title = "something else than a descriptor file lies below etc/eclipse/",
       .why = "It is read as a descriptor file: each of its lines that has a tab becomes data. Their features are not found, "
              "so the run for all features at once fails; then each is tried alone.",
       .fix = "move it out of etc/eclipse/",
       .bad = {"tools",
               {{"tools/etc/eclipse/README.md", "# Tools\n\nSee\tthe manual.\n"}, {"tools/site/content.xml", offer_of_one}}},
       .good = directory_with("tools/etc/eclipse/tools.txt"),
       .check = check_no_descriptor,
       .supersedes = Supersedes::file},
      {.name = "descriptor-called-otherwise",
       .group = Group::files,
       .severity = Severity::warning,
       .title = "a file below etc/eclipse/ is called like a copy or a document",
       .why =
           "It is read as a descriptor file all the same: its lines are data, beside those of the file that it is a copy of.",
       .fix = "move it out of etc/eclipse/, or rename it if it is meant as a descriptor file",
       .bad = {"tools", {{"tools/etc/eclipse/tools.txt~", line_of_one}, {"tools/site/content.xml", offer_of_one}}},
       .good = directory_with("tools/etc/eclipse/tools.properties"),
       .check = check_odd_name},
      {.name = "matches-by-accident",
       .group = Group::files,
       .severity = Severity::warning,
       .title = "a path contains \"etc/eclipse/\" without a directory called etc",
       .why = "It is read as a descriptor file: the text counts wherever it stands in the path.",
       .fix = "rename the directory, or put the file below a real etc/eclipse/ if it is meant to be one",
       .bad = directory_with("tools/share/getc/eclipse/tools.txt"),
       .good = directory_with("tools/share/etc/eclipse/tools.txt"),
       .check = check_accident},
      {.name = "directory-entry-listed",
       .group = Group::files,
       .severity = Severity::note,
       .title = "the package lists the directory etc/eclipse itself",
       .why = "Without a slash at its end it is passed over; with one, a log line says that it is not found.",
       .fix = "list files only",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
    "package": { "files": ["etc/eclipse", "etc/eclipse/", "etc/eclipse/tools.txt"] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_directory_entry},
      {.name = "space-after-listed-name",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a listed name ends in a space or a tab",
       .why = "Only line ends are trimmed from listed names, so the file is looked for with the space and not found.",
       .fix = "take the space away",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
    "package": { "files": ["etc/eclipse/tools.txt "] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_space_in_name},
      {.name = "descriptor-listed-twice",
       .group = Group::files,
       .severity = Severity::warning,
       .title = "a package lists a descriptor file twice",
       .why = "The file is read twice, and its lines take two places each in the install order.",
       .fix = "list it once",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
    "package": { "files": ["etc/eclipse/tools.txt", "etc\\eclipse\\tools.txt"] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_listed_twice},
      {.name = "component-never-searched",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a component with Eclipse features cannot be searched",
       .why = "A component without a code or without a package is passed over silently. With an empty installBase its "
              "files are looked for from \"/\".",
       .fix = "give the component its code, its package and its directory",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "", "installBase": ".", "installDir": "tools", "install": true,
    "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
    "package": { "files": ["etc/eclipse/tools.txt"] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_never_searched},
      {.name = "descriptor-unreadable",
       .group = Group::files,
       .severity = Severity::error,
       .title = "a descriptor file cannot be read",
       .why = "It counts as empty. Nothing is logged.",
       .fix = "make it readable for whoever runs the installer",
       .bad = {"tools.txt", {{.name = "tools.txt", .content = line_of_one, .permissions = 0}}},
       .good = {"tools.txt", {{"tools.txt", line_of_one}}},
       .check = check_unreadable},
      {.name = "capability-and-descriptors-disagree",
       .group = Group::files,
       .severity = Severity::warning,
       .title = "a component has descriptor files but no ECLIPSE_PLUGIN capability, or the reverse",
       .why = "The installer is told by the capabilities alone whether integration is needed: it may leave it out although "
              "there are features, or ask the user for an Eclipse although there are none.",
       .fix = "give the component a capability whose name contains ECLIPSE_PLUGIN exactly when it has descriptor files",
       .bad = product(R"({
  "mode": "install",
  "variables": { "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse" },
  "components": [{
    "code": "tools", "installBase": ".", "installDir": "tools", "install": true,
    "package": { "files": ["etc/eclipse/tools.txt"] }
  }]
}
)"),
       .good = product(user_session()),
       .check = check_capability},
  };
}

}  // namespace eclipse_lint
