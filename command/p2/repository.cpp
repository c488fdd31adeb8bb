// A p2 repository has its metadata in one of a few files at its top: content.xml, the same inside content.jar or compressed as
// content.xml.xz, or compositeContent.xml (or .jar), which names other repositories in whose place it stands. The files that
// its units consist of are listed likewise, in artifacts.xml or compositeArtifacts.xml.
#include "p2/repository.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>
#include <string_view>

#include "base/archive.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

constexpr std::array<std::string_view, 5> metadata_names = {"content.xml", "content.jar", "content.xml.xz",
                                                            "compositeContent.xml", "compositeContent.jar"};
constexpr std::array<std::string_view, 5> artifact_list_names = {"artifacts.xml", "artifacts.jar", "artifacts.xml.xz",
                                                                 "compositeArtifacts.xml", "compositeArtifacts.jar"};

bool is_metadata_name(std::string_view name) {
  return std::find(metadata_names.begin(), metadata_names.end(), name) != metadata_names.end();
}

bool is_file(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

/// True when something is there that may not be read.
bool is_unreadable(const fs::path& path) {
  std::error_code error;
  const auto status = fs::status(path, error);
  if (!fs::exists(status)) return error == std::errc::permission_denied;
  const int rights = fs::is_directory(status) ? R_OK | X_OK : R_OK;
  return faccessat(AT_FDCWD, path.c_str(), rights, AT_EACCESS) != 0;
}

/// The files at the top of a site, wherever they are kept.
class SiteFiles {
 public:
  explicit SiteFiles(const fs::path& path) : path_(path), archive_(is_file(path) ? Archive::open(path) : std::nullopt) {}

  bool are_in_archive() const { return archive_.has_value(); }

  /// A pipe would never end.
  bool has(const std::string& name) const { return archive_ ? archive_->has(name) : is_file(path_ / name); }

  std::optional<std::string> read(const std::string& name) const {
    if (archive_) return archive_->read(name);
    if (!has(name)) return std::nullopt;
    std::ifstream file(path_ / name, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream content;
    content << file.rdbuf();
    return std::move(content).str();
  }

  bool has_any(const std::array<std::string_view, 5>& names) const {
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) { return has(std::string(name)); });
  }

  bool is_unreadable(const std::string& name) const { return !archive_ && eclipse_p2::is_unreadable(path_ / name); }

  /// A directory inside that has metadata, with a "/" at its end; empty when there is none.
  std::string nested_metadata() const {
    for (const std::string& name : names()) {
      const std::size_t slash = name.rfind('/');
      if (slash != std::string::npos && is_metadata_name(std::string_view(name).substr(slash + 1)))
        return name.substr(0, slash + 1);
    }
    return "";
  }

 private:
  /// All of an archive, but of a directory only what lies directly in its directories, since it may be a large one.
  std::vector<std::string> names() const {
    if (archive_) return archive_->names();
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& directory : fs::directory_iterator(path_, error)) {
      if (!directory.is_directory(error)) continue;
      for (const std::string_view name : metadata_names) {
        if (is_file(directory.path() / name)) names.push_back((directory.path().filename() / name).string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path path_;
  std::optional<Archive> archive_;
};

/// What a file of metadata says, or why it says nothing. Without either it cannot be read here, but perhaps elsewhere.
struct Metadata {
  std::optional<pugi::xml_document> document;
  std::string error;
  bool is_unreadable = false;
};

Metadata parsed(const std::string& content, const std::string& name) {
  Metadata metadata;
  pugi::xml_document document;
  if (!document.load_buffer(content.data(), content.size())) {
    metadata.error = name + " is no XML";
  } else if (!document.child("repository")) {
    metadata.error = name + " describes no repository";
  } else {
    metadata.document = std::move(document);
  }
  return metadata;
}

/// NAME.xml in NAME.jar, which is preferred to the plain one, whether it can be read or not.
Metadata packed_metadata(const SiteFiles& files, const std::string& name) {
  const std::string jar = name + ".jar";
  const std::string entry = name + ".xml";
  auto content = files.read(jar);
  if (!content) return {};
  const auto archive = Archive::open_content(*std::move(content));
  if (!archive) return {std::nullopt, jar + " is no archive"};
  if (!archive->has(entry)) return {std::nullopt, jar + " holds no " + entry};
  if (archive->is_too_large(entry)) return {};
  const auto document = archive->read(entry);
  return document ? parsed(*document, entry + " in " + jar) : Metadata{std::nullopt, entry + " in " + jar + " is damaged"};
}

Metadata read_metadata(const SiteFiles& files, const std::string& name) {
  for (const std::string& file : {name + ".jar", name + ".xml"}) {
    if (files.has(file) && files.is_unreadable(file)) return {std::nullopt, file + " cannot be read", true};
    if (files.has(file)) break;
  }
  if (files.has(name + ".jar")) return packed_metadata(files, name);
  const auto content = files.read(name + ".xml");
  return content ? parsed(*content, name + ".xml") : Metadata();
}

/// Where a child of a composite lies; nothing when that is not on this disk, or is written in a way that is not understood
/// here.
std::optional<fs::path> place_of_child(std::string location, const fs::path& composite) {
  if (location.starts_with("file:")) location.erase(0, location.starts_with("file://") ? 7 : 5);
  if (location.find_first_of(":%") != std::string::npos) return std::nullopt;
  return (composite / location).lexically_normal();
}

/// Lost children are passed over. What is offered is known only when all others can be read.
void look_into_children(const pugi::xml_document& composite, const fs::path& path, Repositories& repositories,
                        Repository& site) {
  UnitVersions units;
  bool is_known = true;
  for (const pugi::xml_node node : composite.child("repository").child("children").children("child")) {
    const std::string location = node.attribute("location").value();
    const auto place = place_of_child(location, path);
    if (!place) {
      is_known = false;
      continue;
    }
    const Repository& child = repositories.at(*place);
    if (!child.is_repository || !child.error.empty()) {
      site.missing_children.push_back(location);
    } else if (child.units) {
      for (const auto& [id, versions] : *child.units) units[id].insert(versions.begin(), versions.end());
      site.needed_artifacts.insert(child.needed_artifacts.begin(), child.needed_artifacts.end());
    } else {
      is_known = false;
    }
  }
  if (is_known) site.units = std::move(units);
}

std::string name_of_artifact(const pugi::xml_node& artifact) {
  return std::string(artifact.attribute("classifier").value()) + "," + artifact.attribute("id").value() + "," +
         artifact.attribute("version").value();
}

void read_units(const pugi::xml_document& content, Repository& site) {
  UnitVersions& units = site.units.emplace();
  for (const pugi::xml_node unit : content.child("repository").child("units").children("unit")) {
    units[unit.attribute("id").value()].insert(unit.attribute("version").value());
    for (const pugi::xml_node artifact : unit.child("artifacts").children("artifact")) {
      site.needed_artifacts.insert(name_of_artifact(artifact));
    }
  }
}

/// The rule by which the files of most repositories are called, with the directory that it puts those of a classifier into.
bool maps_to(const pugi::xml_node& repository, const std::string& classifier, const std::string& directory) {
  const std::string filter = "(& (classifier=" + classifier + "))";
  const std::string output = "${repoUrl}/" + directory + "/${id}_${version}.jar";
  for (const pugi::xml_node rule : repository.child("mappings").children("rule")) {
    if (rule.attribute("filter").value() == filter) return rule.attribute("output").value() == output;
  }
  return false;
}

/// Features and bundles, by their classifiers, with the directories of their files.
std::map<std::string, std::string> mapped_directories(const pugi::xml_node& repository) {
  std::map<std::string, std::string> directories;
  for (const auto& [classifier, directory] :
       {std::pair("org.eclipse.update.feature", "features"), std::pair("osgi.bundle", "plugins")}) {
    if (maps_to(repository, classifier, directory)) directories.emplace(classifier, directory);
  }
  return directories;
}

/// Whether an artifact is kept in another form than as a jar file of its own, or elsewhere.
bool is_kept_otherwise(const pugi::xml_node& artifact) {
  if (artifact.child("processing") || artifact.child("repositoryProperties")) return true;
  return static_cast<bool>(artifact.child("properties").find_child_by_attribute("property", "name", "format"));
}

void read_artifacts(const SiteFiles& files, Repository& site) {
  site.lists_artifacts = files.has_any(artifact_list_names);
  if (!site.lists_artifacts) site.artifacts.emplace();
  if (files.has("artifacts.xml.xz") || !(files.has("artifacts.jar") || files.has("artifacts.xml"))) return;
  const Metadata list = read_metadata(files, "artifacts");
  if (site.error.empty()) {
    site.error = list.error;
    site.is_unreadable = list.is_unreadable;
  }
  if (!list.document) return;
  const pugi::xml_node repository = list.document->child("repository");
  const auto directories = mapped_directories(repository);
  site.artifacts.emplace();
  for (const pugi::xml_node artifact : repository.child("artifacts").children("artifact")) {
    const auto directory = directories.find(artifact.attribute("classifier").value());
    std::string file;
    if (directory != directories.end() && !is_kept_otherwise(artifact)) {
      file = directory->second + "/" + artifact.attribute("id").value() + "_" + artifact.attribute("version").value() + ".jar";
    }
    if (file.empty() || files.has(file)) {
      site.artifacts->insert(name_of_artifact(artifact));
    } else {
      site.missing_artifacts.emplace(name_of_artifact(artifact), std::move(file));
    }
  }
}

/// Nothing is said of what is compressed with xz: it is preferred where it can be read, which it cannot here.
void read_offer(const SiteFiles& files, const fs::path& path, Repositories& repositories, Repository& site) {
  if (files.has("content.jar") || files.has("content.xml")) {
    const Metadata content = read_metadata(files, "content");
    if (!files.has("content.xml.xz")) site.error = content.error;
    site.is_unreadable = content.is_unreadable;
    if (content.document) read_units(*content.document, site);
  } else if (!files.has("content.xml.xz")) {
    const Metadata composite = read_metadata(files, "compositeContent");
    site.error = composite.error;
    site.is_unreadable = composite.is_unreadable;
    // The children of an archive are sought in it, or beside it, in a way of its own.
    if (composite.document && !files.are_in_archive()) look_into_children(*composite.document, path, repositories, site);
  }
}

Repository look_into(const fs::path& path, Repositories& repositories) {
  Repository site;
  std::error_code error;
  site.exists = fs::exists(path, error);
  if (!site.exists) return site;
  site.is_directory = fs::is_directory(path, error);
  site.is_unreadable = is_unreadable(path);
  if (site.is_unreadable) {
    site.error = "it cannot be read";
    return site;
  }
  const SiteFiles files(path);
  site.is_repository = files.has_any(metadata_names);
  if (site.is_repository) {
    read_offer(files, path, repositories, site);
    read_artifacts(files, site);
  } else if (site.is_directory || files.are_in_archive()) {
    site.nested = files.nested_metadata();
  } else {
    site.error = "it is no archive";
  }
  return site;
}

}  // namespace

const Repository& Repositories::at(const fs::path& path) {
  const auto [known, is_new] = repositories_.try_emplace(path);
  if (is_new) {
    // A composite that has itself among its children finds a repository there of which no more is known.
    known->second.is_repository = true;
    known->second = look_into(path, *this);
  }
  return known->second;
}

}  // namespace eclipse_p2
