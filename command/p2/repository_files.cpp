#include "p2/repository_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/archive.h"
#include "base/limits.h"
#include "base/text.h"
#include "p2/git_lfs_pointer.h"
#include "p2/version.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

constexpr const char* index_name = "p2.index";

bool is_file(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

/// What a repository consists of; its properties may differ between two files of the same.
constexpr std::array<const char*, 4> elements = {"units", "mappings", "artifacts", "children"};

std::string text_of_elements(const pugi::xml_document& document) {
  std::ostringstream text;
  for (const char* const element : elements) document.child("repository").child(element).print(text, "", pugi::format_raw);
  return text.str();
}

/// The director reads the first element of a kind, as if the others were not there.
void note_ignored_elements(const std::string& file, Metadata& metadata) {
  for (const char* const element : elements) {
    const pugi::xml_node second = metadata.document.child("repository").child(element).next_sibling(element);
    if (!second.first_child()) continue;
    metadata.ignored.push_back({std::string("the second <") + element + "> in " + file, "the first one"});
  }
}

/// The keys and values of a p2.index, which is a Java properties file, in the version that the director reads.
std::map<std::string, std::string> read_index(const std::string& text) {
  std::map<std::string, std::string> index;
  for (const std::string& line : lines_of(replaced(replaced(text, "\r", ""), "\\\n", ""))) {
    const std::string_view entry = trimmed(line);
    if (entry.empty() || entry.front() == '#' || entry.front() == '!') continue;
    const std::size_t end = std::min(entry.find_first_of("=: \t\f"), entry.size());
    std::string_view value = trimmed(entry.substr(end));
    if (!value.empty() && (value.front() == '=' || value.front() == ':')) value = trimmed(value.substr(1));
    index[std::string(entry.substr(0, end))] = value;
  }
  return whole_version(index["version"]) == "1.0.0" ? index : std::map<std::string, std::string>();
}

}  // namespace

bool is_unreadable(const fs::path& path) {
  std::error_code error;
  const auto status = fs::status(path, error);
  if (!fs::exists(status)) return error == std::errc::permission_denied;
  const int rights = fs::is_directory(status) ? R_OK | X_OK : R_OK;
  return faccessat(AT_FDCWD, path.c_str(), rights, AT_EACCESS) != 0;
}

/// A form that metadata may have, named as p2.index names it, which is the name of the file without packing.
struct RepositoryFiles::Form {
  std::string name;
  std::vector<std::string> files;  ///< the first one that is there is read
  bool is_composite = false;
};

const std::vector<RepositoryFiles::Form>& RepositoryFiles::forms_of(Listing listing) {
  static const std::vector<Form> content = {
      {"content.xml", {"content.jar", "content.xml"}, false},
      {"content.xml.xz", {"content.xml.xz"}, false},
      {"compositeContent.xml", {"compositeContent.jar", "compositeContent.xml"}, true},
  };
  static const std::vector<Form> artifacts = {
      {"artifacts.xml", {"artifacts.jar", "artifacts.xml"}, false},
      {"artifacts.xml.xz", {"artifacts.xml.xz"}, false},
      {"compositeArtifacts.xml", {"compositeArtifacts.jar", "compositeArtifacts.xml"}, true},
  };
  return listing == Listing::content ? content : artifacts;
}

bool RepositoryFiles::is_form(Listing listing, std::string_view name) {
  const auto& forms = forms_of(listing);
  return std::any_of(forms.begin(), forms.end(), [&](const Form& form) {
    return std::find(form.files.begin(), form.files.end(), name) != form.files.end();
  });
}

RepositoryFiles::RepositoryFiles(RepositoryPlace place, const MetadataCache* cache) : place_(std::move(place)), cache_(cache) {
  std::error_code error;
  const fs::file_status status = fs::status(place_.path, error);
  if (is_unreadable(place_.path)) {
    error_ = "cannot be read";
  } else if (fs::is_regular_file(status)) {
    archive_.emplace(place_.path);
    const std::string beginning = read_beginning(place_.path, git_lfs::beginning_of_pointer.size()).bytes;
    error_ = git_lfs::is_pointer(beginning) ? git_lfs::pointer_error : archive_->error();
  } else if (!fs::is_directory(status)) {
    error_ = "is not a regular file";
  } else if (!place_.inside.empty()) {
    error_ = eclipse_base::archive_error::not_zip;
  }
}

bool RepositoryFiles::has(const std::string& name) const {
  return archive_ ? archive_->has(place_.inside + name) : is_file(place_.path / name);
}

bool RepositoryFiles::has_with_backslashes(const std::string& name) const {
  return archive_ && !has(name) && name.find('/') != name.npos && archive_->has(replaced(place_.inside + name, "/", "\\"));
}

/// The director takes for a file what is no directory, a FIFO too.
bool RepositoryFiles::has_metadata(const std::string& name) const {
  if (archive_) return has(name);
  std::error_code error;
  const auto status = fs::status(place_.path / name, error);
  return fs::exists(status) ? !fs::is_directory(status) : error == std::errc::permission_denied;
}

bool RepositoryFiles::is_unreadable_file(const std::string& name) const {
  return !archive_ && is_unreadable(place_.path / name);
}

Unpacked RepositoryFiles::read_in_archive(const std::string& name, std::size_t limit) const {
  const bool is_of_cache = cache_ != nullptr && is_same_file(cache_->archive(), place_.path);
  const auto cached = is_of_cache ? cache_->in_place_of(place_.inside, name) : std::nullopt;
  return cached ? eclipse_base::read_file(*cached, limit) : archive_->read(place_.inside + name, limit);
}

Unpacked RepositoryFiles::read_file(const std::string& name, std::size_t limit) const {
  return archive_ ? read_in_archive(name, limit) : eclipse_base::read_file(place_.path / name, limit);
}

bool RepositoryFiles::has_any(Listing listing) const {
  const auto& forms = forms_of(listing);
  return std::any_of(forms.begin(), forms.end(), [this](const Form& form) {
    return std::any_of(form.files.begin(), form.files.end(), [this](const auto& file) { return has_metadata(file); });
  });
}

std::vector<const RepositoryFiles::Form*> RepositoryFiles::order_of(Listing listing, const std::string& index_text) {
  std::vector<const Form*> order;
  const auto& forms = forms_of(listing);
  const auto index = read_index(index_text);
  const auto key =
      index.find(listing == Listing::content ? "metadata.repository.factory.order" : "artifact.repository.factory.order");
  if (key != index.end()) {
    for (const std::string& item : split(key->second, ',')) {
      const std::string name = lower_case(trimmed(item));
      if (name == "!") return order;
      for (const Form& form : forms) {
        if (lower_case(form.name) == name) order.push_back(&form);
      }
    }
  }
  for (const Form& form : forms) order.push_back(&form);
  return order;
}

/// What is packed in a file, which is how `name` then names it.
Unpacked RepositoryFiles::unpacked(std::string packed, const Form& form, std::string& name) {
  if (name.ends_with(".xz")) return decompress(packed, Compression::xz, largest::metadata);
  if (!name.ends_with(".jar")) return {std::move(packed), ""};
  auto entry = zip_entry(packed, form.name, largest::metadata);
  if (!entry) return {"", "does not contain " + form.name};
  if (entry->error.empty()) name = form.name + " in " + name;
  return *std::move(entry);
}

Metadata RepositoryFiles::read_form(const Form& form, const std::string& file) const {
  Metadata metadata;
  metadata.is_composite = form.is_composite;
  metadata.is_unreadable = is_unreadable_file(file);
  if (metadata.is_unreadable) {
    metadata.error = file + " cannot be read";
    return metadata;
  }
  std::string name = file;
  Unpacked content = read_file(file, largest::metadata);
  if (git_lfs::is_pointer(content.bytes)) content.error = git_lfs::pointer_error;
  if (content.error.empty()) content = unpacked(std::move(content.bytes), form, name);
  Xml xml;
  if (content.error.empty()) xml = read_xml(content.bytes, "repository");
  metadata.exceeds_limit = content.exceeds_limit || xml.exceeds_limit;
  if (!content.error.empty() || !xml.error.empty()) metadata.error = name + " " + content.error + xml.error;
  metadata.document = std::move(xml.document);
  note_ignored_elements(name, metadata);
  return metadata;
}

/// Of the other files, those with another content.
void RepositoryFiles::note_ignored_files(Listing listing, const std::string& read, Metadata& metadata) const {
  for (const Form& form : forms_of(listing)) {
    for (const std::string& file : form.files) {
      if (file == read || !has_metadata(file)) continue;
      const Metadata other = read_form(form, file);
      const bool is_same = text_of_elements(other.document) == text_of_elements(metadata.document);
      if (other.error.empty() && !is_same) metadata.ignored.push_back({file, read});
    }
  }
}

std::optional<Metadata> RepositoryFiles::read(Listing listing) const {
  if (!has_any(listing)) return std::nullopt;
  Metadata unknown;
  Unpacked index;
  // The director ignores an index that it may not read.
  if (has_metadata(index_name) && !is_unreadable_file(index_name)) index = read_file(index_name, largest::configuration);
  if (!index.error.empty() && !archive_) {
    unknown.exceeds_limit = index.exceeds_limit;
    unknown.error = std::string(index_name) + " " + index.error;
    return unknown;
  }
  for (const Form* const form : order_of(listing, index.bytes)) {
    for (const std::string& file : form->files) {
      if (!has_metadata(file)) continue;
      Metadata metadata = read_form(*form, file);
      if (metadata.error.empty()) note_ignored_files(listing, file, metadata);
      return metadata;
    }
  }
  unknown.error = std::string(repository_error::excluded) +
                  (listing == Listing::content ? "metadata file that exists" : "list of artifacts that exists");
  return unknown;
}

std::string RepositoryFiles::nested_metadata() const {
  for (const std::string& name : names()) {
    const std::size_t slash = name.rfind('/');
    if (slash != name.npos && is_form(Listing::content, std::string_view(name).substr(slash + 1)))
      return name.substr(0, slash + 1);
  }
  return "";
}

std::string RepositoryFiles::inner_archive() const {
  std::set<std::string> candidates = archive_ ? archive_->names() : std::set<std::string>();
  std::error_code error;
  if (!archive_) {
    for (const auto& file : fs::directory_iterator(place_.path, error)) candidates.insert(file.path().filename().string());
  }
  std::erase_if(candidates, [this](const std::string& name) {
    return archive_ ? name.ends_with('/') : !name.ends_with(".zip") || !has(name);
  });
  return candidates.size() == 1 && candidates.begin()->ends_with(".zip") ? *candidates.begin() : "";
}

/// All of an archive, but of a directory only what is directly in its directories, since it may be a large one.
std::set<std::string> RepositoryFiles::names() const {
  if (archive_) return archive_->names();
  std::set<std::string> names;
  std::error_code error;
  for (const auto& directory : fs::directory_iterator(place_.path, error)) {
    if (!directory.is_directory(error)) continue;
    for (const Form& form : forms_of(Listing::content)) {
      for (const std::string& file : form.files) {
        if (is_file(directory.path() / file)) names.insert((directory.path().filename() / file).string());
      }
    }
  }
  return names;
}

}  // namespace eclipse_p2
