// The rule about metadata of archives that the director has cached in the Eclipse instance.
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
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
#include "p2/filter.h"
#include "p2/installation.h"
#include "p2/instance_paths.h"
#include "p2/kept_artifacts.h"
#include "p2/metadata_cache.h"
#include "p2/repository.h"
#include "p2/requirement.h"
#include "p2/unit.h"
#include "p2/version.h"
#include "shell/shell_reading.h"

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

/// What the director sees of all repositories, and what it need not fetch.
class SeenRepositories {
 public:
  SeenRepositories(const fs::path& instance, const Input& input)
      : instance_(instance), needed_(*input.needed), archives_(cached_archives(instance, input)) {
    if (archives_.empty()) return;
    listed_ = listed_artifacts(instance);
    std::map<const Repository*, const Repository*> cached;
    for (const SeenArchive& archive : archives_) cached.emplace(&archive.site, &archive.seen);
    for (const auto& [site, record] : needed_.sites()) {
      const auto found = cached.find(site);
      for (const auto& [unit, description] : (found == cached.end() ? site : found->second)->descriptions) {
        ++sources_[unit];
        versions_[unit.id].insert(unit.version);
      }
    }
  }

  const std::vector<SeenArchive>& archives() const { return archives_; }

  /// The version of a feature that the director takes from a repository; nothing when it finds none.
  std::optional<std::string> taken(const NamedFeature& named) const {
    const auto& written = named.record->units;
    const auto found =
        std::find_if(written.begin(), written.end(), [&](const WrittenUnit& each) { return each.unit.id == named.unit.id; });
    return highest_offered(found == written.end() ? named.unit : found->unit, versions_);
  }

  bool has_elsewhere(const Unit& unit, const SeenArchive& archive) const {
    const auto sources = sources_.find(unit);
    return sources != sources_.end() && sources->second > archive.seen.descriptions.count(unit);
  }

  /// Whether the artifacts of a unit come from this archive and no other, and are not in the instance. Those that a removed
  /// feature has left there are not fetched again.
  bool is_fetched(const Unit& unit, const SeenArchive& archive) const {
    return !needed_.is_installed(unit) && !has_elsewhere(unit, archive) &&
           !(listed_.contains(name_of_bundle(unit)) && !lacks_plugin(instance_, unit));
  }

 private:
  fs::path instance_;
  const NeededUnits& needed_;
  std::vector<SeenArchive> archives_;
  std::set<std::string> listed_;         ///< the artifacts of the instance
  std::map<Unit, std::size_t> sources_;  ///< how many repositories have a unit
  UnitVersions versions_;
};

/// Why commands fail that read an archive, and for which records.
struct CacheErrors {
  std::string first;
  std::vector<const Record*> failing;

  void add(const std::string& error, const std::vector<const Record*>& records) {
    if (first.empty()) first = error;
    failing.insert(failing.end(), records.begin(), records.end());
  }
};

/// What keeps the director from taking features of the archive.
void add_errors_of_features(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed,
                            CacheErrors& errors) {
  for (const NamedFeature& named : needed.named()) {
    const Unit& unit = named.unit;
    const auto taken = repositories.taken(named);
    if (taken ? *taken == unit.version : needed.is_installed(unit)) continue;
    const bool is_taken_here = taken && archive.seen.descriptions.count({unit.id, *taken}) != 0;
    if (archive.site.descriptions.count(unit) == 0 && !is_taken_here) continue;
    errors.add(is_taken_here ? "has " + in_quotes(unit.id) + " in version " + *taken + ", not " + unit.version
                             : "lacks " + in_quotes(text_of(unit)),
               {named.record});
  }
}

/// Whether the director would reject the file of an artifact by what was cached of its list.
bool is_rejected(const std::string& artifact, const SeenArchive& archive) {
  const auto cached = archive.seen.artifact_files.find(artifact);
  return cached == archive.seen.artifact_files.end() || !checksum_error(cached->second).empty();
}

/// What it would fetch, and not accept.
void add_rejected_artifacts(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed,
                            CacheErrors& errors) {
  for (const auto& [artifact, file] : archive.site.artifact_files) {
    const Unit unit = unit_of_artifact(artifact);
    if (!needed.has(unit) || archive.seen.descriptions.count(unit) == 0 || !repositories.is_fetched(unit, archive)) continue;
    if (is_rejected(artifact, archive))
      errors.add("lists another file of the " + kind_and_unit(artifact), needed.records_that_need({unit}));
  }
}

/// The units of the cached metadata that a unit there requires in exactly one version.
std::vector<Unit> pinned_then(const UnitDescription& description, const SeenArchive& archive, const Environment& environment) {
  std::vector<Unit> pinned;
  for (const Requirement& requirement : description.requirements) {
    const bool counts = requirement.is_hard && fulfils(environment, requirement.filter) == true;
    const auto versions = archive.seen.units->find(requirement.name);
    if (!counts || !is_exact(requirement.range) || versions == archive.seen.units->end()) continue;
    for (const std::string& version : versions->second) {
      if (is_in_range(version, requirement.range)) pinned.push_back({requirement.name, version});
    }
  }
  return pinned;
}

/// The units of the cached metadata whose artifacts the archive neither needs nor has.
std::set<Unit> units_without_artifacts(const SeenArchive& archive) {
  std::set<Unit> units;
  for (const std::string& artifact : archive.seen.needed_artifacts) {
    const bool is_gone = !archive.site.needed_artifacts.contains(artifact) && !archive.site.artifacts->contains(artifact);
    if (is_gone) units.insert(unit_of_artifact(artifact));
  }
  return units;
}

/// What features included then, and what the archive no longer has.
void add_gone_units(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed,
                    CacheErrors& errors) {
  const std::set<Unit> gone = units_without_artifacts(archive);
  if (gone.empty()) return;
  for (const NamedFeature& named : needed.named()) {
    std::vector<Unit> open = {named.unit};
    std::set<Unit> known = {named.unit};
    while (!open.empty()) {
      const auto description = archive.seen.descriptions.find(open.back());
      open.pop_back();
      if (description == archive.seen.descriptions.end()) continue;
      for (const Unit& unit : pinned_then(description->second, archive, needed.environment())) {
        if (!known.insert(unit).second) continue;
        open.push_back(unit);
        if (gone.contains(unit) && repositories.is_fetched(unit, archive))
          errors.add("requires " + in_quotes(text_of(unit)) + ", whose files are no longer there", {named.record});
      }
    }
  }
}

/// The first unit to be installed that was another one then; empty when there is none.
std::string other_unit(const SeenArchive& archive, const SeenRepositories& repositories, const NeededUnits& needed) {
  for (const auto& [unit, description] : archive.site.descriptions) {
    if (!needed.has(unit) || needed.is_installed(unit) || repositories.has_elsewhere(unit, archive)) continue;
    const auto cached = archive.seen.descriptions.find(unit);
    if (cached == archive.seen.descriptions.end() || cached->second != description) return text_of(unit);
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
  CacheErrors errors;
  add_errors_of_features(archive, repositories, needed, errors);
  add_rejected_artifacts(archive, repositories, needed, errors);
  add_gone_units(archive, repositories, needed, errors);
  if (!errors.failing.empty()) {
    report(Severity::error, errors.first);
    reporter.fails(errors.failing);
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
            .cached_of = "tools/site.zip"}}};
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
          "the old version and reports success. Often, but not always, it deletes what it has cached when it ends; then the "
          "plug-in's retries of single features succeed.",
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
