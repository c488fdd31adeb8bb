#include "lint/product.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include "host/file_fault.h"
#include "host/json_document.h"
#include "host/session_file.h"

namespace fs = std::filesystem;
using namespace eclipse_host;

namespace eclipse_lint {

namespace {

std::optional<std::string> content_of(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::ostringstream content;
  content << stream.rdbuf();
  return std::move(content).str();
}

/// A path as a person reads it best: relative where it lies below the working folder.
std::string shown(const std::string& file) {
  const fs::path relative = fs::path(file).lexically_relative(fs::current_path());
  return relative.empty() || *relative.begin() == ".." ? file : relative.string();
}

bool is_text(std::string_view content) {
  if (content.find('\0') != content.npos || content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF")) return false;
  const std::size_t carriage_return = content.find('\r');
  const bool ends_lines = carriage_return != content.npos && carriage_return + 1 < content.size();
  return !ends_lines || content.find('\n') != content.npos;
}

void cut_lines(const Library& library, Descriptor& descriptor) {
  const std::string_view content = descriptor.content;
  for (std::size_t start = 0; start <= content.size();) {
    const std::size_t end = std::min(content.find('\n', start), content.size());
    Line& line = descriptor.lines.emplace_back();
    line.number = descriptor.lines.size();
    line.text = content.substr(start, end - start);
    std::size_t column = 0;
    for (const std::string& text : library.columns(std::string(line.text))) {
      line.columns.push_back(line.text.substr(column, text.size()));
      column += text.size() + 1;
    }
    start = end + 1;
  }
}

/// The regular files below a folder, relative to it, in the order of their names.
std::vector<std::string> files_below(const fs::path& folder) {
  std::vector<std::string> names;
  try {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file()) names.push_back(entry.path().lexically_relative(folder).string());
    }
  } catch (const fs::filesystem_error& error) {
    throw FileFault(folder.string() + ": cannot be searched: " + error.code().message() +
                    "; make it and the folders in it readable");
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// The path of a site in the form in which the director gets it.
std::string path_in(std::string_view url) {
  constexpr std::string_view archive_begin = "\"jar:";
  constexpr std::string_view archive_end = "!/\"";
  if (url.starts_with(archive_begin)) {
    url = url.substr(archive_begin.size(), url.size() - archive_begin.size() - archive_end.size());
  }
  return std::string(url.substr(std::string_view("file://").size()));
}

class ProductReader {
 public:
  ProductReader(const Library& library, Sites& sites)
      : library_(library), sites_(sites), product_(std::make_unique<Product>()) {
    product_->library = &library;
  }

  std::unique_ptr<Product> read_descriptor(const fs::path& file) {
    const std::string folder = file.has_parent_path() ? file.parent_path().string() : ".";
    add_descriptor(nullptr, file.string(), {folder, file.filename().string(), file.string(), true});
    return finish();
  }

  std::unique_ptr<Product> read_folder(const fs::path& folder) {
    product_->has_components = true;
    const fs::path absolute = fs::canonical(folder);
    auto& catalogue = *product_->catalogue.emplace_back(std::make_unique<CatalogueComponent>());
    catalogue.code = absolute.filename().string();
    catalogue.installBase = absolute.parent_path().string();
    catalogue.installDir = absolute.filename().string();
    catalogue.package.emplace().prefix = absolute.string();
    Component& component = add_component(catalogue, {folder.string()});
    const std::vector<std::string> names = files_below(folder);
    for (const std::string& name : names) add_listed(component, name, {(folder / name).string()});
    for (const ListedFile& file : component.files) add_descriptor_of(component, file, file.place.file);
    return finish();
  }

  std::unique_ptr<Product> read_session(const fs::path& file) {
    product_->has_components = true;
    SessionFacts& facts = product_->session.emplace();
    facts.file = file.string();
    facts.session = std::make_unique<Session>();
    read_session_file(file, *facts.session);
    const JsonDocument document(file);
    const std::string text = content_of(file).value_or("");
    read_session_places(document.root(), text);
    facts.executables = library_.executables(*facts.session);
    Session performed;
    read_session_file(file, performed);
    facts.run = library_.run(performed);
    return finish();
  }

 private:
  void read_session_places(const JsonElement& root, const std::string& text) {
    SessionFacts& facts = *product_->session;
    facts.mode = place_in_session(root.get("mode"), text);
    if (const auto variables = root.find("variables")) {
      for (const JsonElement& variable : variables->members()) {
        facts.variables[variable.key()] = place_in_session(variable, text);
      }
    }
    const auto elements = root.get("components").items();
    for (std::size_t i = 0; i < elements.size(); ++i)
      read_session_component(*facts.session->components.at(i), elements[i], text);
  }

  void read_session_component(CatalogueComponent& catalogue, const JsonElement& element, const std::string& text) {
    Component& component = add_component(catalogue, place_in_session(element.get("code"), text));
    if (const auto capabilities = element.find("capabilities")) {
      for (const JsonElement& capability : capabilities->items()) {
        component.capabilities.push_back(capability.text());
        component.capability_places.push_back(place_in_session(capability, text));
      }
    }
    const auto package = element.find("package");
    if (!package) return;
    const auto files = package->find("files");
    const auto elements = files ? files->items() : std::vector<JsonElement>();
    component.list_place = place_in_session(files ? *files : package->get("scan"), text);
    for (std::size_t i = 0; i < catalogue.package->files.size(); ++i) {
      const Place place = files ? place_in_session(elements[i], text) : component.list_place;
      add_listed(component, catalogue.package->files[i], place);
    }
    for (const ListedFile& file : component.files) {
      if (file.descriptor) add_descriptor_of(component, file, shown(file.descriptor->path));
    }
  }

  /// The place of a value, as far as it reaches in its first line.
  Place place_in_session(const JsonElement& element, const std::string& text) const {
    const std::size_t offset = element.offset();
    const std::size_t before = offset == 0 ? std::string::npos : text.rfind('\n', offset - 1);
    const std::size_t start = before == std::string::npos ? 0 : before + 1;
    const std::size_t end = std::min(text.find('\n', offset), text.size());
    std::size_t last = offset + 1;
    if (text[offset] == '"') {
      while (last < end && text[last] != '"') last += text[last] == '\\' ? 2U : 1U;
      last = std::min(last + 1, end);
    }
    Place place;
    place.file = product_->session->file;
    place.line =
        1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
    place.column = offset - start + 1;
    place.length = last - offset;
    place.text = text.substr(start, end - start);
    return place;
  }

  Component& add_component(CatalogueComponent& catalogue, Place place) {
    Component& component = product_->components.emplace_back();
    component.catalogue = &catalogue;
    component.list_place = place;
    component.place = std::move(place);
    component.folder = fs::path(catalogue.installBase + "/" + catalogue.installDir).lexically_normal().string();
    return component;
  }

  void add_listed(Component& component, const std::string& text, Place place) {
    component.files.push_back({text, std::move(place), library_.descriptor(*component.catalogue, text)});
  }

  void add_descriptor_of(const Component& component, const ListedFile& listed, const std::string& file) {
    if (listed.descriptor && listed.descriptor->exists) add_descriptor(&component, file, *listed.descriptor);
  }

  void add_descriptor(const Component* component, const std::string& shown_file, const DescriptorFile& file) {
    Descriptor& descriptor = product_->descriptors.emplace_back();
    descriptor.component = component;
    descriptor.file = shown_file;
    auto content = content_of(file.path);
    descriptor.is_readable = content.has_value();
    descriptor.content = std::move(content).value_or("");
    descriptor.is_text = descriptor.is_readable && is_text(descriptor.content);
    if (descriptor.is_text) cut_lines(library_, descriptor);
    add_records(descriptor, library_.records(file.directory, file.name));
  }

  /// Records come in the order of the lines, and a line that is dropped never has the columns of the next record: it lacks
  /// them, or it has a first column that no record has.
  void add_records(Descriptor& descriptor, std::vector<plugin_config> configs) {
    auto line = descriptor.lines.begin();
    for (plugin_config& config : configs) {
      const auto is_line_of = [&](const Line& each) {
        return each.columns.size() > 1 && each.columns[0] == config.repository && each.columns[1] == config.feature;
      };
      line = std::find_if(line, descriptor.lines.end(), is_line_of);
      if (line == descriptor.lines.end()) {
        if (descriptor.is_text)
          throw std::logic_error(descriptor.file + ": a record was read that stands in none of its lines");
        product_->configs.push_back(std::move(config));  // takes its slot all the same
        continue;
      }
      line->is_record = true;
      config_of_record_.push_back(product_->configs.size());
      product_->records.push_back({nullptr, &descriptor, &*line, std::nullopt});
      product_->configs.push_back(std::move(config));
      ++line;
    }
  }

  std::unique_ptr<Product> finish() {
    auto placements = library_.placements(product_->configs);
    for (std::size_t i = 0; i < product_->records.size(); ++i) {
      Record& record = product_->records[i];
      record.config = &product_->configs[config_of_record_[i]];
      record.placement = std::move(placements[config_of_record_[i]]);
      if (record.placement && product_->has_components) record.site = &sites_.at(path_in(record.placement->url));
    }
    if (product_->has_components) product_->offered = offered();
    return std::move(product_);
  }

  std::optional<Units> offered() const {
    Units units;
    std::set<const Site*> added;
    for (const Record& record : product_->records) {
      if (record.site == nullptr || !added.insert(record.site).second) continue;
      if (!record.site->is_repository || !record.site->units) return std::nullopt;
      for (const auto& [id, versions] : *record.site->units) units[id].insert(versions.begin(), versions.end());
    }
    return units;
  }

  const Library& library_;
  Sites& sites_;
  std::unique_ptr<Product> product_;
  std::vector<std::size_t> config_of_record_;
};

}  // namespace

Place Descriptor::place() const { return {file}; }

Place Descriptor::place(const Line& line) const { return {file, line.number, 1, line.text.size(), std::string(line.text)}; }

Place Descriptor::place(const Line& line, std::size_t column, std::size_t start, std::size_t length) const {
  std::size_t offset = 0;
  for (std::size_t i = 0; i < column; ++i) offset += line.columns.at(i).size() + 1;
  const std::size_t width = column < line.columns.size() ? line.columns[column].size() : 0;
  return {file, line.number, offset + start + 1, std::min(length, width - std::min(start, width)), std::string(line.text)};
}

std::string_view Record::cell(std::size_t column) const {
  if (column >= line->columns.size()) return "";
  std::string_view text = line->columns[column];
  if (column + 1 == line->columns.size() && text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

Place Record::place(std::size_t column) const { return descriptor->place(*line, column, 0, cell(column).size()); }

std::string Record::where() const { return descriptor->file + ":" + std::to_string(line->number); }

bool Component::has_descriptors() const {
  return std::any_of(files.begin(), files.end(), [](const ListedFile& file) { return file.descriptor.has_value(); });
}

const Place& SessionFacts::place_of(const std::string& variable) const {
  const auto found = variables.find(variable);
  return found == variables.end() ? mode : found->second;
}

std::unique_ptr<Product> read_product(const Library& library, Sites& sites, const fs::path& input) {
  std::error_code error;
  const auto status = fs::status(input, error);
  ProductReader reader(library, sites);
  if (fs::is_directory(status)) return reader.read_folder(input);
  if (input.extension() == ".json") return reader.read_session(input);
  if (fs::is_regular_file(status)) return reader.read_descriptor(input);
  throw FileFault(input.string() + ": " + (fs::exists(status) ? "is no file" : "is not there") +
                  "; give a descriptor file, the folder of a component or a session file (.json)");
}

}  // namespace eclipse_lint
