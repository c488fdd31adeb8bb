// What is linted: a descriptor file, a component or a whole session, read as the plug-in reads it.
#ifndef ECLIPSE_INT_LINT_INPUT_H
#define ECLIPSE_INT_LINT_INPUT_H

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/json_document.h"
#include "dry_run/descriptor_files.h"
#include "dry_run/descriptor_lines.h"
#include "dry_run/dry_run.h"
#include "dry_run/plugin_functions.h"
#include "lint/finding.h"
#include "p2/installation.h"
#include "p2/profile.h"
#include "p2/repository.h"
#include "p2/unit_list.h"
#include "standalone_host/session.h"

namespace eclipse_lint {

using eclipse_dry_run::DescriptorFile;
using eclipse_dry_run::Placement;
using eclipse_dry_run::PluginFunctions;

struct Record;
struct Component;
class NeededJars;
class NeededUnits;

using Line = eclipse_dry_run::DescriptorLine;

struct Descriptor {
  const Component* component;
  std::string file;  ///< as it is shown
  std::string_view content;
  std::string read_error;  ///< why the file could not be read completely; empty when it could
  bool is_text = false;    ///< 8-bit text with line feeds; otherwise there are no lines and records
  std::deque<Line> lines;

  bool is_readable() const { return read_error.empty(); }
  Location location() const;
  /// Of a part of a column. Columns and bytes are counted from 0; `length` may reach beyond the column.
  Location location(const Line& line, std::size_t column, std::size_t start = 0,
                    std::size_t length = std::string_view::npos) const;
  Location location(const Line& line) const;

  /// Replaces a part of a line, which begins at this byte, from 0.
  Edit edit(const Line& line, std::size_t start, std::size_t length, std::string replacement = "") const;
  /// Deletes a line and its line feed.
  Edit deletion(const Line& line) const;
};

/// One data line.
struct Record {
  const plugin_config* config;
  const Descriptor* descriptor;
  const Line* line;
  std::optional<eclipse_dry_run::Placement> placement;  ///< nothing when the plug-in ignores the record
  const eclipse_p2::Repository* site = nullptr;         ///< at the path that the director gets, if that is known
  const eclipse_p2::Repository* packaged = nullptr;  ///< in the directory that was scanned for the package, if that is another
  std::vector<eclipse_p2::WrittenUnit> units = {};   ///< in its feature
  bool is_last_in_list = false;                      ///< its repository ends the director's list of repositories

  /// A column, without the carriage return that a CRLF line end leaves in the last one; empty if the line lacks it.
  std::string_view cell(std::size_t column) const;
  std::string_view repository() const { return cell(0); }
  std::string_view feature() const { return cell(1); }
  bool has_order() const { return line->columns.size() > 3; }
  Location location(std::size_t column) const;
  std::string where() const;  ///< "FILE:LINE"
  /// Whether the run of the session reads it. Records that do not take part have placements as in a run of their own.
  bool takes_part() const;
  /// Replaces a part of a column, which the line has; bytes count from 0.
  Edit edit(std::size_t column, std::size_t start, std::size_t length, std::string replacement = "") const;
};

/// A file that a component's package lists.
struct ListedFile {
  std::string text;  ///< as it is listed
  Location location;
  std::optional<eclipse_dry_run::DescriptorFile> descriptor;  ///< when the plug-in reads it as one
  bool is_example = false;  ///< a descriptor among documentation or examples, which is not linted unless a session lists it
};

struct Component {
  eclipse_host::CatalogueComponent* catalogue;
  std::string directory;   ///< installBase and installDir, as the plug-in joins them
  Location location;       ///< of its code
  Location list_location;  ///< of its list of files in a session
  std::deque<ListedFile> files;
  std::vector<std::string> capabilities;
  std::vector<Location> capability_locations;
  std::filesystem::path scanned;  ///< where the files of the package were found; empty when that is `directory`, or not known
  bool takes_part = true;         ///< in the run of the session; false if the run leaves out its descriptor files

  bool has_descriptors() const;
};

/// A path where the plug-in would find a descriptor file of a component if a package listed it.
struct UnlistedFile {
  const Component* component;
  eclipse_dry_run::DescriptorFile file;
};

/// What only a session has.
struct SessionFacts {
  std::shared_ptr<const eclipse_base::JsonDocument> document;
  std::unique_ptr<eclipse_host::Session> session;
  /// Where each is set; without a line when it is set outside of the session file.
  std::map<std::string, Location> variables;
  Location mode;
  std::vector<std::string> executables;       ///< of the IDE components; the plug-in uses the last one
  eclipse_dry_run::DryRun run;                ///< up to its first command
  std::string executable;                     ///< that the run's commands start; empty when there is no command
  std::vector<eclipse_p2::Unit> named_units;  ///< those that the first command asks the director to install or to remove
  bool is_first_command_whole = false;        ///< the shell makes of it one command with the words that it is meant to have
  /// Of its instance, when its profile can be read.
  std::optional<std::vector<eclipse_p2::InstalledUnit>> installed;

  std::string variable(const std::string& name) const { return session->variable(name); }
  bool is_removal() const { return session->is_removal(); }
  /// Whether the run starts the director to remove units.
  bool removes_units() const { return is_removal() && !run.commands.empty(); }
  /// The file that a relative path leads to from the directory of the session file. Nothing when there is none.
  std::optional<std::filesystem::path> seen_from_file(const std::string& path) const;
  /// Where a variable is set, or else the mode.
  const Location& location_of(const std::string& variable) const;
  /// Of the variable that names the executable, or the file that is looked for.
  const Location& location_of_executable() const;
};

struct Input {
  const eclipse_dry_run::PluginFunctions* library;
  bool has_components = false;                       ///< otherwise it is a single descriptor file, whose component is not known
  eclipse_p2::Repositories* repositories = nullptr;  ///< in which more can be looked up
  eclipse_p2::ProfileStates* profile_states = nullptr;  ///< likewise
  std::deque<Component> components;
  std::vector<std::string> component_directories;  ///< of all components that are linted together
  std::deque<Descriptor> descriptors;
  std::vector<plugin_config> configs;  ///< all records, including those of files that are not text
  /// The files behind the descriptor files of all components that are linted together; some may be symbolic links.
  std::shared_ptr<const std::set<std::filesystem::path>> real_descriptors;
  std::vector<Record> records;
  /// What is at the repository of a line that has nothing else, and that the plug-in therefore ignores.
  std::map<const Line*, const eclipse_p2::Repository*> sites_alone;
  std::vector<UnlistedFile> unlisted;  ///< of a session
  std::optional<SessionFacts> session;
  eclipse_p2::Replaces replaces = eclipse_p2::Replaces::nothing;
  /// The units of all sites that are known. Null when there is no site.
  std::shared_ptr<const eclipse_p2::UnitVersions> known_units;
  /// The same, in which the director looks for each feature. Null when those of a site are not known.
  std::shared_ptr<const eclipse_p2::UnitVersions> offered;
  /// What the director needs for the features, as far as the sites are known. Null when there is no site.
  std::shared_ptr<const NeededUnits> needed;
  /// The jars of these. Null when there is no site.
  std::shared_ptr<const NeededJars> jars;
  std::vector<std::unique_ptr<eclipse_host::CatalogueComponent>> catalogue;  ///< of an input without a session

  bool is_removal() const { return session && session->is_removal(); }
  /// Where to look for the feature of a record. Null when its own site is not known; when only others are not, they will hardly
  /// have it.
  const eclipse_p2::UnitVersions* offered_for(const Record& record) const;
  /// Of an installation, as far as the sites and the instance are known. The input must outlive it.
  eclipse_p2::InstallationForecast forecast() const;
};

/// Sets more variables in a session that was read from its file.
using AddVariables = std::function<void(eclipse_host::Session& session)>;

/// Reads a descriptor file, a directory, or, when the name ends in ".json" or the content begins like one, a session file. A
/// directory gives an input for each component in it, and what their repositories contain is available to all of them. Throws
/// FileError when the input cannot be read or is none of the three. The inputs refer to the other arguments.
std::vector<std::unique_ptr<Input>> read_inputs(const eclipse_dry_run::PluginFunctions& library,
                                                eclipse_p2::Repositories& sites, eclipse_p2::ProfileStates& states,
                                                eclipse_dry_run::DescriptorFiles& files, const std::filesystem::path& path,
                                                const AddVariables& add_variables);

/// The same for a session that a document describes.
std::vector<std::unique_ptr<Input>> read_session_input(const eclipse_dry_run::PluginFunctions& library,
                                                       eclipse_p2::Repositories& sites, eclipse_p2::ProfileStates& states,
                                                       eclipse_dry_run::DescriptorFiles& files,
                                                       std::shared_ptr<const eclipse_base::JsonDocument> document,
                                                       const AddVariables& add_variables);

}  // namespace eclipse_lint

#endif
