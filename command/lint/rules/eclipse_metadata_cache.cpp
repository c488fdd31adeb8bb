// The rule about metadata of archives that the director has cached in the Eclipse instance.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "lint/input.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"
#include "p2/artifact_file.h"
#include "p2/artifact_name.h"
#include "p2/installation.h"
#include "p2/instance_paths.h"
#include "p2/metadata_cache.h"
#include "p2/repository.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// What a director reads of an archive, where the instance may have cached it of an earlier one.
struct SeenArchive {
  const Record* record;
  const Repository& site;  ///< what it is now
  Repository seen;

  bool is_known() const { return site.units && site.artifacts && (!seen.is_loadable() || (seen.units && seen.artifacts)); }
  const UnitVersions& units() const {
    static const UnitVersions none;
    return seen.units ? *seen.units : none;
  }
};

std::vector<SeenArchive> cached_archives(const fs::path& instance, const Input& input) {
  std::vector<SeenArchive> archives;
  std::set<std::string> urls;
  const auto files = std::make_shared<const CachedFiles>(instance);
  for (const Record& record : input.records) {
    if (record.site == nullptr || !record.takes_part() || !is_archive(record) || !record.site->is_loadable()) continue;
    if (!urls.insert(record.placement->url).second) continue;
    const std::string path = eclipse_dry_run::path_for_director(record.placement->url);
    const MetadataCache cache(files, path);
    if (!cache.may_be_read(record.site->is_composite)) continue;
    SeenArchive archive{&record, *record.site, Repositories(cache).at(path)};
    if (archive.is_known()) archives.push_back(std::move(archive));
  }
  return archives;
}

/// What the director sees of each repository of the session.
class SeenRepositories {
 public:
  SeenRepositories(const fs::path& instance, const Input& input)
      : instance_(instance), needed_(*input.needed), archives_(cached_archives(instance, input)) {}

  const std::vector<SeenArchive>& archives() const { return archives_; }

  bool has_elsewhere(const Unit& unit, const SeenArchive& archive) const {
    const Sites& sites = needed_.sites();
    return std::any_of(sites.begin(), sites.end(), [&](const auto& each) {
      return each.first != &archive.site && seen(*each.first).descriptions.count(unit) != 0;
    });
  }

  /// What a removed feature has left is not fetched again.
  bool is_left_in_instance(const Unit& unit) const {
    const std::string name = name_in_instance(unit);
    std::error_code error;
    return fs::exists(instance_ / plugins_directory / name, error) ||
           fs::exists(instance_ / plugins_directory / (name + ".jar"), error) ||
           fs::exists(instance_ / features_directory / name, error);
  }

 private:
  const Repository& seen(const Repository& site) const {
    const auto found = std::find_if(archives_.begin(), archives_.end(), [&](const auto& each) { return &each.site == &site; });
    return found == archives_.end() ? site : found->seen;
  }

  fs::path instance_;
  const NeededUnits& needed_;
  std::vector<SeenArchive> archives_;
};

/// What keeps the director from taking a feature of the archive; empty when nothing does.
std::string error_of_feature(const NamedFeature& named, const SeenArchive& archive, const SeenRepositories& repositories,
                             const NeededUnits& needed) {
  const Unit& unit = named.unit;
  if (archive.site.descriptions.count(unit) == 0 || repositories.has_elsewhere(unit, archive)) return "";
  const auto& written = named.record->units;
  const auto found = std::find_if(written.begin(), written.end(), [&](const auto& each) { return each.unit.id == unit.id; });
  const auto taken = highest_offered(found == written.end() ? unit : found->unit, archive.units());
  if (taken ? *taken == unit.version : needed.is_installed(unit)) return "";
  return taken ? "has " + in_quotes(unit.id) + " in version " + *taken + ", not " + unit.version
               : "lacks " + in_quotes(text_of(unit));
}

/// Whether the director would reject the file of an artifact by what was cached of its list.
bool is_rejected(const std::string& artifact, const SeenArchive& archive) {
  const auto kept = archive.seen.artifact_files.find(artifact);
  return kept == archive.seen.artifact_files.end() || !checksum_error(kept->second).empty();
}

/// The first artifact to be fetched that the director would not accept; empty when there is none.
std::string rejected_artifact(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed) {
  for (const auto& [artifact, file] : archive.site.artifact_files) {
    const Unit unit = unit_of_artifact(artifact);
    const bool is_fetched = needed.has(unit) && !needed.is_installed(unit) && !repositories.has_elsewhere(unit, archive);
    if (!is_fetched || repositories.is_left_in_instance(unit)) continue;
    if (archive.seen.descriptions.count(unit) != 0 && is_rejected(artifact, archive)) return artifact;
  }
  return "";
}

/// The first unit to be installed that was another one then; empty when there is none.
std::string other_unit(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed) {
  for (const auto& [unit, description] : archive.site.descriptions) {
    if (!needed.has(unit) || needed.is_installed(unit) || repositories.has_elsewhere(unit, archive)) continue;
    const auto kept = archive.seen.descriptions.find(unit);
    if (kept == archive.seen.descriptions.end() || kept->second != description) return text_of(unit);
  }
  return "";
}

void report_cached(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed,
                   Reporter& reporter) {
  const std::string path = eclipse_dry_run::path_for_director(archive.record->placement->url);
  const std::string fix = "give it another modification time: touch " + eclipse_shell::quoted_for_shell(path);
  const auto report = [&](Severity severity, const std::string& error) {
    reporter.report(severity, archive.record->location(0),
                    "the director reads metadata that the instance has cached of an earlier " +
                        in_quotes(archive.record->repository()) + ": it " + error,
                    fix);
  };
  std::vector<const Record*> failing;
  std::string error;
  for (const NamedFeature& named : needed.named()) {
    const std::string of_feature = error_of_feature(named, archive, repositories, needed);
    if (of_feature.empty()) continue;
    failing.push_back(named.record);
    if (error.empty()) error = of_feature;
  }
  if (!failing.empty()) {
    report(Severity::error, error);
    reporter.fails(failing);
  } else if (const std::string artifact = rejected_artifact(archive, repositories, needed); !artifact.empty()) {
    report(Severity::error, "lists another file of the " + kind_and_unit(artifact));
    reporter.fails(needed.records_that_need({unit_of_artifact(artifact)}));
  } else if (const std::string unit = other_unit(archive, repositories, needed); !unit.empty()) {
    report(Severity::warning, "lacks " + in_quotes(unit) + ", or has it with other requirements");
  }
}

Sample product_with_cached(const std::string& metadata) {
  return {"session.json",
          {{"session.json", user_session()},
           {"ide/eclipse", "#!/bin/sh\n", 0755},
           {"tools/etc/eclipse/tools.txt", "site.zip\torg.example.one.feature.group\n"},
           {.name = "tools/site.zip", .entries = {{"content.xml", content_of_one}}},
           {.name = "ide/p2/org.eclipse.equinox.p2.repository/cache/content.xml",
            .content = metadata,
            .kept_of = "tools/site.zip"}}};
}

Rule cached_metadata_outdated() {
  return {
      .name = "cached-metadata-outdated",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "the director reads metadata that the instance has cached of an earlier archive",
      .why =
          "The director caches the metadata of an archive in the instance, and reads it again as long as the archive has the "
          "same modification time, in seconds, whatever it then contains. Reproducible builds, \"cp -p\" and some installers "
          "give every release the same time. The director does not find the new features, rejects the new files, or leaves "
          "the old version and reports success.",
      .fix =
          "give the archive another modification time, for example with touch; or delete the files in "
          "p2/org.eclipse.equinox.p2.repository/cache of the instance",
      .bad = product_with_cached("<repository><units/></repository>\n"),
      .good = product_with_cached(content_of_one),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->run.commands.empty() || !input.needed) return;
            const fs::path instance = instance_directory(input.session->executable);
            const SeenRepositories repositories(instance, input);
            for (const SeenArchive& archive : repositories.archives()) {
              report_cached(archive, repositories, *input.needed, reporter);
            }
          },
      .concerns_removals = false};
}

}  // namespace

std::vector<Rule> eclipse_metadata_cache_rules() { return {cached_metadata_outdated()}; }

}  // namespace eclipse_lint
