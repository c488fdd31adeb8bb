// Rules about checksums, signatures and builds of artifacts. Only those of the features that are named are computed, since that
// reads whole files.
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"
#include "lint/input.h"
#include "lint/needed_jars.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "p2/artifact_file.h"
#include "p2/artifact_name.h"
#include "p2/jar_errors.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

/// Reports the first jar of each repository that has this error, and that there are others which `others_are` so.
void check_jars(const Input& input, std::string JarErrors::*error, const std::string& others_are, Reporter& reporter) {
  if (!input.jars) return;
  std::map<const Record*, std::vector<std::string>> errors;
  std::map<const Record*, std::vector<Unit>> units;
  for (const NeededJar& jar : input.jars->wrong()) {
    const std::string& text = jar.errors.*error;
    if (text.empty()) continue;
    errors[jar.record].push_back(*jar.name + " " + text);
    units[jar.record].push_back(jar.unit);
  }
  for (const auto& [record, texts] : errors) {
    const std::size_t others = texts.size() - 1;
    reporter.report(record->location(0),
                    in_quotes(record->repository()) + ": " + texts.front() +
                        (others == 0 ? "" : "; " + std::to_string(others) + " more of its jars " + others_are));
    // The director installs a jar that is another bundle.
    if (error != &JarErrors::identity) reporter.fails(input.needed->records_that_need(units[record]));
  }
}

static_assert(largest::artifact == 256 * largest::mebibyte, "as the texts of these rules say");

Rule artifact_checksum_wrong() {
  return {.name = "artifact-checksum-wrong",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a jar of a repository has another checksum than the repository lists",
          .why =
              "The director refuses the jar. The command for all features fails, including those of other repositories; each "
              "feature is then tried alone. Lint compares the jars of the named features.",
          .fix = "publish the repository again, and make sure that nothing replaces, signs or converts a jar afterwards",
          .bad = component_with_jar("d41d8cd98f00b204e9800998ecf8427e"),
          .good = component_with_jar(md5_of_empty_jar),
          .check = [](const Input& input,
                      Reporter& reporter) { check_jars(input, &JarErrors::checksum, "have another checksum", reporter); },
          .concerns_removals = false};
}

/// The signature itself is not examined.
Sample site_with_signed_jar(const std::string& text) {
  Sample sample = component_with_jar("");
  sample.files.back().content.clear();
  sample.files.back().entries = {{"META-INF/MANIFEST.MF",
                                  "Manifest-Version: 1.0\n\nName: a.txt\n"
                                  "SHA-256-Digest: ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=\n\n"},
                                 {"META-INF/KEY.SF", "Signature-Version: 1.0\n\nName: a.txt\n\n"},
                                 {"META-INF/KEY.RSA", ""},
                                 {"a.txt", text}};
  return sample;
}

Rule artifact_altered_after_signing() {
  return {.name = "artifact-altered-after-signing",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a signed jar of a repository was altered after it was signed",
          .why =
              "The director refuses the jar, even if the repository lists its new checksum. The command for all features "
              "fails, including those of other repositories; each feature is then tried alone. Lint examines the jars of the "
              "named features.",
          .fix = "sign the jar again, or delete its signature (META-INF/*.SF and *.RSA), and publish the repository again",
          .bad = site_with_signed_jar("altered"),
          .good = site_with_signed_jar("abc"),
          .check = [](const Input& input,
                      Reporter& reporter) { check_jars(input, &JarErrors::signature, "were altered", reporter); },
          .concerns_removals = false};
}

Sample site_with_bundle(const std::string& version) {
  Sample sample = component_with_jar("");
  sample.files.back().content.clear();
  sample.files.back().entries = {{"META-INF/MANIFEST.MF",
                                  "Manifest-Version: 1.0\nBundle-SymbolicName: org.example.one.plugin;singleton:=true\n"
                                  "Bundle-Version: " +
                                      version + "\n"}};
  return sample;
}

Rule artifact_of_other_bundle() {
  return {
      .name = "artifact-of-other-bundle",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a jar of a repository is another bundle, or another version, than the repository lists",
      .why =
          "The director installs the jar and reports success, but Eclipse starts the bundle that the manifest of the jar "
          "names. The bundle in the p2 profile is then missing. Lint compares Bundle-SymbolicName and Bundle-Version of the "
          "named features' bundles.",
      .fix = "publish the repository again from the jar",
      .bad = site_with_bundle("1.0.1"),
      .good = site_with_bundle("1.0.0"),
      .check = [](const Input& input,
                  Reporter& reporter) { check_jars(input, &JarErrors::identity, "are other bundles", reporter); },
      .concerns_removals = false};
}

Sample two_sites(const std::string& md5_of_second) {
  Sample sample = component_with_jar(md5_of_empty_jar);
  const Sample second = component_with_jar(md5_of_second);
  sample.files.front().content += "other\torg.example.two.feature.group\n";
  for (std::size_t i = 1; i < second.files.size(); ++i) {
    SampleFile file = second.files[i];
    file.name = replaced(file.name, "site/", "other/");
    file.content = replaced(file.content, "org.example.one.feature", "org.example.two.feature");
    sample.files.push_back(std::move(file));
  }
  return sample;
}

Rule artifact_in_two_builds() {
  return {.name = "artifact-in-two-builds",
          .group = Group::repositories,
          .severity = Severity::warning,
          .title = "two repositories have different files for one artifact",
          .why =
              "The director treats files with the same id and version as identical, and installs one of them. A feature may "
              "get a bundle that it was not built with.",
          .fix = "build each artifact once, or give each build its own version",
          .bad = two_sites("d41d8cd98f00b204e9800998ecf8427e"),
          .good = component_with_jar(md5_of_empty_jar),
          .check =
              [](const Input& input, Reporter& reporter) {
                if (!input.needed) return;
                const NeededUnits& needed = *input.needed;
                const Sites& sites = needed.sites();
                std::map<std::string, std::pair<const ArtifactFile*, const Record*>> known;
                for (const auto& [site, record] : sites) {
                  for (const auto& [artifact, file] : site->artifact_files) {
                    if (!needed.has(unit_of_artifact(artifact))) continue;
                    const auto [first, is_new] = known.emplace(artifact, std::pair(&file, record));
                    const auto& [other, other_record] = first->second;
                    if (is_new || !are_different(file, *other)) continue;
                    reporter.report(record->location(0), in_quotes(record->repository()) + " and " +
                                                             in_quotes(other_record->repository()) + " in " +
                                                             other_record->where() + " have different files " + file.name);
                    break;
                  }
                }
              },
          .concerns_removals = false};
}

}  // namespace

std::vector<Rule> repositories_artifacts_rules() {
  return {artifact_checksum_wrong(), artifact_altered_after_signing(), artifact_of_other_bundle(), artifact_in_two_builds()};
}

}  // namespace eclipse_lint
