#include "p2/jar_errors.h"

#include <filesystem>
#include <map>
#include <set>
#include <utility>

#include "base/archive.h"
#include "base/limits.h"
#include "base/open_file.h"
#include "base/text.h"
#include "p2/artifact_name.h"
#include "p2/jar_manifest.h"
#include "p2/signed_jar.h"
#include "p2/version.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

/// How the manifest of a bundle differs from the name of its artifact.
std::string identity_error(const std::string& artifact, const Archive& jar) {
  if (!is_bundle(artifact) || !jar.error().empty() || !jar.has(manifest_name)) return "";
  const Section attributes = manifest_in(jar.read(manifest_name, largest::configuration).bytes).main;
  const auto name = attributes.find("bundle-symbolicname");
  const auto version = attributes.find("bundle-version");
  if (name == attributes.end() || version == attributes.end()) return "";
  const std::string id(trimmed(name->second.substr(0, name->second.find(';'))));
  const Unit unit = unit_of_artifact(artifact);
  const std::string listed = unit.id + " " + whole_version(unit.version);
  const std::string actual = id + " " + whole_version(trimmed(version->second));
  return listed == actual ? "" : "contains " + actual + " by its manifest, but the repository lists it as " + listed;
}

/// What the archive says of itself.
JarErrors errors_within(const std::string& artifact, const Archive& archive) {
  JarErrors errors;
  errors.signature = signature_error(archive);
  if (errors.signature.empty()) errors.identity = identity_error(artifact, archive);
  return errors;
}

JarErrors errors_of_content(const Jar& jar, const std::string& bytes) {
  const auto& [artifact, file] = jar;
  std::string checksum = checksum_error(file.checksums, bytes);
  if (!checksum.empty()) return {.checksum = std::move(checksum)};
  return errors_within(artifact, jar_in_memory(bytes));
}

/// The damage of a file of its own shows when its repository is read.
JarErrors errors_of_file(const Jar& jar) {
  const auto& [artifact, file] = jar;
  if (file.checksums.empty()) return errors_within(artifact, jar_file(file.path));
  const FileContent content = content_of(file);
  if (content.exceeds_limit) return {.limit = content.error};
  return content.error.empty() ? errors_of_content(jar, content.bytes) : JarErrors();
}

JarErrors errors_of_entry(const Jar& jar, const Unpacked& content) {
  if (content.exceeds_limit) return {.limit = content.error};
  if (!content.error.empty()) return {.damage = content.error};
  std::string damage = jar_damage(OpenFile::in_memory(content.bytes), jar.second.size);
  return damage.empty() ? errors_of_content(jar, content.bytes) : JarErrors{.damage = std::move(damage)};
}

}  // namespace

void examine(const std::vector<const Jar*>& jars, const std::function<void(const Jar& jar, const JarErrors& errors)>& use) {
  std::map<fs::path, std::multimap<std::string, const Jar*>> in_archives;
  for (const Jar* const jar : jars) {
    const ArtifactFile& file = jar->second;
    if (file.entry.empty()) {
      use(*jar, errors_of_file(*jar));
    } else {
      in_archives[file.path].emplace(file.entry, jar);
    }
  }
  for (const auto& [path, by_entry] : in_archives) {
    std::set<std::string> names;
    for (const auto& [name, jar] : by_entry) names.insert(name);
    Archive(path).read_each(names, largest::artifact,
                            [&, &jars_in = by_entry](const std::string& name, const Unpacked& content) {
                              const auto [begin, end] = jars_in.equal_range(name);
                              for (auto found = begin; found != end; ++found)
                                use(*found->second, errors_of_entry(*found->second, content));
                            });
  }
}

}  // namespace eclipse_p2
