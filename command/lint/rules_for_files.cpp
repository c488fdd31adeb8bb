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

/// A component's folder with one descriptor file and its site.
Sample folder_with(const std::string& descriptor_name) {
  return {"tools", {{descriptor_name, line_of_one}, {"tools/site/content.xml", offer_of_one}}};
}

template <typename Use>
void for_each_listed(const Product& product, const Use& use) {
  for (const Component& component : product.components) {
    for (const ListedFile& file : component.files) use(component, file);
  }
}

// ---- Near misses ----

bool is_near_miss(const std::string& listed) {
  const auto folders = split(lower_case(with_slashes(listed)), '/');
  for (std::size_t i = 0; i + 2 < folders.size(); ++i) {
    if (folders[i].ends_with("etc") && folders[i + 1].starts_with("eclipse")) return true;
    if (folders[i] == "eclipse" && folders[i + 1] == "etc") return true;
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
std::set<fs::path> real_descriptors(const Product& product) {
  std::set<fs::path> real;
  for_each_listed(product, [&](const Component&, const ListedFile& file) {
    std::error_code error;
    if (file.descriptor && file.descriptor->exists) real.insert(fs::canonical(file.descriptor->path, error));
  });
  return real;
}

void check_outside(const Product& product, Reporter& reporter) {
  const auto known = real_descriptors(product);
  for_each_listed(product, [&](const Component& component, const ListedFile& file) {
    if (file.descriptor || file.text.empty()) return;
    const fs::path path = fs::path(component.folder) / with_slashes(file.text);
    std::error_code error;
    if (!fs::is_regular_file(path, error) || known.count(fs::canonical(path, error)) != 0) return;
    if (!is_near_miss(file.text) && !begins_with_header(path)) return;
    reporter.report(file.place, in_quotes(file.text) + " looks like a descriptor file but is not below etc/eclipse/");
  });
}

// ---- Lists and disks that differ ----

bool is_missing(const ListedFile& file) { return file.descriptor && !file.descriptor->exists; }

/// The folder of a component's folder in which a listed file is that is not in the component's folder itself; empty when there
/// is none.
std::string folder_with_missing(const Product& product, const Component& component, const ListedFile& missing) {
  const std::string end = "/" + missing.descriptor->name;
  for (const auto& [holder, file] : product.unlisted) {
    if (holder == &component && file.exists && file.name.ends_with(end))
      return file.name.substr(0, file.name.size() - end.size());
  }
  return "";
}

/// A file that is listed, but sought in the wrong folder.
bool is_sought_elsewhere(const UnlistedFile& unlisted) {
  const auto& listed = unlisted.component->files;
  return std::any_of(listed.begin(), listed.end(), [&](const ListedFile& file) {
    return is_missing(file) && unlisted.file.name.ends_with("/" + file.descriptor->name);
  });
}

void check_not_listed(const Product& product, Reporter& reporter) {
  for (const UnlistedFile& unlisted : product.unlisted) {
    const auto& [component, file] = unlisted;
    if (!file.exists || is_sought_elsewhere(unlisted)) continue;
    reporter.report(component->list_place, "the package does not list " + in_quotes(file.name) + ", which is on disk");
  }
}

/// Whether a listed descriptor file is the folder etc/eclipse itself, or one in it.
bool names_folder(const ListedFile& file) {
  const std::string_view name = std::string_view(file.text).substr(0, file.text.find_last_not_of("\r\n") + 1);
  const std::string converted = with_slashes(name);
  std::error_code error;
  return converted.ends_with("etc/eclipse") || converted.ends_with("etc/eclipse/") ||
         (converted.ends_with('/') && file.descriptor && fs::is_directory(file.descriptor->path, error));
}

bool ends_in_blank(std::string_view name) { return name.ends_with(' ') || name.ends_with('\t'); }

/// Packages may list folders together with what is in them.
bool has_listed_files(const Component& component, const DescriptorFile& folder) {
  return std::any_of(component.files.begin(), component.files.end(), [&](const ListedFile& file) {
    return file.descriptor && file.descriptor->path.starts_with(folder.path + "/");
  });
}

/// What is at a path where a file should be, "a pipe" for one; empty when it is a file, or nothing at all.
std::string kind_of_no_file(const std::string& path) {
  std::error_code error;
  if (fs::symlink_status(path, error).type() == fs::file_type::symlink && !fs::exists(path, error)) return "a link to nothing";
  switch (fs::status(path, error).type()) {
    case fs::file_type::directory:
      return "a folder";
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

void check_missing(const Product& product, Reporter& reporter) {
  for_each_listed(product, [&](const Component& component, const ListedFile& file) {
    if (!file.descriptor || file.descriptor->exists || names_folder(file) || ends_in_blank(file.descriptor->name)) return;
    if (!kind_of_no_file(file.descriptor->path).empty()) return;
    std::string message = "the descriptor file is not there: looked at " + file.descriptor->path;
    const fs::path packaged = fs::path(component.catalogue->package->prefix) / file.descriptor->name;
    std::error_code error;
    if (fs::is_regular_file(packaged, error)) message += "; it is below the package's prefix, " + packaged.string();
    const std::string folder = folder_with_missing(product, component, file);
    if (folder.empty()) {
      reporter.report(file.place, std::move(message));
    } else {
      reporter.report(file.place, message + "; it is below " + in_quotes(folder) + " in that folder",
                      "correct installDir, which is " + in_quotes(component.catalogue->installDir) +
                          ": the file is there when it leads to " + in_quotes(folder));
    }
  });
}

void check_is_file(const Product& product, Reporter& reporter) {
  const auto check = [&](const Component& component, const DescriptorFile& file, const Place& place, bool is_listed) {
    const std::string kind = file.exists ? "" : kind_of_no_file(file.path);
    if (kind.empty()) return;
    // On disk, an empty folder is only odd when it is called like a file.
    const bool may_be_a_folder = is_listed ? has_listed_files(component, file) : !fs::path(file.name).has_extension();
    if (kind == "a folder" && may_be_a_folder) return;
    reporter.report(place, in_quotes(file.name) + " is " + kind + ", not a file");
  };
  for_each_listed(product, [&](const Component& component, const ListedFile& file) {
    if (file.descriptor && !names_folder(file)) check(component, *file.descriptor, file.place, product.session.has_value());
  });
  for (const auto& [component, file] : product.unlisted) check(*component, file, component->list_place, false);
}

void check_unreadable(const Product& product, Reporter& reporter) {
  for (const Descriptor& descriptor : product.descriptors) {
    if (!descriptor.is_readable) reporter.report(descriptor.place(), "the descriptor file cannot be read");
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

RecordsOfFiles records_of_files(const Product& product) {
  RecordsOfFiles records;
  for (const Record& record : product.records) records[record.descriptor].push_back(&record);
  return records;
}

/// Of a file whose name is no descriptor's: whether it reads like one all the same.
bool reads_like_descriptor(const Descriptor& descriptor, const std::vector<const Record*>& records) {
  return descriptor.is_text && !records.empty() && std::all_of(records.begin(), records.end(), [](const Record* record) {
           return looks_like_feature(record->feature());
         });
}

void check_no_descriptor(const Product& product, Reporter& reporter) {
  auto records = records_of_files(product);
  for (const Descriptor& descriptor : product.descriptors) {
    const auto& own = records[&descriptor];
    const bool is_other = is_named_otherwise(descriptor.file) && descriptor.is_readable;
    if (!holds_something_else(descriptor) && (!is_other || reads_like_descriptor(descriptor, own))) continue;
    const bool is_data = !descriptor.is_text || std::any_of(own.begin(), own.end(),
                                                            [](const Record* record) { return record->placement.has_value(); });
    reporter.report(is_data ? Severity::error : Severity::warning, descriptor.place(),
                    "this is hardly a descriptor file, but will be read as one", "move it out of etc/eclipse/");
  }
}

void check_odd_name(const Product& product, Reporter& reporter) {
  auto records = records_of_files(product);
  for (const Descriptor& descriptor : product.descriptors) {
    if (!is_named_otherwise(descriptor.file) || holds_something_else(descriptor)) continue;
    if (reads_like_descriptor(descriptor, records[&descriptor])) {
      reporter.report(descriptor.place(),
                      "the name is that of a copy or a document, but the file will be read as a descriptor");
    }
  }
}

bool matches_a_folder(const std::string& name) {
  for (std::size_t at = name.find("etc/eclipse/"); at != std::string::npos; at = name.find("etc/eclipse/", at + 1)) {
    if (at == 0 || name[at - 1] == '/') return true;
  }
  return false;
}

void check_accident(const Product& product, Reporter& reporter) {
  for_each_listed(product, [&](const Component&, const ListedFile& file) {
    std::error_code error;
    if (!file.descriptor || matches_a_folder(file.descriptor->name) || fs::is_directory(file.descriptor->path, error)) return;
    reporter.report(file.place, in_quotes(file.text) + " contains \"etc/eclipse/\" by accident: no folder in it is called etc");
  });
}

void check_folder_entry(const Product& product, Reporter& reporter) {
  for_each_listed(product, [&](const Component& component, const ListedFile& file) {
    if (!product.session) return;
    std::error_code error;
    const bool is_folder_with_files =
        file.descriptor && has_listed_files(component, *file.descriptor) && fs::is_directory(file.descriptor->path, error);
    if (names_folder(file) || is_folder_with_files)
      reporter.report(file.place, in_quotes(file.text) + " is the folder, not a descriptor file");
  });
}

void check_blank_in_name(const Product& product, Reporter& reporter) {
  for_each_listed(product, [&](const Component&, const ListedFile& file) {
    if (!file.descriptor || !ends_in_blank(file.descriptor->name) || file.descriptor->exists) return;
    reporter.report(file.place, "the listed name ends in a blank or a tab: " + in_quotes(file.text));
  });
}

void check_listed_twice(const Product& product, Reporter& reporter) {
  for (const Component& component : product.components) {
    std::map<std::string, const ListedFile*> first;
    for (const ListedFile& file : component.files) {
      if (!file.descriptor || first.emplace(file.descriptor->path, &file).second) continue;
      reporter.report(file.place, in_quotes(file.descriptor->name) + " is listed already");
    }
  }
}

// ---- Components ----

bool has_plugin_capability(const Product& product, const Component& component) {
  return product.library->asks_for_integration(component.capabilities);
}

void check_never_searched(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  for (const Component& component : product.components) {
    if (!component.has_descriptors() && !has_plugin_capability(product, component)) continue;
    if (component.catalogue->code.empty()) reporter.report(component.place, "the component has no code");
    if (!component.catalogue->package) reporter.report(component.place, "the component has no package");
    if (component.catalogue->installBase.empty()) {
      reporter.report(component.place, "installBase is empty: the component's files are looked for in " + component.folder);
    }
  }
}

void check_capability(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  for (const Component& component : product.components) {
    if (component.catalogue->code.empty() || !component.catalogue->package) continue;
    const bool capable = has_plugin_capability(product, component);
    if (component.has_descriptors() && !capable) {
      reporter.report(component.place, "the component has descriptor files but no ECLIPSE_PLUGIN capability");
    } else if (!component.has_descriptors() && capable) {
      reporter.report(component.place, "the component has an ECLIPSE_PLUGIN capability but no descriptor file");
    }
  }
}

}  // namespace

std::vector<Rule> rules_for_files() {
  return {
      {.name = "descriptor-outside-etc-eclipse",
       .severity = Severity::error,
       .title = "a descriptor file lies in no folder etc/eclipse/",
       .effect = "The file is never looked at. Nothing is logged.",
       .mend = "put it below a folder etc/eclipse/, in just these letters",
       .bad = folder_with("tools/etc/Eclipse/tools.txt"),
       .good = folder_with("tools/etc/eclipse/tools.txt"),
       .check = check_outside},
      {.name = "descriptor-not-listed",
       .severity = Severity::error,
       .title = "a descriptor file is on disk but not in the package's list",
       .effect = "The file is never read: only the package's list is searched.",
       .mend = "add it to the package's list of files",
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
       .severity = Severity::error,
       .title = "a listed descriptor file is not on disk",
       .effect = "One log line says that it is not found; its features are neither installed nor removed.",
       .mend = "put the file there, or correct installBase and installDir: the package's prefix does not count for it",
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
       .severity = Severity::error,
       .title = "a folder called like a file, a link to nothing, a pipe or a device lies below etc/eclipse/",
       .effect =
           "Only files are read. When the package lists it, one log line says that it is not found; its features are neither "
           "installed nor removed.",
       .mend = "put the file itself there",
       .bad = {"tools", {{.name = "tools/etc/eclipse/tools.txt", .link_to = "../tools.txt"}}},
       .good = folder_with("tools/etc/eclipse/tools.txt"),
       .check = check_is_file},
      {.name = "not-a-descriptor",
       .severity = Severity::error,
       .title = "something else than a descriptor file lies below etc/eclipse/",
       .effect =
           "It is read as a descriptor file: each of its lines that has a tab becomes data. Their features are not found, "
           "so the run for all features at once fails; then each is tried alone.",
       .mend = "move it out of etc/eclipse/",
       .bad = {"tools",
               {{"tools/etc/eclipse/README.md", "# Tools\n\nSee\tthe manual.\n"}, {"tools/site/content.xml", offer_of_one}}},
       .good = folder_with("tools/etc/eclipse/tools.txt"),
       .check = check_no_descriptor,
       .covers = Covers::file},
      {.name = "descriptor-called-otherwise",
       .severity = Severity::warning,
       .title = "a file below etc/eclipse/ is called like a copy or a document",
       .effect =
           "It is read as a descriptor file all the same: its lines are data, beside those of the file that it is a copy of.",
       .mend = "move it out of etc/eclipse/, or rename it if it is meant as a descriptor file",
       .bad = {"tools", {{"tools/etc/eclipse/tools.txt~", line_of_one}, {"tools/site/content.xml", offer_of_one}}},
       .good = folder_with("tools/etc/eclipse/tools.properties"),
       .check = check_odd_name},
      {.name = "matches-by-accident",
       .severity = Severity::warning,
       .title = "a path contains \"etc/eclipse/\" without a folder called etc",
       .effect = "It is read as a descriptor file: the text counts wherever it stands in the path.",
       .mend = "rename the folder, or put the file below a real etc/eclipse/ if it is meant to be one",
       .bad = folder_with("tools/share/getc/eclipse/tools.txt"),
       .good = folder_with("tools/share/etc/eclipse/tools.txt"),
       .check = check_accident},
      {.name = "folder-entry-listed",
       .severity = Severity::note,
       .title = "the package lists the folder etc/eclipse itself",
       .effect = "Without a slash at its end it is passed over; with one, a log line says that it is not found.",
       .mend = "list files only",
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
       .check = check_folder_entry},
      {.name = "blank-after-listed-name",
       .severity = Severity::error,
       .title = "a listed name ends in a blank or a tab",
       .effect = "Only line ends are trimmed from listed names, so the file is looked for with the blank and not found.",
       .mend = "take the blank away",
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
       .check = check_blank_in_name},
      {.name = "descriptor-listed-twice",
       .severity = Severity::warning,
       .title = "a package lists a descriptor file twice",
       .effect = "The file is read twice, and its lines take two places each in the install order.",
       .mend = "list it once",
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
       .severity = Severity::error,
       .title = "a component with Eclipse features cannot be searched",
       .effect = "A component without a code or without a package is passed over without a word. With an empty installBase its "
                 "files are looked for from \"/\".",
       .mend = "give the component its code, its package and its folder",
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
       .severity = Severity::error,
       .title = "a descriptor file cannot be read",
       .effect = "It counts as empty. Nothing is logged.",
       .mend = "make it readable for whoever runs the installer",
       .bad = {"tools.txt", {{.name = "tools.txt", .content = line_of_one, .permissions = 0}}},
       .good = {"tools.txt", {{"tools.txt", line_of_one}}},
       .check = check_unreadable},
      {.name = "capability-and-descriptors-disagree",
       .severity = Severity::warning,
       .title = "a component has descriptor files but no ECLIPSE_PLUGIN capability, or the reverse",
       .effect = "The installer is told by the capabilities alone whether integration is needed: it may leave it out although "
                 "there are features, or ask the user for an Eclipse although there are none.",
       .mend = "give the component a capability whose name contains ECLIPSE_PLUGIN exactly when it has descriptor files",
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
