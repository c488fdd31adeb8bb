// Rules about the descriptor files of packages: whether the plug-in finds them, and what it takes for one.
#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "base/file.h"
#include "base/limits.h"
#include "base/printable.h"
#include "dry_run/descriptor_paths.h"
#include "lint/open_to_others.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;
using namespace eclipse_lint::samples;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

constexpr const char* default_descriptor = "tools/etc/eclipse/tools.txt";

/// A component whose descriptor file has this name.
Sample component_with_file(const std::string& descriptor_name) {
  return {"tools", {{descriptor_name, line_of_one}, {"tools/site/content.xml", content_of_one}}};
}

/// A session with this entry for the component.
Sample product_with(const ToolsEntry& component) { return product(user_session(entry_of(component))); }

Sample good_product() { return product(user_session()); }

template <typename Use>
void for_each_listed(const Input& input, const Use& use) {
  for (const Component& component : input.components) {
    for (const ListedFile& file : component.files) use(component, file);
  }
}

/// Whether a listed descriptor file is the directory etc/eclipse itself, or one in it.
bool names_directory(const ListedFile& file) {
  const std::string_view name = std::string_view(file.text).substr(0, file.text.find_last_not_of("\r\n") + 1);
  const std::string converted = with_slashes(name);
  std::error_code error;
  return (converted + "/").ends_with(descriptor_directory) || converted.ends_with(descriptor_directory) ||
         (converted.ends_with('/') && file.descriptor && fs::is_directory(file.descriptor->path, error));
}

bool ends_in_space(std::string_view name) { return name.ends_with(' ') || name.ends_with('\t'); }

/// Packages may list directories together with what is in them.
bool has_listed_files(const Component& component, const DescriptorFile& directory) {
  return std::any_of(component.files.begin(), component.files.end(), [&](const ListedFile& file) {
    return file.descriptor && file.descriptor->path.starts_with(directory.path + "/");
  });
}

// ---- Files that are not found ----

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
  return read_beginning(file, header.size()).bytes == header;
}

Rule descriptor_outside_etc_eclipse() {
  return {.name = "descriptor-outside-etc-eclipse",
          .group = Group::files,
          .severity = Severity::error,
          .title = "a descriptor file is not below etc/eclipse/",
          .why = "The plug-in never reads the file, and nothing is logged.",
          .fix = "move it below a directory etc/eclipse/ (case-sensitive)",
          .bad = component_with_file("tools/etc/Eclipse/tools.txt"),
          .good = good_component(),
          .check = [](const Input& input, Reporter& reporter) {
            if (!input.real_descriptors) return;
            const auto& known = *input.real_descriptors;
            for_each_listed(input, [&](const Component& component, const ListedFile& file) {
              if (file.descriptor || file.text.empty()) return;
              if (is_among_examples(with_slashes(file.text)) && !known.empty()) return;
              const fs::path path = fs::path(component.directory) / with_slashes(file.text);
              std::error_code error;
              if (!fs::is_regular_file(path, error) || known.count(fs::canonical(path, error)) != 0) return;
              if (!is_near_miss(file.text) && !begins_with_header(path)) return;
              reporter.report(file.location, "descriptor file " + in_quotes(file.text) + " is not below etc/eclipse/");
            });
          }};
}

bool is_missing(const ListedFile& file) { return file.descriptor && !file.descriptor->exists; }

/// A file that is listed, but looked for in the wrong directory.
bool is_listed_elsewhere(const UnlistedFile& unlisted) {
  const auto& listed = unlisted.component->files;
  return std::any_of(listed.begin(), listed.end(), [&](const ListedFile& file) {
    return is_missing(file) && unlisted.file.name.ends_with("/" + file.descriptor->name);
  });
}

Rule descriptor_not_listed() {
  return {.name = "descriptor-not-listed",
          .group = Group::files,
          .severity = Severity::error,
          .title = "a descriptor file is missing from the package's list of files",
          .why = "The plug-in searches only the list, so it never reads the file.",
          .fix = "add it to the package's list of files",
          .bad = product_with({.capabilities = "", .package = R"("files": ["readme.txt"])"}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            for (const UnlistedFile& unlisted : input.unlisted) {
              const auto& [component, file] = unlisted;
              if (!file.exists || is_listed_elsewhere(unlisted) || is_among_examples(file.name)) continue;
              const std::string message = "the package does not list " + in_quotes(file.name);
              if (component->scanned.empty()) {
                reporter.report(component->list_location, message);
              } else {
                reporter.report(component->list_location, message,
                                "correct scan, which leads to " + shown_path(component->scanned));
              }
            }
          }};
}

/// The directory below a component's directory that has a file which the component's directory itself lacks; empty when there
/// is none.
std::string directory_with_missing(const Input& input, const Component& component, const ListedFile& missing) {
  const std::string end = "/" + missing.descriptor->name;
  for (const auto& [holder, file] : input.unlisted) {
    if (holder == &component && file.exists && file.name.ends_with(end))
      return file.name.substr(0, file.name.size() - end.size());
  }
  return "";
}

/// What is at a path where a file should be, "a pipe" for one; empty when it is a file, or nothing at all.
std::string kind_of_other(const std::string& path) {
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

void report_missing(const Input& input, const Component& component, const ListedFile& file, Reporter& reporter) {
  std::string message = "descriptor file does not exist: " + file.descriptor->path;
  const fs::path packaged = fs::path(component.catalogue->package->prefix) / file.descriptor->name;
  std::error_code error;
  if (fs::is_regular_file(packaged, error)) message += "; it exists below the package's prefix: " + packaged.string();
  const std::string directory = directory_with_missing(input, component, file);
  if (directory.empty()) {
    reporter.report(file.location, std::move(message));
  } else {
    reporter.report(
        file.location, message + "; it exists below " + in_quotes(directory) + " in that directory",
        "correct installDir, " + in_quotes(component.catalogue->installDir) + ", so that it leads to " + in_quotes(directory));
  }
}

Rule listed_descriptor_missing() {
  return {.name = "listed-descriptor-missing",
          .group = Group::files,
          .severity = Severity::error,
          .title = "a listed descriptor file does not exist",
          .why = "The plug-in logs that the file is not found. Its features are neither installed nor removed.",
          .fix = "put the file there, or correct installBase and installDir; the package's prefix is not used to find it",
          .bad = product_with({.directory = "tool", .package = R"("prefix": "tools", "files": ["etc/eclipse/tools.txt"])"}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_listed(input, [&](const Component& component, const ListedFile& file) {
              if (!is_missing(file) || names_directory(file) || ends_in_space(file.descriptor->name)) return;
              if (kind_of_other(file.descriptor->path).empty()) report_missing(input, component, file, reporter);
            });
          }};
}

/// On disk, an empty directory is odd only when it is named like a file.
void check_is_file(const Component& component, const DescriptorFile& file, const Location& location, bool is_listed,
                   Reporter& reporter) {
  const std::string kind = file.exists ? "" : kind_of_other(file.path);
  if (kind.empty()) return;
  const bool may_be_a_directory = is_listed ? has_listed_files(component, file) : !fs::path(file.name).has_extension();
  if (kind == "a directory" && may_be_a_directory) return;
  reporter.report(location, in_quotes(file.name) + " is " + kind + ", not a file");
}

Rule descriptor_not_a_file() {
  return {.name = "descriptor-not-a-file",
          .group = Group::files,
          .severity = Severity::error,
          .title = "a directory named like a file, a dangling symlink, a pipe or a device is below etc/eclipse/",
          .why =
              "Only regular files are read. If the package lists the path, the plug-in logs that it is not found; its features "
              "are neither installed nor removed.",
          .fix = "put a regular file there",
          .bad = {"tools", {{.name = default_descriptor, .link_to = "../tools.txt"}}},
          .good = good_component(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_listed(input, [&](const Component& component, const ListedFile& file) {
              if (!file.descriptor || names_directory(file)) return;
              check_is_file(component, *file.descriptor, file.location, input.session.has_value(), reporter);
            });
            for (const auto& [component, file] : input.unlisted) {
              check_is_file(*component, file, component->list_location, false, reporter);
            }
          }};
}

Rule descriptor_unreadable() {
  return {.name = "descriptor-unreadable",
          .group = Group::files,
          .severity = Severity::error,
          .title = "a descriptor file cannot be read completely",
          .why =
              "The plug-in ignores the error: a file that it cannot open counts as empty, and NUL bytes replace what it "
              "cannot read. Nothing is logged.",
          .fix = "make it readable for the user who runs the installer",
          .bad = {"tools.txt", {{.name = "tools.txt", .content = line_of_one, .permissions = 0}}},
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for (const Descriptor& descriptor : input.descriptors) {
              if (descriptor.is_readable()) continue;
              reporter.report(descriptor.location(), "the descriptor file " + descriptor.read_error);
            }
          }};
}

/// A descriptor file below these directories, that only its owner can read.
Sample component_with_closed_descriptor(int permissions) {
  return {"tools",
          {{.name = default_descriptor, .content = line_of_one, .permissions = permissions},
           {"tools/site/content.xml", content_of_one}}};
}

/// Reports a descriptor file when everyone may read the repository of one of its records. Returns whether it did.
bool report_closed(const Record& record, OpenToOthers& open, Reporter& reporter) {
  if (!record.placement || record.site == nullptr || !record.site->is_loadable()) return false;
  const fs::path closed = open.closed_part(*record.descriptor, record.config->base_dir);
  if (closed.empty() || !open.closed_part(record).empty()) return false;
  reporter.report(record.descriptor->location(),
                  "other users may not read the descriptor file, but its repository " + in_quotes(record.repository()),
                  "run chmod " + std::string(fs::is_directory(closed) ? "-R a+rX " : "a+r ") + shown_path(closed));
  return true;
}

Rule descriptor_not_readable_by_others() {
  return {
      .name = "descriptor-not-readable-by-others",
      .group = Group::files,
      .severity = Severity::warning,
      .title = "only its owner or root can read a descriptor file, but everyone can read its repository",
      .why =
          "An archive or a package keeps the permissions. If the installer then runs as another user, the plug-in treats the "
          "file as empty, and nothing is logged.",
      .fix = "run chmod a+r on the descriptor file",
      .bad = component_with_closed_descriptor(0600),
      .good = component_with_closed_descriptor(0644),
      .check = [](const Input& input, Reporter& reporter) {
        if (!input.has_components) return;
        OpenToOthers open;
        std::set<const Descriptor*> reported;
        for (const Record& record : input.records) {
          if (reported.contains(record.descriptor) || !report_closed(record, open, reporter)) continue;
          reported.insert(record.descriptor);
        }
      }};
}

// ---- Files that are taken for descriptors ----

bool has_other_name(const std::string& name) {
  constexpr std::array<std::string_view, 28> endings = {
      "~",     ".bak",    ".orig",    ".old",     ".swp",       ".rej",      ".md",       ".xml",     ".jar",      ".zip",
      ".html", ".json",   ".png",     ".pdf",     ".gz",        ".save",     ".tmp",      ".off",     ".disabled", ".example",
      "#",     ".rpmnew", ".rpmsave", ".rpmorig", ".dpkg-dist", ".dpkg-new", ".dpkg-old", ".ucf-dist"};
  constexpr std::array<std::string_view, 6> beginnings = {".", "readme", "license", "copy of ", "kopie von ", "copie de "};
  const std::string lowered = lower_case(fs::path(name).filename().string());
  const std::string stem = fs::path(lowered).stem().string();
  constexpr std::array<std::string_view, 5> copies = {" copy", " - kopie", " - copie", "_old", "-old"};
  const bool is_numbered_copy = stem.ends_with(')') && stem.find(" (") != stem.npos;
  return is_numbered_copy || std::any_of(copies.begin(), copies.end(), [&](auto ending) { return stem.ends_with(ending); }) ||
         std::any_of(beginnings.begin(), beginnings.end(), [&](auto beginning) { return lowered.starts_with(beginning); }) ||
         std::any_of(endings.begin(), endings.end(), [&](auto ending) { return lowered.ends_with(ending); });
}

/// One of twenty bytes in a binary file is a control character; a few in a text are mistakes at their places.
bool has_other_content(std::string_view content) {
  if (content.starts_with("<?xml") || content.starts_with("PK\x03\x04")) return true;
  const auto controls = std::count_if(content.begin(), content.end(), [](char byte) {
    return byte > '\0' && byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r';
  });
  return controls > 1 && static_cast<std::size_t>(controls) * 20 > content.size();
}

using RecordsOfFiles = std::map<const Descriptor*, std::vector<const Record*>>;

RecordsOfFiles records_of_files(const Input& input) {
  RecordsOfFiles records;
  for (const Record& record : input.records) records[record.descriptor].push_back(&record);
  return records;
}

/// Of a file without a descriptor's name.
bool reads_like_descriptor(const Descriptor& descriptor, const std::vector<const Record*>& records) {
  return descriptor.is_text && !records.empty() && std::all_of(records.begin(), records.end(), [](const Record* record) {
           return looks_like_feature(record->feature());
         });
}

/// Whether the plug-in finds a repository or a feature in a file.
bool has_data(const Descriptor& descriptor, const std::vector<const Record*>& records) {
  if (!descriptor.is_text) return descriptor.content.find('\t') != std::string_view::npos;
  return std::any_of(records.begin(), records.end(), [](const Record* record) { return record->placement.has_value(); });
}

Rule not_a_descriptor() {
  return {
      .name = "not-a-descriptor",
      .group = Group::files,
      .severity = Severity::error,
      .title = "a file below etc/eclipse/ is not a descriptor file",
      .why =
          "The plug-in reads it as a descriptor file: each of its lines with a tab is data. If there are such lines, no "
          "repository has their features, so the command for all features fails.",
      .fix = "move it out of etc/eclipse/",
      .bad = {"tools",
              {{"tools/etc/eclipse/README.md", "# Tools\n\nSee\tthe manual.\n"}, {"tools/site/content.xml", content_of_one}}},
      .good = good_component(),
      .check =
          [](const Input& input, Reporter& reporter) {
            auto records = records_of_files(input);
            for (const Descriptor& descriptor : input.descriptors) {
              const auto& own = records[&descriptor];
              const bool has_name = !has_other_name(descriptor.file) || !descriptor.is_readable();
              if (!has_other_content(descriptor.content) && (has_name || reads_like_descriptor(descriptor, own))) continue;
              if (has_data(descriptor, own)) {
                reporter.report(descriptor.location(), "does not look like a descriptor file, but is read as one");
              } else {
                reporter.report(Severity::note, descriptor.location(),
                                "does not look like a descriptor file; it is read as one, but has no data",
                                "move it out of etc/eclipse/, or ignore this finding");
              }
            }
          },
      .supersedes = Supersedes::file};
}

Rule unusual_descriptor_name() {
  return {.name = "unusual-descriptor-name",
          .group = Group::files,
          .severity = Severity::warning,
          .title = "a file below etc/eclipse/ is named like a backup or a document",
          .why = "It is read as a descriptor file, in addition to the file that it may be a copy of.",
          .fix = "move it out of etc/eclipse/, or rename it if it is a descriptor file",
          .bad = component_with_file("tools/etc/eclipse/tools.txt~"),
          .good = component_with_file("tools/etc/eclipse/tools.properties"),
          .check = [](const Input& input, Reporter& reporter) {
            auto records = records_of_files(input);
            for (const Descriptor& descriptor : input.descriptors) {
              if (!has_other_name(descriptor.file) || has_other_content(descriptor.content)) continue;
              if (!reads_like_descriptor(descriptor, records[&descriptor])) continue;
              reporter.report(descriptor.location(), "named like a backup or a document, but read as a descriptor file");
            }
          }};
}

Rule accidental_descriptor() {
  return {.name = "accidental-descriptor",
          .group = Group::files,
          .severity = Severity::warning,
          .title = "a path contains \"etc/eclipse/\" without a directory named etc",
          .why = "The plug-in looks for this text anywhere in a path, so it reads the file as a descriptor file.",
          .fix = "rename the directory, or move the file below a real etc/eclipse/ if it is a descriptor file",
          .bad = component_with_file("tools/share/getc/eclipse/tools.txt"),
          .good = component_with_file("tools/share/etc/eclipse/tools.txt"),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_listed(input, [&](const Component&, const ListedFile& file) {
              if (!file.descriptor || descriptor_directory_in(file.descriptor->name) != std::string::npos) return;
              std::error_code error;
              if (fs::is_directory(file.descriptor->path, error)) return;
              reporter.report(file.location, in_quotes(file.text) + " contains \"etc/eclipse/\" but no directory named etc");
            });
          }};
}

Rule example_is_descriptor() {
  return {
      .name = "example-is-descriptor",
      .group = Group::files,
      .severity = Severity::warning,
      .title = "a descriptor file is among documentation or examples",
      .why =
          "The plug-in looks for \"etc/eclipse/\" anywhere in a path. If a package lists the file, it is read like every "
          "other one, and its paths are relative to the component's directory.",
      .fix = "rename its directory etc/eclipse/, or leave it out of the package",
      .bad = product(session("install", user_choice("ide/eclipse"),
                             entry_of({.package = R"("files": ["etc/eclipse/tools.txt", "doc/etc/eclipse/tools.txt"])"})),
                     {{"tools/doc/etc/eclipse/tools.txt", line_of_one}}),
      .good = component(line_of_one, {{"tools/site/content.xml", content_of_one}, {"tools/doc/tools.txt", line_of_one}}),
      .check = [](const Input& input, Reporter& reporter) {
        for_each_listed(input, [&](const Component&, const ListedFile& file) {
          if (file.is_example) {
            const std::string message = in_quotes(file.descriptor->name) + " is among documentation or examples; not checked";
            reporter.report(Severity::note, file.location, message,
                            "leave it out of the package, or rename its directory etc/eclipse/");
          } else if (input.session && file.descriptor && file.descriptor->exists && is_among_examples(file.descriptor->name)) {
            reporter.report(file.location, in_quotes(file.descriptor->name) +
                                               " is among documentation or examples, but read as a descriptor file");
          }
        });
      }};
}

// ---- Files of another release ----

/// A product whose package was made from the directory "stage", which has this content.xml in its repository.
Sample product_with_stage(const std::string& content) {
  return product(user_session(entry_of({.package = R"("scan": "stage")"})),
                 {{"stage/etc/eclipse/tools.txt", line_of_one}, {"stage/site/content.xml", content}});
}

/// Whether the descriptor file that is read has another content than that in the package.
bool differs_from_package(const Descriptor& descriptor, const fs::path& packaged) {
  const FileContent content = read_file(packaged, largest::descriptor);
  return content.error.empty() && descriptor.is_readable() && content.bytes != descriptor.content;
}

void check_packaged_descriptors(const Input& input, Reporter& reporter) {
  std::map<std::pair<const Component*, std::string_view>, const Descriptor*> descriptors;
  for (const Descriptor& descriptor : input.descriptors)
    descriptors.emplace(std::pair(descriptor.component, std::string_view(descriptor.file)), &descriptor);
  for_each_listed(input, [&](const Component& component, const ListedFile& file) {
    if (component.scanned.empty() || !component.takes_part || !file.descriptor || !file.descriptor->exists) return;
    const fs::path packaged = component.scanned / file.descriptor->name;
    const auto read = descriptors.find({&component, shown_path(file.descriptor->path)});
    if (read == descriptors.end() || !differs_from_package(*read->second, packaged)) return;
    reporter.report(file.location,
                    "the plug-in reads " + file.descriptor->path + ", which differs from the package's " + packaged.string());
  });
}

void check_packaged_repositories(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (record.packaged == nullptr || !record.takes_part()) continue;
    if (!record.site->units || !record.packaged->units || *record.site->units == *record.packaged->units) continue;
    reporter.report(record.location(0), in_quotes(record.repository()) + " in " + record.descriptor->component->directory +
                                            " has other units than in the package, " +
                                            record.descriptor->component->scanned.string());
  }
}

Rule package_differs() {
  return {
      .name = "package-differs",
      .group = Group::files,
      .severity = Severity::warning,
      .title = "a component's directory has other files than its package, such as those of another release",
      .why =
          "The files of the package are those of the directory in \"scan\", but the plug-in reads descriptor files, and the "
          "director repositories, in the component's directory.",
      .fix = "install the package into the component's directory before the run, or correct \"scan\" or installDir",
      .bad = product_with_stage("<repository><units><unit id='org.example.one.feature.group' version='2.0.0'/></units>"
                                "</repository>\n"),
      .good = product_with_stage(content_of_one),
      .check =
          [](const Input& input, Reporter& reporter) {
            check_packaged_descriptors(input, reporter);
            check_packaged_repositories(input, reporter);
          },
      .concerns_removals = false};
}

// ---- Lists of files ----

Rule directory_entry_listed() {
  return {.name = "directory-entry-listed",
          .group = Group::files,
          .severity = Severity::note,
          .title = "a package lists the directory etc/eclipse itself",
          .why = "Without a trailing slash the entry is ignored. With one, the plug-in logs that it is not found.",
          .fix = "list only files",
          .bad = product_with({.package = R"("files": ["etc/eclipse", "etc/eclipse/", "etc/eclipse/tools.txt"])"}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_listed(input, [&](const Component& component, const ListedFile& file) {
              if (!input.session) return;
              std::error_code error;
              const bool is_directory_with_files = file.descriptor && has_listed_files(component, *file.descriptor) &&
                                                   fs::is_directory(file.descriptor->path, error);
              if (!names_directory(file) && !is_directory_with_files) return;
              reporter.report(file.location, in_quotes(file.text) + " is a directory, not a descriptor file");
            });
          }};
}

Rule trailing_space_in_listed_name() {
  return {.name = "trailing-space-in-listed-name",
          .group = Group::files,
          .severity = Severity::error,
          .title = "a listed name ends in a space or a tab",
          .why =
              "Only line ends are trimmed from listed names. The plug-in looks for a file with the space in its name and does "
              "not find it.",
          .fix = "remove the space",
          .bad = product_with({.package = R"("files": ["etc/eclipse/tools.txt "])"}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_listed(input, [&](const Component&, const ListedFile& file) {
              if (!is_missing(file) || !ends_in_space(file.descriptor->name)) return;
              reporter.report(file.location, "trailing space in the listed name " + in_quotes(file.text));
            });
          }};
}

Rule descriptor_listed_twice() {
  return {.name = "descriptor-listed-twice",
          .group = Group::files,
          .severity = Severity::warning,
          .title = "a descriptor file is listed twice, by one package or by those of two components",
          .why = "The file is read twice, and each of its lines takes two places in the install order.",
          .fix = "list it once",
          .bad = product_with({.package = R"("files": ["etc/eclipse/tools.txt", "etc\\eclipse\\tools.txt"])"}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            std::map<std::string_view, const Component*> known;
            for_each_listed(input, [&](const Component& component, const ListedFile& file) {
              if (!file.descriptor) return;
              const auto [first, is_new] = known.emplace(file.descriptor->path, &component);
              if (is_new) return;
              if (first->second == &component) {
                reporter.report(file.location, in_quotes(file.descriptor->name) + " is listed twice");
              } else {
                reporter.report(file.location,
                                in_quotes(file.descriptor->name) + " is that of the component " +
                                    in_quotes(first->second->catalogue->code) + ", which has the same directory",
                                "give each component an installDir of its own, or list the file in one of them");
              }
            });
          }};
}

// ---- Components ----

bool has_plugin_capability(const Input& input, const Component& component) {
  return input.library->asks_for_integration(component.capabilities);
}

Rule component_never_searched() {
  return {.name = "component-never-searched",
          .group = Group::files,
          .severity = Severity::error,
          .title = "the plug-in cannot search a component that has Eclipse features",
          .why =
              "A component without a code or a package is silently skipped. If installBase is empty, the plug-in looks for "
              "the files below \"/\".",
          .fix = "set the component's code, package and installBase",
          .bad = product_with({.code = ""}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            for (const Component& component : input.components) {
              if (!component.has_descriptors() && !has_plugin_capability(input, component)) continue;
              if (component.catalogue->code.empty()) reporter.report(component.location, "the component has no code");
              if (!component.catalogue->package) reporter.report(component.location, "the component has no package");
              if (component.catalogue->installBase.empty()) {
                reporter.report(component.location,
                                "installBase is empty: the plug-in looks for the files in " + component.directory);
              }
            }
          }};
}

Rule capability_descriptor_mismatch() {
  return {.name = "capability-descriptor-mismatch",
          .group = Group::files,
          .severity = Severity::warning,
          .title = "a component has descriptor files but no ECLIPSE_PLUGIN capability, or vice versa",
          .why =
              "Only the capabilities tell the installer whether it needs the integration. It may skip the integration although "
              "there are features, or ask the user for an instance although there are none.",
          .fix = "give components with descriptor files, and only those, a capability whose name contains ECLIPSE_PLUGIN",
          .bad = product_with({.capabilities = ""}),
          .good = good_product(),
          .check = [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            for (const Component& component : input.components) {
              if (component.catalogue->code.empty() || !component.catalogue->package) continue;
              const bool is_capable = has_plugin_capability(input, component);
              if (component.has_descriptors() == is_capable) continue;
              reporter.report(component.location, is_capable
                                                      ? "the component has an ECLIPSE_PLUGIN capability but no descriptor file"
                                                      : "the component has descriptor files but no ECLIPSE_PLUGIN capability");
            }
          }};
}

}  // namespace

std::vector<Rule> files_rules() {
  return {descriptor_outside_etc_eclipse(),
          descriptor_not_listed(),
          listed_descriptor_missing(),
          descriptor_not_a_file(),
          descriptor_unreadable(),
          descriptor_not_readable_by_others(),
          not_a_descriptor(),
          unusual_descriptor_name(),
          accidental_descriptor(),
          example_is_descriptor(),
          package_differs(),
          directory_entry_listed(),
          trailing_space_in_listed_name(),
          descriptor_listed_twice(),
          component_never_searched(),
          capability_descriptor_mismatch()};
}

}  // namespace eclipse_lint
