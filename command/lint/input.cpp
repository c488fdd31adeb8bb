#include "lint/input.h"

#include <algorithm>
#include <map>
#include <set>

#include "base/file.h"
#include "base/file_error.h"
#include "base/files_below.h"
#include "base/json_document.h"
#include "dry_run/chosen_executable.h"
#include "dry_run/command_pieces.h"
#include "dry_run/component_directories.h"
#include "lint/needed_jars.h"
#include "lint/needed_units.h"
#include "lint/texts.h"
#include "p2/director_command.h"
#include "p2/instance_paths.h"
#include "p2/unit_list.h"
#include "standalone_host/session_file.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;
using namespace eclipse_host;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

bool is_text(std::string_view content) {
  if (content.find('\0') != content.npos || has_utf_16_mark(content)) return false;
  const std::size_t carriage_return = content.find('\r');
  const bool ends_lines = carriage_return != content.npos && carriage_return + 1 < content.size();
  return !ends_lines || content.find('\n') != content.npos;
}

/// Of a line with one column. A word in prose is none.
bool is_site_alone(const Line& line) {
  const std::string_view text = trimmed(line.columns[0]);
  if (text.empty() || text.find_first_of(white_space) != text.npos || text == "Repository") return false;
  return line.text.find('\t') != line.text.npos || looks_like_site(text);
}

class InputReader {
 public:
  InputReader(const PluginFunctions& library, Repositories& sites, ProfileStates& states, DescriptorFiles& files)
      : library_(library), sites_(sites), states_(states), files_(files), input_(std::make_unique<Input>()) {
    input_->library = &library;
    input_->repositories = &sites;
    input_->profile_states = &states;
  }

  std::unique_ptr<Input> read_descriptor(const fs::path& file) {
    const std::string directory = file.has_parent_path() ? file.parent_path().string() : ".";
    add_descriptor(nullptr, file.string(), directory, file.string());
    return finish();
  }

  std::unique_ptr<Input> read_component(const ComponentDirectory& directory, const std::string& searched) {
    input_->has_components = true;
    auto& catalogue = *input_->catalogue.emplace_back(std::make_unique<CatalogueComponent>());
    catalogue.code = directory.path.filename().string();
    catalogue.installBase = directory.path.parent_path().string();
    catalogue.installDir = directory.path.filename().string();
    catalogue.package.emplace().prefix = directory.path.string();
    Component& component = add_component(catalogue, {searched});
    for (const FoundFile& file : directory.files) {
      add_listed(component, file.listed, {file.shown});
      component.files.back().is_example = file.is_example;
    }
    for (const ListedFile& file : component.files) {
      if (!file.is_example) add_descriptor_of(component, file, file.location.file);
    }
    return finish();
  }

  std::unique_ptr<Input> read_session(std::shared_ptr<const JsonDocument> document, const AddVariables& add_variables) {
    input_->has_components = true;
    SessionFacts& facts = input_->session.emplace();
    facts.document = std::move(document);
    facts.session = std::make_unique<Session>();
    eclipse_host::read_session(*facts.document, *facts.session);
    add_session_locations();
    for (const Component& component : input_->components) input_->component_directories.push_back(component.directory);
    add_more_variables(add_variables);
    read_unlisted();
    facts.executables = library_.executables(*facts.session);
    facts.run = perform_dry_run(library_.plugin(), *facts.session, files_, std::set<std::size_t>{0});
    set_parts(facts.run);
    const auto command = facts.run.commands.empty() ? std::nullopt : cut_director_command(facts.run.commands.at(0));
    if (command) {
      facts.executable = command->executable;
      for (WrittenUnit& written : units_written_in(command->features)) facts.named_units.push_back(std::move(written.unit));
    }
    facts.is_first_command_whole = !facts.run.commands.empty() && starts_one_director(facts.run.commands.at(0));
    const std::string chosen = path_in_commands(facts.run.executable);
    if (!chosen.empty()) facts.installed = profile_units(instance_directory(chosen), states_);
    return finish();
  }

 private:
  /// Without a search for descriptor files, one cannot tell which ones would be read.
  void set_parts(const DryRun& run) {
    if (!run.searched) return;
    for (std::size_t i = 0; i < input_->components.size(); ++i) {
      input_->components[i].takes_part = run.components.at(i).package_asked;
    }
  }

  void add_session_locations() {
    SessionFacts& facts = *input_->session;
    const JsonElement root = facts.document->root();
    facts.mode = location_of(root.get("mode"));
    if (const auto variables = root.find("variables")) {
      for (const JsonElement& variable : variables->members()) facts.variables[variable.key()] = location_of(variable);
    }
    const auto elements = root.get("components").items();
    for (std::size_t i = 0; i < elements.size(); ++i) read_session_component(*facts.session->components.at(i), elements[i]);
  }

  /// A variable that is set outside of the file has no line in it.
  void add_more_variables(const AddVariables& add_variables) {
    SessionFacts& facts = *input_->session;
    const auto of_file = facts.session->variables;
    add_variables(*facts.session);
    for (const auto& [name, value] : facts.session->variables) {
      const auto before = of_file.find(name);
      if (before != of_file.end() && before->second == value) continue;
      Location& location = name == "KORU_MODE" ? facts.mode : facts.variables[name];
      location = {facts.document->file().string()};
    }
  }

  void read_session_component(CatalogueComponent& catalogue, const JsonElement& element) {
    Component& component = add_component(catalogue, location_of(element.get("code")));
    if (const auto capabilities = element.find("capabilities")) {
      for (const JsonElement& capability : capabilities->items()) {
        component.capabilities.push_back(capability.text());
        component.capability_locations.push_back(location_of(capability));
      }
    }
    const auto package = element.find("package");
    if (!package) return;
    const auto files = package->find("files");
    const auto elements = files ? files->items() : std::vector<JsonElement>();
    component.list_location = location_of(files ? *files : package->get("scan"));
    if (!files) set_scanned(component, package->get("scan").text());
    for (std::size_t i = 0; i < catalogue.package->files.size(); ++i) {
      add_listed(component, catalogue.package->files[i], files ? location_of(elements[i]) : component.list_location);
    }
    for (const ListedFile& file : component.files) {
      if (file.descriptor) add_descriptor_of(component, file, shown_path(file.descriptor->path));
    }
  }

  void set_scanned(Component& component, const std::string& scan) const {
    const fs::path scanned = absolute_path(input_->session->document->file()).parent_path() / scan;
    if (!is_same_file(scanned, component.directory)) component.scanned = scanned.lexically_normal();
  }

  /// The same repository in the directory that was scanned for the package; null when there is none.
  const Repository* packaged_site(const Record& record) {
    const Component& component = *record.descriptor->component;
    if (component.scanned.empty()) return nullptr;
    const fs::path below = fs::path(path_for_director(record.placement->url)).lexically_relative(component.directory);
    if (below.empty() || *below.begin() == "..") return nullptr;
    std::error_code error;
    return fs::exists(component.scanned / below, error) ? &sites_.at((component.scanned / below).string()) : nullptr;
  }

  /// A file that a component does not list may be listed by another one, or with a trailing space.
  void read_unlisted() {
    std::set<std::string> known;
    for (const Component& component : input_->components) {
      for (const ListedFile& file : component.files) {
        if (file.descriptor) known.emplace(trimmed(file.descriptor->path));
      }
    }
    for (const Component& component : input_->components) {
      if (component.catalogue->installBase.empty() || !component.catalogue->package) continue;
      std::error_code error;
      for (const std::string& name : files_below(component.directory, fs::directory_options::skip_permission_denied, error)) {
        auto file = library_.descriptor(*component.catalogue, name);
        if (file && known.insert(file->path).second) input_->unlisted.push_back({&component, *std::move(file)});
      }
    }
  }

  /// The line itself is left out: there are many locations, and the whole file may be one line.
  Location location_of(const JsonElement& element) const {
    const JsonLocation location = element.location();
    return {input_->session->document->file().string(), location.line, location.column, location.length};
  }

  Component& add_component(CatalogueComponent& catalogue, Location location) {
    Component& component = input_->components.emplace_back();
    component.catalogue = &catalogue;
    component.location = std::move(location);
    component.directory = fs::path(catalogue.installBase + "/" + catalogue.installDir).lexically_normal().string();
    return component;
  }

  void add_listed(Component& component, const std::string& text, Location location) {
    component.files.push_back({text, std::move(location), library_.descriptor(*component.catalogue, text)});
  }

  void add_descriptor_of(const Component& component, const ListedFile& listed, const std::string& file) {
    const auto& found = listed.descriptor;
    if (found && found->exists) add_descriptor(&component, file, found->directory, found->path);
  }

  void add_descriptor(const Component* component, const std::string& shown_file, const std::string& directory,
                      const std::string& path) {
    Descriptor& descriptor = input_->descriptors.emplace_back();
    descriptor.component = component;
    descriptor.file = shown_file;
    const FileContent& content = files_.at(path);
    descriptor.content = content.bytes;
    descriptor.read_error = content.error;
    descriptor.is_text = descriptor.is_readable() && is_text(descriptor.content);
    if (descriptor.is_text) descriptor.lines = descriptor_lines(library_, descriptor.content);
    add_records(descriptor, library_.records(directory, content.bytes));
    if (component != nullptr) add_sites_alone(descriptor, directory);
  }

  /// With two tabs at its end, such a line would be read.
  void add_sites_alone(const Descriptor& descriptor, const std::string& directory) {
    for (const Line& line : descriptor.lines) {
      if (line.columns.size() != 1 || is_comment(line.text) || !is_site_alone(line)) continue;
      const auto records = library_.records(directory, std::string(trimmed(line.columns[0])) + "\t\t");
      const auto placed = library_.placements(records);
      input_->sites_alone.emplace(&line, &sites_.at(path_for_director(placed.at(0)->url)));
    }
  }

  /// The records of a file that is not text only take their slots.
  void add_records(Descriptor& descriptor, std::vector<plugin_config> configs) {
    if (descriptor.is_text) {
      std::size_t config = input_->configs.size();
      for (const Line* const line : lines_of_records(descriptor.lines, configs)) {
        config_of_record_.push_back(config++);
        input_->records.push_back({nullptr, &descriptor, line, std::nullopt});
      }
    }
    descriptor_of_config_.resize(input_->configs.size() + configs.size(), &descriptor);
    input_->configs.insert(input_->configs.end(), std::make_move_iterator(configs.begin()),
                           std::make_move_iterator(configs.end()));
  }

  std::unique_ptr<Input> finish() {
    auto placements = all_placements();
    for (std::size_t i = 0; i < input_->records.size(); ++i) {
      Record& record = input_->records[i];
      record.config = &input_->configs[config_of_record_[i]];
      record.units = units_written_in(record.feature());
      record.placement = std::move(placements[config_of_record_[i]]);
      if (!record.placement || !input_->has_components) continue;
      record.site = &sites_.at(path_for_director(record.placement->url));
      record.packaged = packaged_site(record);
    }
    mark_last_repository();
    return std::move(input_);
  }

  /// Those of the run, and by themselves those of the components that it leaves out.
  std::vector<std::optional<Placement>> all_placements() const {
    std::vector<std::optional<Placement>> placements(input_->configs.size());
    for (const bool takes_part : {true, false}) {
      std::vector<plugin_config> list;
      std::vector<std::size_t> indexes;
      for (std::size_t i = 0; i < placements.size(); ++i) {
        const Component* const component = descriptor_of_config_[i]->component;
        if ((component == nullptr || component->takes_part) != takes_part) continue;
        list.push_back(input_->configs[i]);
        indexes.push_back(i);
      }
      auto placed = library_.placements(list);
      for (std::size_t i = 0; i < indexes.size(); ++i) placements[indexes[i]] = std::move(placed[i]);
    }
    return placements;
  }

  void mark_last_repository() {
    std::string_view last;
    for (const Record& record : input_->records) {
      if (record.placement) last = std::max(last, std::string_view(record.placement->url));
    }
    for (Record& record : input_->records) record.is_last_in_list = record.placement && record.placement->url == last;
  }

  const PluginFunctions& library_;
  Repositories& sites_;
  ProfileStates& states_;
  DescriptorFiles& files_;
  std::unique_ptr<Input> input_;
  std::vector<std::size_t> config_of_record_;
  std::vector<const Descriptor*> descriptor_of_config_;
};

bool is_known(const Repository& site) { return site.is_repository && site.units; }

using SiteSet = std::set<const Repository*>;

SiteSet sites_of(const std::vector<std::unique_ptr<Input>>& inputs) {
  SiteSet sites;
  for (const auto& input : inputs) {
    for (const Record& record : input->records) {
      if (record.site != nullptr) sites.insert(record.site);
    }
  }
  return sites;
}

/// The sites outlive the inputs, so the units of a single one need not be copied.
std::shared_ptr<const UnitVersions> units_of(const SiteSet& sites) {
  if (sites.size() == 1) return {std::shared_ptr<const UnitVersions>(), &*(*sites.begin())->units};
  const auto units = std::make_shared<UnitVersions>();
  for (const Repository* const site : sites) {
    add_to(*units, *site->units);
  }
  return units;
}

void set_real_descriptors(const std::vector<std::unique_ptr<Input>>& inputs) {
  const auto real = std::make_shared<std::set<fs::path>>();
  for (const auto& input : inputs) {
    for (const Component& component : input->components) {
      for (const ListedFile& file : component.files) {
        std::error_code error;
        if (file.descriptor && file.descriptor->exists) real->insert(fs::canonical(file.descriptor->path, error));
      }
    }
  }
  for (const auto& input : inputs) input->real_descriptors = real;
}

void set_offered(const std::vector<std::unique_ptr<Input>>& inputs) {
  SiteSet sites = sites_of(inputs);
  const bool are_all_known = std::erase_if(sites, [](const Repository* site) { return !is_known(*site); }) == 0;
  const auto units = units_of(sites);
  for (const auto& input : inputs) {
    input->known_units = units;
    if (are_all_known) input->offered = units;
    input->needed = std::make_shared<const NeededUnits>(*input);
    input->jars = std::make_shared<const NeededJars>(input->needed);
  }
}

std::vector<std::unique_ptr<Input>> read_directory(const PluginFunctions& library, Repositories& sites, ProfileStates& states,
                                                   DescriptorFiles& files, const fs::path& directory) {
  std::vector<std::unique_ptr<Input>> inputs;
  for (const ComponentDirectory& component : component_directories(library, files, directory)) {
    inputs.push_back(InputReader(library, sites, states, files).read_component(component, directory.string()));
  }
  std::vector<std::string> directories;
  for (const auto& input : inputs) {
    const Component& component = input->components.front();
    if (component.has_descriptors()) directories.push_back(component.directory);
  }
  for (const auto& input : inputs) input->component_directories = directories;
  set_real_descriptors(inputs);
  set_offered(inputs);
  return inputs;
}

}  // namespace

Location Descriptor::location() const { return {file}; }

Location Descriptor::location(const Line& line) const {
  return {file, line.number, 1, line.text.size(), std::string(line.text)};
}

Location Descriptor::location(const Line& line, std::size_t column, std::size_t start, std::size_t length) const {
  std::size_t offset = 0;
  for (std::size_t i = 0; i < column; ++i) offset += line.columns.at(i).size() + 1;
  const std::size_t width = column < line.columns.size() ? line.columns[column].size() : 0;
  return {file, line.number, offset + start + 1, std::min(length, width - std::min(start, width)), std::string(line.text)};
}

Edit Descriptor::edit(const Line& line, std::size_t start, std::size_t length, std::string replacement) const {
  const auto place_at = [&](std::size_t byte) { return TextPlace{line.number, 1 + characters_in(line.text.substr(0, byte))}; };
  const auto offset = static_cast<std::size_t>(line.text.data() - content.data());
  return {offset + start, length, std::move(replacement), place_at(start), place_at(start + length)};
}

Edit Descriptor::deletion(const Line& line) const {
  Edit edit = this->edit(line, 0, line.text.size());
  if (edit.offset + edit.length == content.size()) return edit;
  ++edit.length;
  edit.end = {line.number + 1, 1};
  return edit;
}

std::string_view Record::cell(std::size_t column) const {
  if (column >= line->columns.size()) return "";
  std::string_view text = line->columns[column];
  if (column + 1 == line->columns.size() && text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

Location Record::location(std::size_t column) const { return descriptor->location(*line, column, 0, cell(column).size()); }

bool Record::takes_part() const { return descriptor->component == nullptr || descriptor->component->takes_part; }

std::string Record::where() const { return descriptor->file + ":" + std::to_string(line->number); }

Edit Record::edit(std::size_t column, std::size_t start, std::size_t length, std::string replacement) const {
  const auto offset = static_cast<std::size_t>(line->columns.at(column).data() - line->text.data());
  return descriptor->edit(*line, offset + start, length, std::move(replacement));
}

const UnitVersions* Input::offered_for(const Record& record) const {
  if (offered) return offered.get();
  return record.site != nullptr && is_known(*record.site) ? known_units.get() : nullptr;
}

InstallationForecast Input::forecast() const {
  static const UnitVersions no_units;
  static const std::vector<InstalledUnit> none_installed;
  return {known_units ? *known_units : no_units, offered != nullptr,
          session && session->installed ? *session->installed : none_installed};
}

bool Component::has_descriptors() const {
  return std::any_of(files.begin(), files.end(), [](const ListedFile& file) { return file.descriptor && !file.is_example; });
}

std::optional<fs::path> SessionFacts::seen_from_file(const std::string& path) const {
  if (path.empty() || fs::path(path).is_absolute()) return std::nullopt;
  fs::path seen = absolute_path(document->file()).parent_path() / path;
  std::error_code error;
  return fs::exists(seen, error) ? std::optional(seen.lexically_normal()) : std::nullopt;
}

const Location& SessionFacts::location_of(const std::string& variable) const {
  const auto found = variables.find(variable);
  return found == variables.end() ? mode : found->second;
}

const Location& SessionFacts::location_of_executable() const {
  return location_of(session->chooses_users_own() ? "USER_DEFINED_ECLIPSE_PATH" : "ECLIPSE_BIN");
}

std::vector<std::unique_ptr<Input>> read_inputs(const PluginFunctions& library, Repositories& sites, ProfileStates& states,
                                                DescriptorFiles& files, const fs::path& path,
                                                const AddVariables& add_variables) {
  std::error_code error;
  const auto status = fs::status(path, error);
  const bool is_readable = fs::is_directory(status) || fs::is_regular_file(status);
  const bool may_be_missing = path.extension() == ".json" || files.has_unsaved(path);
  if (fs::exists(status) ? !is_readable : !may_be_missing) {
    throw FileError(path, std::string(fs::exists(status) ? "is not a file or directory" : "does not exist") +
                              "; give a descriptor file, a directory of components or a session file (.json)");
  }
  if (fs::is_directory(status)) return read_directory(library, sites, states, files, path);
  if (is_session(path, files.has_unsaved(path) ? "" : read_beginning(path, 65536).bytes)) {
    return read_session_input(library, sites, states, files, std::make_shared<const JsonDocument>(path), add_variables);
  }
  std::vector<std::unique_ptr<Input>> inputs;
  inputs.push_back(InputReader(library, sites, states, files).read_descriptor(path));
  return inputs;
}

std::vector<std::unique_ptr<Input>> read_session_input(const PluginFunctions& library, Repositories& sites,
                                                       ProfileStates& states, DescriptorFiles& files,
                                                       std::shared_ptr<const JsonDocument> document,
                                                       const AddVariables& add_variables) {
  std::vector<std::unique_ptr<Input>> inputs;
  inputs.push_back(InputReader(library, sites, states, files).read_session(std::move(document), add_variables));
  set_real_descriptors(inputs);
  set_offered(inputs);
  return inputs;
}

}  // namespace eclipse_lint
