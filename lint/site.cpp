// A p2 repository has its metadata in one of a few files at its top: content.xml, the same inside content.jar or compressed as
// content.xml.xz, or compositeContent.xml (or .jar), which names other repositories in whose place it stands.
#include "lint/site.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>
#include <string_view>

#include "lint/archive.h"

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

constexpr std::array<std::string_view, 5> metadata_names = {"content.xml", "content.jar", "content.xml.xz",
                                                            "compositeContent.xml", "compositeContent.jar"};
constexpr int deepest_composite = 8;

bool is_metadata_name(std::string_view name) {
  return std::find(metadata_names.begin(), metadata_names.end(), name) != metadata_names.end();
}

/// The files at the top of a site, wherever they are kept.
class SiteFiles {
 public:
  explicit SiteFiles(const fs::path& path)
      : path_(path), archive_(fs::is_directory(path) ? std::nullopt : Archive::open(path)) {}

  std::optional<std::string> read(const std::string& name) const {
    if (archive_) return archive_->read(name);
    std::ifstream file(path_ / name, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream content;
    content << file.rdbuf();
    return std::move(content).str();
  }

  bool has_metadata() const {
    return std::any_of(metadata_names.begin(), metadata_names.end(),
                       [&](std::string_view name) { return has(std::string(name)); });
  }

  /// A folder inside that has metadata, with a "/" at its end; empty when there is none.
  std::string nested_metadata() const {
    for (const std::string& name : names()) {
      const std::size_t slash = name.rfind('/');
      if (slash != std::string::npos && is_metadata_name(std::string_view(name).substr(slash + 1)))
        return name.substr(0, slash + 1);
    }
    return "";
  }

 private:
  bool has(const std::string& name) const {
    if (!archive_) {
      std::error_code error;
      return fs::is_regular_file(path_ / name, error);
    }
    const auto all = archive_->names();
    return std::find(all.begin(), all.end(), name) != all.end();
  }

  /// All of an archive, but of a directory only what lies directly in its folders, since it may be a large one.
  std::vector<std::string> names() const {
    if (archive_) return archive_->names();
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& folder : fs::directory_iterator(path_, error)) {
      if (!folder.is_directory(error)) continue;
      for (const std::string_view name : metadata_names) {
        if (fs::is_regular_file(folder.path() / name, error)) names.push_back((folder.path().filename() / name).string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path path_;
  std::optional<Archive> archive_;
};

/// NAME.xml, or else the one inside NAME.jar.
std::optional<std::string> metadata(const SiteFiles& files, const std::string& name) {
  if (auto jar = files.read(name + ".jar")) {
    const auto archive = Archive::open_content(*std::move(jar));
    return archive ? archive->read(name + ".xml") : std::nullopt;
  }
  return files.read(name + ".xml");
}

std::optional<Units> units_at(const fs::path& path, int depth);

/// Nothing unless all of its children can be read.
std::optional<Units> units_of_composite(const pugi::xml_document& composite, const fs::path& path, int depth) {
  Units units;
  for (const pugi::xml_node child : composite.child("repository").child("children").children("child")) {
    std::string location = child.attribute("location").value();
    if (location.starts_with("file:")) location.erase(0, location.starts_with("file://") ? 7 : 5);
    if (location.find(':') != std::string::npos) return std::nullopt;
    const auto more = units_at((path / location).lexically_normal(), depth + 1);
    if (!more) return std::nullopt;
    for (const auto& [id, versions] : *more) units[id].insert(versions.begin(), versions.end());
  }
  return units;
}

std::optional<Units> units_at(const fs::path& path, int depth) {
  const SiteFiles files(path);
  pugi::xml_document document;
  if (const auto content = metadata(files, "content")) {
    if (!document.load_buffer(content->data(), content->size())) return std::nullopt;
    Units units;
    for (const pugi::xml_node unit : document.child("repository").child("units").children("unit")) {
      units[unit.attribute("id").value()].insert(unit.attribute("version").value());
    }
    return units;
  }
  const auto composite = depth < deepest_composite ? metadata(files, "compositeContent") : std::nullopt;
  if (!composite || !document.load_buffer(composite->data(), composite->size())) return std::nullopt;
  return units_of_composite(document, path, depth);
}

Site look_into(const fs::path& path) {
  Site site;
  std::error_code error;
  site.exists = fs::exists(path, error);
  if (!site.exists) return site;
  site.is_directory = fs::is_directory(path, error);
  const SiteFiles files(path);
  site.is_repository = files.has_metadata();
  if (site.is_repository) {
    site.units = units_at(path, 0);
  } else {
    site.nested = files.nested_metadata();
  }
  return site;
}

/// Profiles are called by the time at which they were written.
fs::path newest_profile(const fs::path& instance) {
  fs::path newest;
  std::error_code error;
  for (const auto& profile : fs::directory_iterator(instance / "p2/org.eclipse.equinox.p2.engine/profileRegistry", error)) {
    for (const auto& file : fs::directory_iterator(profile.path(), error)) {
      const std::string name = file.path().filename().string();
      if (name.ends_with(".profile") || name.ends_with(".profile.gz")) newest = std::max(newest, file.path());
    }
  }
  return newest;
}

/// The content of a file, decompressed when it is compressed.
std::string decompressed(const fs::path& file) {
  std::string content;
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> stream(gzopen(file.c_str(), "rb"), &gzclose);
  if (!stream) return content;
  std::array<char, 65536> piece;
  for (int count; (count = gzread(stream.get(), piece.data(), static_cast<unsigned>(piece.size()))) > 0;) {
    content.append(piece.data(), static_cast<std::size_t>(count));
  }
  return content;
}

}  // namespace

const Site& Sites::at(const fs::path& path) {
  const auto known = sites_.find(path);
  return known != sites_.end() ? known->second : sites_.emplace(path, look_into(path)).first->second;
}

std::optional<std::set<std::string>> installed_units(const fs::path& instance) {
  const fs::path profile = newest_profile(instance);
  if (profile.empty()) return std::nullopt;
  const std::string content = decompressed(profile);
  pugi::xml_document document;
  if (!document.load_buffer(content.data(), content.size())) return std::nullopt;
  std::set<std::string> units;
  for (const pugi::xml_node unit : document.child("profile").child("units").children("unit")) {
    units.insert(unit.attribute("id").value());
  }
  return units;
}

}  // namespace eclipse_lint
