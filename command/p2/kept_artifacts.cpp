#include "p2/kept_artifacts.h"

#include <pugixml.hpp>
#include <system_error>

#include "base/file.h"
#include "base/limits.h"
#include "p2/artifact_location.h"
#include "p2/artifact_name.h"
#include "p2/instance_paths.h"
#include "p2/xml.h"

namespace fs = std::filesystem;

namespace eclipse_p2 {

bool is_missing(const fs::path& path) {
  std::error_code error;
  return fs::status(path, error).type() == fs::file_type::not_found;
}

std::set<std::string> listed_artifacts(const fs::path& instance) {
  const auto list = eclipse_base::read_file(instance / artifact_list, eclipse_base::largest::profile);
  const Xml xml = list.error.empty() ? read_xml(list.bytes, "repository") : Xml();
  std::set<std::string> artifacts;
  for (const pugi::xml_node artifact : xml.document.child("repository").child("artifacts").children("artifact")) {
    artifacts.insert(name_of_artifact(artifact));
  }
  return artifacts;
}

bool lacks_plugin(const fs::path& instance, const Unit& bundle) {
  std::error_code error;
  const fs::path plugins = instance / plugins_directory;
  const fs::path directory = plugins / name_in_instance(bundle);
  return fs::is_directory(plugins, error) && is_missing(directory) && is_missing(fs::path(directory).concat(".jar"));
}

}  // namespace eclipse_p2
