// Rules about the Eclipse instance that a session changes: its profile, its permissions, and what is installed in it.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "base/printable.h"
#include "instance/damage.h"
#include "lint/input.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"
#include "p2/artifact_file.h"
#include "p2/artifact_name.h"
#include "p2/installation.h"
#include "p2/instance_paths.h"
#include "p2/kept_artifacts.h"
#include "p2/missing_files.h"
#include "p2/profile.h"
#include "p2/unit.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

// ---- The profile ----

Rule instance_damaged() {
  return {
      .name = "instance-damaged",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "the Eclipse instance is damaged",
      .why =
          "A director that is stopped while it writes leaves the newest state of the p2 profile incomplete, config.ini without "
          "settings, or bundles.info without bundles; then every director fails, or Eclipse does not start the installed "
          "bundles. After two directors have worked at the same time, the newest state lacks most of the units. p2 never goes "
          "back to an older state by itself.",
      .fix = "run \"eclipse-int repair\" with the path of the Eclipse executable",
      .bad = product(user_session(), {{profile_name, "<profile><units><unit id='local.ide'"}}),
      .good = product(user_session(), {{profile_name, "<profile><units><unit id='local.ide'/></units></profile>\n"}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->run.commands.empty()) return;
            const auto damage = eclipse_instance::instance_damage_at_rest(input.session->executable, *input.profile_states);
            if (!damage) return;
            reporter.report(input.session->location_of_executable(), damage->message, damage->fix);
          },
  };
}

/// An instance whose configuration names a profile, and that has a profile of this name.
std::vector<SampleFile> instance_with_profile(const std::string& name) {
  return {{"ide/configuration/config.ini", "eclipse.p2.data.area=@config.dir/../p2\neclipse.p2.profile=" + name + "\n"},
          {profile_name, "<profile><units><unit id='local.ide'/></units></profile>\n"}};
}

Rule profile_missing() {
  return {
      .name = "profile-missing",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "the Eclipse instance does not have the p2 profile that its configuration names",
      .why = "Every command of the session fails with \"Missing required argument -destination\".",
      .fix = "correct eclipse.p2.profile in configuration/config.ini, or install Eclipse again, together with its directory p2",
      .bad = product(user_session(), instance_with_profile("SDKProfile")),
      .good = product(user_session(), instance_with_profile("IDE")),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->run.commands.empty()) return;
            const auto missing = eclipse_p2::missing_profile(eclipse_p2::instance_directory(input.session->executable));
            if (missing) reporter.report(input.session->location_of_executable(), missing->message, missing->fix);
          },
  };
}

// ---- Files that are gone ----

std::vector<SampleFile> instance_with_bundle() {
  return {{profile_name,
           "<profile><units><unit id='org.example.zero' version='1.0.0'>\n"
           "  <touchpoint id='org.eclipse.equinox.p2.osgi' version='1.0.0'/>\n"
           "  <artifacts><artifact classifier='osgi.bundle' id='org.example.zero' version='1.0.0'/></artifacts>\n"
           "</unit></units></profile>\n"},
          {std::string("ide/") + bundle_list, "org.example.zero,1.0.0,plugins/org.example.zero_1.0.0.jar,4,false\n"}};
}

std::vector<SampleFile> with_jar(std::vector<SampleFile> files) {
  files.push_back({"ide/plugins/org.example.zero_1.0.0.jar", empty_jar()});
  return files;
}

using ArtifactNames = std::set<std::string>;

void report_missing_files(const fs::path& instance, const ArtifactNames& listed, const Input& input, Reporter& reporter) {
  const auto missing = missing_files(instance, listed, *input.session->installed);
  if (missing.empty()) return;
  const std::size_t others = missing.size() - 1;
  reporter.report(input.session->location_of_executable(),
                  text_of(missing.front().unit) + " is installed, but " + missing.front().path.string() + " does not exist" +
                      (others == 0 ? "" : "; likewise " + counted(others, "other file")));
}

/// A removed feature leaves its jars, and the director does not fetch again what its list of artifacts names.
void report_lost_leftovers(const fs::path& instance, const ArtifactNames& listed, const Input& input, Reporter& reporter) {
  for (const Unit& unit : input.needed->all()) {
    if (input.needed->is_installed(unit) || !listed.contains(name_of_bundle(unit)) || !lacks_plugin(instance, unit)) continue;
    const std::string profile = profile_file(instance).parent_path().stem().string();
    reporter.report(Severity::error, input.session->location_of_executable(),
                    (instance / artifact_list).string() + " lists " + text_of(unit) +
                        ", which an earlier removal left, but its jar does not exist, so the director cannot install it",
                    "let p2 clear its list: run " + eclipse_shell::quoted_for_shell(input.session->executable) +
                        " -application org.eclipse.equinox.p2.garbagecollector.application -profile " + profile);
    reporter.fails(input.needed->records_that_need({unit}));
    return;
  }
}

Rule installed_file_missing() {
  return {
      .name = "installed-file-missing",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "a jar or a directory that the director takes for present has disappeared from the Eclipse instance",
      .why =
          "The director looks only at the p2 profile: it takes the unit for installed, restores nothing, and reports success. "
          "Eclipse starts without the bundle, and without those that need it; if p2 itself needs it, no director starts. Of a "
          "unit that is to be installed, the director looks only at the list of artifacts: if that still names a jar which an "
          "earlier removal left, the director does not fetch it, and fails.",
      .fix = fix_of_missing_file,
      .bad = product(user_session(), instance_with_bundle()),
      .good = product(user_session(), with_jar(instance_with_bundle())),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->run.commands.empty() || !input.session->installed) return;
            const fs::path instance = instance_directory(input.session->executable);
            const ArtifactNames listed = listed_artifacts(instance);
            report_missing_files(instance, listed, input, reporter);
            if (input.needed) report_lost_leftovers(instance, listed, input, reporter);
          },
      .concerns_removals = false,
  };
}

// ---- Permissions ----

/// The first directory of an instance that the director writes to but this user may not; nothing when there is none.
std::optional<fs::path> unwritable_directory(const fs::path& instance) {
  for (const fs::path& directory :
       {instance, instance / eclipse_p2::configuration_directory, instance / eclipse_p2::data_directory,
        instance / eclipse_p2::plugins_directory, instance / eclipse_p2::features_directory}) {
    std::error_code error;
    if (!fs::is_directory(directory, error)) continue;
    if (faccessat(AT_FDCWD, directory.c_str(), W_OK, AT_EACCESS) != 0) return directory;
  }
  return std::nullopt;
}

Rule instance_not_writable() {
  return {
      .name = "instance-not-writable",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "the user who runs lint has no permission to write to the Eclipse instance",
      .why =
          "If the installer runs as this user and cannot write to the directory of the instance itself, Eclipse uses the "
          "directory .eclipse in the user's home: the director installs the features there, for this user alone, and reports "
          "success. It fails if there is no such home, or if only a directory in the instance is not writable.",
      .fix = "run the installer as a user who can write there; if it already runs as another user, ignore this finding",
      .bad = product(user_session(), {{.name = "ide/p2/", .permissions = 0555}}),
      .good = product(user_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->run.commands.empty()) return;
            const std::string executable = input.session->executable;
            const fs::path instance = eclipse_p2::instance_directory(executable);
            const auto directory = unwritable_directory(instance);
            if (!directory) return;
            reporter.report(
                input.session->location_of_executable(),
                "no permission to write to " + directory->string() + (*directory == instance ? "" : ", so the director fails"));
          },
  };
}

// ---- The same version, built twice ----

/// Whether a jar in the instance is not that of a repository, which is as its repository lists it.
bool is_other_build(const ArtifactFile& file, const std::string& jar, const fs::path& installed) {
  if (!file.checksums.empty()) return !checksum_error({jar, installed, file.checksums}).empty() && checksum_error(file).empty();
  std::error_code error;
  return file.entry.empty() && fs::is_regular_file(installed, error) && are_different(file, {jar, installed, {}});
}

/// The names of what is in a directory; nothing when they cannot be read.
using Names = std::optional<std::set<std::string>>;

Names names_in(const fs::path& directory) {
  std::set<std::string> names;
  std::error_code error;
  for (fs::directory_iterator at(directory, error); !error && at != fs::directory_iterator(); at.increment(error)) {
    names.insert(at->path().filename().string());
  }
  return error ? std::nullopt : Names(std::move(names));
}

/// A bundle of a site that is installed, in this directory, with other bytes; empty when there is none.
std::string other_build_in(const fs::path& plugins, const Names& installed, const Repository& site, const NeededUnits& needed) {
  for (const auto& [artifact, file] : site.artifact_files) {
    std::string jar = jar_of_bundle(artifact);
    if (jar.empty() || (installed && !installed->contains(jar)) || !needed.has(unit_of_artifact(artifact))) continue;
    if (is_other_build(file, jar, plugins / jar)) return jar;
  }
  return "";
}

Sample product_with_installed(const std::string& installed_jar) {
  Sample sample = component_with_jar(md5_of_empty_jar);
  sample.input = "session.json";
  sample.files.push_back({"session.json", user_session()});
  sample.files.push_back({"ide/eclipse", "#!/bin/sh\n", 0755});
  sample.files.push_back({"ide/plugins/org.example.one.plugin_1.0.0.jar", installed_jar});
  return sample;
}

Rule other_build_installed() {
  return {.name = "other-build-installed",
          .group = Group::eclipse,
          .severity = Severity::warning,
          .title = "the instance has another build of a bundle, with the same version",
          .why =
              "The director treats two files with the same id and version as identical. It keeps the one in the instance, also "
              "of a feature that was removed in between, and reports success.",
          .fix = "build it again with a higher version",
          .bad = product_with_installed("PK of an older build"),
          .good = product_with_installed(empty_jar()),
          .check =
              [](const Input& input, Reporter& reporter) {
                if (!input.session || input.session->run.commands.empty() || !input.needed) return;
                const fs::path plugins = instance_directory(input.session->executable) / eclipse_p2::plugins_directory;
                const Names installed = names_in(plugins);
                const NeededUnits& needed = *input.needed;
                const Sites& sites = needed.sites();
                for (const auto& [site, record] : sites) {
                  const std::string jar = other_build_in(plugins, installed, *site, needed);
                  if (jar.empty()) continue;
                  reporter.report(record->location(0), "the Eclipse instance has another build of plugins/" + jar + " than " +
                                                           in_quotes(record->repository()) + ", and keeps it");
                }
              },
          .concerns_removals = false};
}

}  // namespace

std::vector<Rule> eclipse_instance_rules() {
  return {instance_damaged(), profile_missing(), installed_file_missing(), instance_not_writable(), other_build_installed()};
}

}  // namespace eclipse_lint
