#include "lint/product.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include "base/file_error.h"
#include "base/files_below.h"
#include "base/json_document.h"
#include "lint/component_folders.h"
#include "lint/texts.h"
#include "standalone_host/session_file.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_dry_run;

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

/// A path as a person reads it best: relative where it lies below the working folder, if that is still there.
std::string shown(const std::string& file) {
  std::error_code error;
  const fs::path relative = fs::path(file).lexically_relative(fs::current_path(error));
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

  std::unique_ptr<Product> read_component(const ComponentFolder& folder, const std::string& searched) {
    product_->has_components = true;
    auto& catalogue = *product_->catalogue.emplace_back(std::make_unique<CatalogueComponent>());
    catalogue.code = folder.path.filename().string();
    catalogue.installBase = folder.path.parent_path().string();
    catalogue.installDir = folder.path.filename().string();
    catalogue.package.emplace().prefix = folder.path.string();
    Component& component = add_component(catalogue, {searched});
    for (const FoundFile& file : folder.files) add_listed(component, file.listed, {file.shown});
    for (const ListedFile& file : component.files) add_descriptor_of(component, file, file.place.file);
    return finish();
  }

  std::unique_ptr<Product> read_session(const fs::path& file) {
    product_->has_components = true;
    auto session = std::make_unique<Session>();
    read_session_file(file, *session);
    JsonPlaces places(file.string(), content_of(file).value_or(""));
    SessionFacts& facts = product_->session.emplace(SessionFacts{std::move(places), std::move(session), {}, {}, {}, {}});
    read_session_places(JsonDocument(file).root());
    read_unlisted();
    facts.executables = library_.executables(*facts.session);
    const auto variables = facts.session->variables;
    facts.run = library_.rehearse(*facts.session);
    facts.session->variables = variables;
    return finish();
  }

 private:
  void read_session_places(const JsonElement& root) {
    SessionFacts& facts = *product_->session;
    facts.mode = place_of(root.get("mode"));
    if (const auto variables = root.find("variables")) {
      for (const JsonElement& variable : variables->members()) facts.variables[variable.key()] = place_of(variable);
    }
    const auto elements = root.get("components").items();
    for (std::size_t i = 0; i < elements.size(); ++i) read_session_component(*facts.session->components.at(i), elements[i]);
  }

  void read_session_component(CatalogueComponent& catalogue, const JsonElement& element) {
    Component& component = add_component(catalogue, place_of(element.get("code")));
    if (const auto capabilities = element.find("capabilities")) {
      for (const JsonElement& capability : capabilities->items()) {
        component.capabilities.push_back(capability.text());
        component.capability_places.push_back(place_of(capability));
      }
    }
    const auto package = element.find("package");
    if (!package) return;
    const auto files = package->find("files");
    const auto elements = files ? files->items() : std::vector<JsonElement>();
    component.list_place = place_of(files ? *files : package->get("scan"));
    for (std::size_t i = 0; i < catalogue.package->files.size(); ++i) {
      add_listed(component, catalogue.package->files[i], files ? place_of(elements[i]) : component.list_place);
    }
    for (const ListedFile& file : component.files) {
      if (file.descriptor) add_descriptor_of(component, file, shown(file.descriptor->path));
    }
  }

  /// A file that one component does not list may be another one's, or listed with a blank behind it.
  void read_unlisted() {
    std::set<std::string> known;
    for (const Component& component : product_->components) {
      for (const ListedFile& file : component.files) {
        if (file.descriptor) known.emplace(without_blanks(file.descriptor->path));
      }
    }
    for (const Component& component : product_->components) {
      if (component.catalogue->installBase.empty() || !component.catalogue->package) continue;
      std::error_code error;
      for (const std::string& name : files_below(component.folder, fs::directory_options::skip_permission_denied, error)) {
        auto file = library_.descriptor(*component.catalogue, name);
        if (file && known.insert(file->path).second) product_->unlisted.push_back({&component, *std::move(file)});
      }
    }
  }

  Place place_of(const JsonElement& element) const { return product_->session->places.place(element.offset()); }

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
    return std::move(product_);
  }

  const Library& library_;
  Sites& sites_;
  std::unique_ptr<Product> product_;
  std::vector<std::size_t> config_of_record_;
};

/// Nothing unless each of their sites can be read.
std::shared_ptr<const Units> offered_to(const std::vector<std::unique_ptr<Product>>& products) {
  std::set<const Site*> sites;
  for (const auto& product : products) {
    for (const Record& record : product->records) {
      if (record.site == nullptr || !sites.insert(record.site).second) continue;
      if (!record.site->is_repository || !record.site->units) return nullptr;
    }
  }
  // The sites outlive the products, so what a single one offers need not be copied.
  if (sites.size() == 1) return {std::shared_ptr<const Units>(), &*(*sites.begin())->units};
  const auto units = std::make_shared<Units>();
  for (const Site* const site : sites) {
    for (const auto& [id, versions] : *site->units) (*units)[id].insert(versions.begin(), versions.end());
  }
  return units;
}

std::vector<std::unique_ptr<Product>> read_folder(const Library& library, Sites& sites, const fs::path& folder) {
  std::vector<std::unique_ptr<Product>> products;
  for (const ComponentFolder& component : component_folders(library, folder)) {
    products.push_back(ProductReader(library, sites).read_component(component, folder.string()));
  }
  return products;
}

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

std::string SessionFacts::executable() const {
  const std::string choice = variable("ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "user") return variable("USER_DEFINED_ECLIPSE_PATH");
  return choice == "internal" && !executables.empty() ? executables.back() : "";
}

const Place& SessionFacts::place_of(const std::string& variable) const {
  const auto found = variables.find(variable);
  return found == variables.end() ? mode : found->second;
}

std::vector<std::unique_ptr<Product>> read_products(const Library& library, Sites& sites, const fs::path& input) {
  std::error_code error;
  const auto status = fs::status(input, error);
  const bool is_readable = fs::is_directory(status) || fs::is_regular_file(status);
  if (fs::exists(status) ? !is_readable : input.extension() != ".json") {
    throw FileFault(input.string() + ": " + (fs::exists(status) ? "is no file" : "is not there") +
                    "; give a descriptor file, a folder of components or a session file (.json)");
  }
  std::vector<std::unique_ptr<Product>> products;
  if (fs::is_directory(status)) {
    products = read_folder(library, sites, input);
  } else if (input.extension() == ".json") {
    products.push_back(ProductReader(library, sites).read_session(input));
  } else {
    products.push_back(ProductReader(library, sites).read_descriptor(input));
    return products;
  }
  const auto offered = offered_to(products);
  for (const auto& product : products) product->offered = offered;
  return products;
}

}  // namespace eclipse_lint
