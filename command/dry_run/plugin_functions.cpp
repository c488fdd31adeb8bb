#include "dry_run/plugin_functions.h"

#include <dlfcn.h>

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <typeinfo>
#include <utility>

#include "base/file.h"
#include "base/memory_file.h"
#include "dry_run/descriptor_files.h"
#include "dry_run/log_lines.h"

using namespace eclipse_host;

namespace eclipse_dry_run {

namespace {

/// The mangled name of a function. The name of a function type has the same code for the parameters, as "Fv" PARAMETERS "E". A
/// returned text appears in the name only as `tag`.
template <typename Result, typename... Arguments>
std::string exported_name(std::string_view name, std::string_view tag, Result (*)(Arguments...)) {
  const std::string type = typeid(void(Arguments...)).name();
  return "_Z" + std::to_string(name.size()) + std::string(name) + std::string(tag) + type.substr(2, type.size() - 3);
}

class Exports {
 public:
  explicit Exports(const std::filesystem::path& library) : library_(library) {
    handle_ = dlopen(std::filesystem::absolute(library).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (handle_ == nullptr) throw PluginError(library, "is not loaded; give the path of the plug-in");
  }

  template <typename Function>
  void find(std::string_view name, Function& function, std::string_view tag = "") const {
    const std::string exported = exported_name(name, tag, Function());
    void* const symbol = dlsym(handle_, exported.c_str());
    if (symbol == nullptr) throw PluginError::lacks(library_, "function", name);
    function = reinterpret_cast<Function>(symbol);
  }

 private:
  std::filesystem::path library_;
  void* handle_;
};

std::size_t number_in(const std::string& text) {
  std::size_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

struct Taken {
  std::string url;
  std::size_t feature;
};

struct Ordered {
  std::int64_t slot;
  std::size_t feature;
};

/// What the log reports of records whose features are numbers.
struct ListLog {
  std::vector<Taken> taken;
  std::vector<Ordered> ordered;

  void add(std::string_view line) {
    if (auto record = log_lines::taken_record(line)) {
      taken.push_back({std::move(record->url), number_in(record->feature)});
    } else if (const auto placed = log_lines::placed_feature(line)) {
      ordered.push_back({placed->slot, number_in(placed->feature)});
    }
  }

  /// Appends the numbers of another run as lower digits.
  void add_digit(const ListLog& lower, std::size_t base) {
    for (std::size_t i = 0; i < taken.size(); ++i) taken[i].feature = taken[i].feature * base + lower.taken.at(i).feature;
    for (std::size_t i = 0; i < ordered.size(); ++i) {
      ordered[i].feature = ordered[i].feature * base + lower.ordered.at(i).feature;
    }
  }
};

ListLog list_log(decltype(&::populate_lists) populate, const std::vector<plugin_config>& records) {
  ListLog log;
  Session session;
  session.on_log = [&log](const std::string& line) { log.add(line); };
  const ActiveSession active(session);
  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  populate(records, repositories, extras, features);
  return log;
}

}  // namespace

void check_descriptor_size(const std::filesystem::path& file) {
  const eclipse_base::FileContent content = descriptor_content(file.string());
  if (content.exceeds_limit) throw eclipse_base::FileError(file, content.error + "; keep only records in a descriptor file");
}

PluginFunctions::PluginFunctions(const Plugin& plugin) : plugin_(plugin) {
  const Exports exports(plugin.library());
  exports.find("split_by_tabs", split_by_tabs_ = nullptr);
  exports.find("process_file", process_file_ = nullptr);
  exports.find("get_integration_files", get_integration_files_ = nullptr, "B5cxx11");
  exports.find("populate_lists", populate_lists_ = nullptr);
  exports.find("get_ide_components", get_ide_components_ = nullptr);
  exports.find("find_eclipse_executable", find_eclipse_executable_ = nullptr);
}

std::vector<std::string> PluginFunctions::columns(const std::string& line) const { return split_by_tabs_(line); }

std::vector<plugin_config> PluginFunctions::records(const std::string& directory, std::string_view content) const {
  Session session;
  const ActiveSession active(session);
  const eclipse_base::MemoryFile file(content);
  std::vector<plugin_config> records;
  process_file_({file.directory, file.name()}, records);
  for (plugin_config& record : records) record.base_dir = directory;
  return records;
}

std::optional<DescriptorFile> PluginFunctions::descriptor(const CatalogueComponent& component,
                                                          const std::string& listed) const {
  CatalogueComponent lister;
  lister.code = "any";
  lister.installBase = component.installBase;
  lister.installDir = component.installDir;
  lister.package.emplace().files = {listed};
  Session session;
  const ActiveSession active(session);
  const auto files = get_integration_files_({&lister}, Integrate, false);
  if (files.empty()) return std::nullopt;
  const auto& [directory, name] = files.front();
  const std::string file = ::path(directory + "/" + name);
  return DescriptorFile{directory, name, file, ::is_file(file)};
}

/// The lists are built for the records with their numbers in the place of the features, so that the log shows which slot each
/// record got. The plug-in searches all features before a new one; to keep these few, the numbers of many records are written
/// with two digits in a large base, and there is one run for each digit.
std::vector<std::optional<Placement>> PluginFunctions::placements(const std::vector<plugin_config>& records) const {
  constexpr std::size_t few = 500;
  const std::size_t base =
      records.size() <= few ? 1 : 1 + static_cast<std::size_t>(std::sqrt(static_cast<double>(records.size())));
  std::vector<plugin_config> numbered = records;
  for (std::size_t i = 0; i < records.size(); ++i) numbered[i].feature = std::to_string(i / base);
  ListLog numbers = list_log(populate_lists_, numbered);
  if (base > 1) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      numbered[i].feature = std::to_string(i % base);
      if (!numbered[i].repository.empty()) numbered[i].repository = "known";
      numbered[i].base_dir.clear();
    }
    numbers.add_digit(list_log(populate_lists_, numbered), base);
  }
  std::vector<std::optional<Placement>> placements(records.size());
  for (Taken& taken : numbers.taken) placements.at(taken.feature) = Placement{std::move(taken.url), 0};
  for (const Ordered& ordered : numbers.ordered) placements.at(ordered.feature).value().slot = ordered.slot;
  return placements;
}

std::int64_t PluginFunctions::order(const std::string& text) const {
  return list_log(populate_lists_, {{"any", "0", "", text, ""}}).ordered.at(0).slot;
}

bool PluginFunctions::asks_for_integration(const std::vector<std::string>& capabilities) const {
  Session session;
  CatalogueComponent component;
  component.code = "any";
  for (const std::string& name : capabilities) session.capabilities->emplace(name, &component);
  const ActiveSession active(session);
  plugin_.call("eclipse_integration_required", session);
  return session.variable("ECLIPSE_INTEGRATION_REQUIRED") == "yes";
}

bool PluginFunctions::marks_ide(const std::string& capability) const {
  Session session;
  CatalogueComponent component;
  component.code = "any";
  session.capabilities->emplace(capability, &component);
  const ActiveSession active(session);
  return !get_ide_components_(&session).empty();
}

/// Without the path of an instance the version stays as it is set.
bool PluginFunctions::supports_version(const std::string& version, const std::string& minimum) const {
  Session session;
  session.variables = {{"ECLIPSE_VERSION", version}, {"ECLIPSE_MIN_SUPPORTED_VERSION", minimum}};
  const ActiveSession active(session);
  plugin_.call("verify_eclipse_version", session);
  return session.variable("ECLIPSE_VERSION_IS_SUPPORTED") != "no";
}

std::vector<std::string> PluginFunctions::executables(Session& session) const {
  std::vector<std::string> executables;
  session.on_log = [&](const std::string& line) {
    if (auto executable = log_lines::found_executable(line)) executables.push_back(*std::move(executable));
  };
  {
    const ActiveSession active(session);
    find_eclipse_executable_(session.variable("ECLIPSE_BIN"), get_ide_components_(&session));
  }
  session.on_log = [](const std::string&) {};
  return executables;
}

}  // namespace eclipse_dry_run
