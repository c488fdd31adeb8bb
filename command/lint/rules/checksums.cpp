// The rule about checksums of artifacts. Only those of the features that are named are computed, since that reads whole files.
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "p2/artifact_file.h"
#include "p2/director_command.h"
#include "p2/installation.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

/// Each with the first line that names it.
using Sites = std::vector<std::pair<const Repository*, const Record*>>;

Sites sites_of(const Input& input) {
  Sites sites;
  std::set<const Repository*> known;
  for (const Record& record : input.records) {
    const bool is_loaded = record.site != nullptr && record.site->is_repository && record.site->error.empty();
    if (record.placement && is_loaded && known.insert(record.site).second) sites.emplace_back(record.site, &record);
  }
  return sites;
}

/// The units that the director collects for the features of an input, as far as features name their parts.
class NeededUnits {
 public:
  NeededUnits(const Input& input, const Sites& sites) : offered_(*input.known_units), sites_(sites) {
    for (const Record& record : input.records) {
      if (!record.placement) continue;
      for (const Unit& unit : units_named(std::string(record.feature()))) add(unit);
    }
    while (!open_.empty()) {
      const Unit unit = open_.back();
      open_.pop_back();
      add_parts(unit);
    }
  }

  bool has(const Unit& unit) const { return units_.count(unit) != 0; }

 private:
  void add(const Unit& wanted) {
    const auto version = highest_offered(wanted, offered_);
    if (version && units_.insert({wanted.id, *version}).second) open_.push_back({wanted.id, *version});
  }

  void add_parts(const Unit& unit) {
    for (const auto& [site, record] : sites_) {
      const auto found = site->descriptions.find(unit);
      if (found == site->descriptions.end()) continue;
      for (const std::string& part : found->second.parts) add({part, ""});
    }
  }

  const UnitVersions& offered_;
  const Sites& sites_;
  std::set<Unit> units_;
  std::vector<Unit> open_;
};

/// The unit that an artifact "CLASSIFIER,ID,VERSION" belongs to.
Unit unit_of(const std::string& artifact) {
  const auto parts = split(artifact, ',');
  const bool is_feature = parts.front() == "org.eclipse.update.feature";
  return {parts.at(1) + (is_feature ? ".feature.jar" : ""), parts.back()};
}

bool is_only_in(const Repository& site, const Sites& sites, const std::string& artifact) {
  for (const auto& [other, record] : sites) {
    if (other != &site && (!other->artifacts || other->artifacts->count(artifact) != 0)) return false;
  }
  return true;
}

std::vector<std::string> errors_in(const Repository& site, const Sites& sites, const NeededUnits& needed) {
  std::vector<std::string> errors;
  for (const auto& [artifact, file] : site.artifact_files) {
    if (!needed.has(unit_of(artifact)) || !is_only_in(site, sites, artifact)) continue;
    if (std::string error = checksum_error(file); !error.empty()) errors.push_back(file.name + " " + error);
  }
  return errors;
}

void check_checksums(const Input& input, Reporter& reporter) {
  if (!input.known_units) return;
  const Sites sites = sites_of(input);
  const NeededUnits needed(input, sites);
  for (const auto& [site, record] : sites) {
    const auto errors = errors_in(*site, sites, needed);
    if (errors.empty()) continue;
    const std::size_t others = errors.size() - 1;
    reporter.report(record->location(0),
                    in_quotes(record->repository()) + ": " + errors.front() +
                        (others == 0 ? "" : "; " + std::to_string(others) + " more of its jars have another checksum"));
  }
}

constexpr const char* content =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'>\n"
    "    <properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>\n"
    "    <requires><required namespace='org.eclipse.equinox.p2.iu' name='org.example.one.plugin' range='[1.0.0,1.0.0]'/>\n"
    "    </requires></unit>\n"
    "  <unit id='org.example.one.plugin' version='1.0.0'><artifacts>\n"
    "    <artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'/></artifacts></unit>\n"
    "</units></repository>\n";

/// An end of central directory, which alone is a zip archive without entries, and its MD5.
std::string jar() { return "PK\x05\x06" + std::string(18, '\0'); }
constexpr const char* md5_of_jar = "76cdb2bad9582d23c1f6f4d868218d6c";

Sample site_with(const std::string& md5) {
  const std::string artifacts =
      "<?xml version='1.0'?>\n<repository><mappings>\n"
      "  <rule filter='(&amp; (classifier=osgi.bundle))' output='${repoUrl}/plugins/${id}_${version}.jar'/>\n"
      "</mappings><artifacts>\n"
      "  <artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'>\n"
      "    <properties><property name='download.md5' value='" +
      md5 + "'/></properties></artifact>\n</artifacts></repository>\n";
  return component(line_of_one, {{"tools/site/content.xml", content},
                                 {"tools/site/artifacts.xml", artifacts},
                                 {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", jar()}});
}

Rule artifact_checksum_wrong() {
  return {.name = "artifact-checksum-wrong",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a jar of a repository has another checksum than the repository lists",
          .why =
              "The director refuses the jar. The command for all features fails, also for those of other repositories; each "
              "feature is then tried alone. Compared are the jars of the named features in directories, up to 256 MiB each.",
          .fix = "publish the repository again, and check that no jar is replaced, signed or converted afterwards",
          .bad = site_with("d41d8cd98f00b204e9800998ecf8427e"),
          .good = site_with(md5_of_jar),
          .check = check_checksums,
          .concerns_removals = false};
}

}  // namespace

std::vector<Rule> rules_about_checksums() { return {artifact_checksum_wrong()}; }

}  // namespace eclipse_lint
