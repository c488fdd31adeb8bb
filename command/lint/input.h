// What is linted: a descriptor file, a component or a whole session, read as the plug-in reads it.
#ifndef ECLIPSE_INT_LINT_INPUT_H
#define ECLIPSE_INT_LINT_INPUT_H

#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dry_run/plugin_functions.h"
#include "lint/finding.h"
#include "lint/json_locations.h"
#include "p2/repository.h"
#include "standalone_host/session.h"

namespace eclipse_lint {

using eclipse_dry_run::DescriptorFile;
using eclipse_dry_run::Library;
using eclipse_dry_run::Placement;
using eclipse_dry_run::Rehearsal;

struct Record;
struct Component;

struct Line {
  std::size_t number = 0;  ///< from 1
  std::string_view text;   ///< without its line feed
  std::vector<std::string_view> columns;
  bool is_record = false;  ///< otherwise the plug-in drops it
};

struct Descriptor {
  const Component* component;
  std::string file;  ///< as it is shown
  std::string content;
  bool is_readable = false;
  bool is_text = false;  ///< 8-bit text with line feeds; where it is not, lines and records say nothing
  std::deque<Line> lines;

  Location location() const;
  /// Of a stretch of a column, each of them counted from 0; `length` may reach beyond the column.
  Location location(const Line& line, std::size_t column, std::size_t start = 0,
                    std::size_t length = std::string_view::npos) const;
  Location location(const Line& line) const;
};

/// One data line.
struct Record {
  const plugin_config* config;
  const Descriptor* descriptor;
  const Line* line;
  std::optional<eclipse_dry_run::Placement> placement;  ///< nothing when the record is passed over
  const eclipse_p2::Site* site = nullptr;               ///< where it is known and was looked into

  /// A column without the carriage return that a CRLF line end leaves in the last one; empty where there is none.
  std::string_view cell(std::size_t column) const;
  std::string_view repository() const { return cell(0); }
  std::string_view feature() const { return cell(1); }
  bool has_order() const { return line->columns.size() > 3; }
  Location location(std::size_t column) const;
  std::string where() const;  ///< "FILE:LINE"
};

/// A file that a component's package lists.
struct ListedFile {
  std::string text;  ///< as it is listed
  Location location;
  std::optional<eclipse_dry_run::DescriptorFile> descriptor;  ///< when the plug-in takes it for one
};

struct Component {
  eclipse_host::CatalogueComponent* catalogue;
  std::string directory;   ///< installBase and installDir, as the plug-in joins them
  Location location;       ///< of its code
  Location list_location;  ///< of its list of files
  std::deque<ListedFile> files;
  std::vector<std::string> capabilities;
  std::vector<Location> capability_locations;

  bool has_descriptors() const;
};

/// What lies where the plug-in would find a descriptor file of a component if a package listed it.
struct UnlistedFile {
  const Component* component;
  eclipse_dry_run::DescriptorFile file;
};

/// What only a session tells.
struct SessionFacts {
  JsonLocations places;
  std::unique_ptr<eclipse_host::Session> session;
  std::map<std::string, Location> variables;  ///< where each is set in the file
  Location mode;
  std::vector<std::string> executables;  ///< those among the IDE components, of which the last one counts
  eclipse_dry_run::Rehearsal run;

  std::string variable(const std::string& name) const { return session->variable(name); }
  /// The one that a run works on or would miss; empty when none is chosen.
  std::string executable() const;
  bool is_removal() const { return variable("KORU_MODE") == "uninstall"; }
  /// Where a variable is set, or else the mode.
  const Location& location_of(const std::string& variable) const;
};

struct Input {
  const eclipse_dry_run::Library* library;
  bool has_components = false;  ///< otherwise it is a single descriptor file, whose component is not known
  std::deque<Component> components;
  std::deque<Descriptor> descriptors;
  std::vector<plugin_config> configs;  ///< all that was read, those in files that are no text among them
  std::vector<Record> records;
  std::vector<UnlistedFile> unlisted;  ///< of a session
  std::optional<SessionFacts> session;
  /// What all sites together offer, which is where the director looks for each feature. Null when a site cannot be read, or is
  /// not known: it might offer anything.
  std::shared_ptr<const eclipse_p2::Units> offered;
  std::vector<std::unique_ptr<eclipse_host::CatalogueComponent>> catalogue;  ///< of a product without a session

  bool is_removal() const { return session && session->is_removal(); }
};

/// Reads a descriptor file, a directory, or, when the name ends in ".json", a session file. A directory gives a product for
/// each component in it; what their sites offer they offer to all of them. Throws FileError when the input cannot be read or is
/// none of the three.
std::vector<std::unique_ptr<Input>> read_inputs(const eclipse_dry_run::Library& library, eclipse_p2::Sites& sites,
                                                const std::filesystem::path& path);

}  // namespace eclipse_lint

#endif
