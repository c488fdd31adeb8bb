#include "language_server/completion.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <system_error>

#include "dry_run/command_pieces.h"
#include "dry_run/component_directories.h"
#include "language_server/hover.h"
#include "p2/installation.h"
#include "p2/repositories_below.h"
#include "p2/repository.h"
#include "p2/unit.h"

using namespace eclipse_dry_run;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_language_server {

namespace {

// As the protocol numbers the kinds of items.
constexpr int kind_of_feature = 9;  ///< a module
constexpr int kind_of_archive = 17;
constexpr int kind_of_directory = 19;

struct Cell {
  std::size_t column;
  std::size_t start;  ///< in bytes
  std::size_t end;
};

Cell cell_at(std::string_view line, std::size_t offset) {
  const std::size_t tab = offset == 0 ? line.npos : line.rfind('\t', offset - 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return {column_at(line, std::min(offset, line.size())), tab == line.npos ? 0 : tab + 1,
          std::min(line.find('\t', offset), line.size())};
}

Json item(const std::string& text, int kind, const std::string& detail, const Json& range) {
  return {{"label", text},
          {"kind", kind},
          {"detail", detail},
          {"filterText", text},
          {"textEdit", {{"range", range}, {"newText", text}}}};
}

Json items_for_sites(const fs::path& component, const Json& range) {
  Json items = Json::array();
  for (const fs::path& site : repositories_below(component)) {
    std::error_code error;
    const bool is_directory = fs::is_directory(site, error);
    items.push_back(item(site.lexically_relative(component).string(), is_directory ? kind_of_directory : kind_of_archive,
                         is_directory ? "p2 repository" : "p2 repository in an archive", range));
  }
  return items;
}

/// Where the plug-in looks for the repository that column 1 names; empty when it ignores the line.
std::string path_of_site(const PluginFunctions& library, const fs::path& component, const std::string& column) {
  const auto placements = library.placements({plugin_config{column, "feature", "", "0", component.string()}});
  return placements.at(0) ? path_for_director(placements[0]->url) : "";
}

Json items_for_features(const std::string& site, const Json& range) {
  if (site.empty()) return Json::array();
  Repositories repositories;
  const auto& descriptions = repositories.at(site).descriptions;
  UnitVersions features;
  for (const auto& [unit, description] : descriptions) {
    if (is_feature(unit, description)) features[unit.id].insert(unit.version);
  }
  Json items = Json::array();
  for (const auto& [id, versions] : features) {
    const std::string version = *highest_offered({id, ""}, features);
    std::string detail = descriptions.at({id, version}).label;
    if (!detail.empty()) detail += " ";
    items.push_back(item(id, kind_of_feature, detail + version, range));
  }
  return items;
}

}  // namespace

Json completion_items(const Linter& linter, const std::vector<const Document*>& open, const Document& document,
                      const Position& position, PositionEncoding encoding) {
  if (!document.is_descriptor() || !document.is_in_descriptor_directory()) return Json::array();
  const std::size_t offset = document.offset_of(position, encoding);
  const auto [start, line] = document.line_at(offset);
  const Cell cell = cell_at(line, offset - start);
  if (cell.column > 1) return Json::array();
  DescriptorFiles files = files_as_open(open);
  const auto components = component_directories(linter.library, files, document.file()->parent_path());
  if (components.empty()) return Json::array();
  const Json range = as_json(document.range_between(start + cell.start, start + cell.end, encoding));
  if (cell.column == 0) return items_for_sites(components.front().path, range);
  const std::string site(line.substr(0, line.find('\t')));
  return items_for_features(path_of_site(linter.library, components.front().path, site), range);
}

}  // namespace eclipse_language_server
