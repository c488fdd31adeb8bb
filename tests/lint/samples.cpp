#include "lint/samples.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "base/packing.h"
#include "base/text.h"
#include "lint/rules/samples.h"
#include "p2/metadata_cache.h"

namespace fs = std::filesystem;

namespace lint_test {

namespace {

constexpr uid_t nobody = 65534;

/// As the director of the instance "ide" caches it.
void write_cached(const eclipse_lint::SampleFile& file) {
  const eclipse_p2::MetadataCache cache("ide", fs::absolute(file.cached_of));
  const fs::path cached = cache.file_for("", fs::path(file.name).filename().string());
  fake::write_file(cached.string(), file.content);
  fs::last_write_time(cached, std::chrono::floor<std::chrono::seconds>(fs::last_write_time(file.cached_of)));
}

}  // namespace

std::vector<const eclipse_lint::Rule*> every_rule() {
  std::vector<const eclipse_lint::Rule*> all;
  for (const eclipse_lint::Rule& rule : eclipse_lint::rules()) all.push_back(&rule);
  return all;
}

std::string test_name_of(const eclipse_lint::Rule& rule) {
  std::string name(rule.name);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

WithoutRights::WithoutRights() {
  if (getuid() != 0) return;
  fs::permissions(fs::current_path(), fs::perms(0755));
  if (chown(".", nobody, nobody) != 0) throw std::runtime_error("cannot give away the directory");
  for (const auto& entry : fs::recursive_directory_iterator(".")) {
    if (lchown(entry.path().c_str(), nobody, nobody) != 0) throw std::runtime_error("cannot give away a file");
  }
  if (seteuid(nobody) != 0) throw std::runtime_error("cannot give up the rights of root");
}

WithoutRights::~WithoutRights() {
  if (getuid() == 0 && seteuid(0) != 0) std::abort();
}

void write_sample(const eclipse_lint::Sample& sample) {
  for (const eclipse_lint::SampleFile& file : sample.files) {
    if (!file.cached_of.empty()) {
      write_cached(file);
    } else if (file.name.ends_with('/')) {
      fs::create_directories(file.name);
      if (file.permissions != eclipse_lint::SampleFile().permissions)
        fs::permissions(file.name, fs::perms(static_cast<unsigned>(file.permissions)));
    } else if (!file.link_to.empty()) {
      fs::create_directories(fs::path(file.name).parent_path());
      fs::create_symlink(file.link_to, file.name);
    } else {
      const std::string content = eclipse_base::replaced(
          file.content, eclipse_lint::samples::product_directory,
          file.name.ends_with(".json") ? fs::current_path().string() : eclipse_lint::samples::product_directory);
      fake::write_file(file.name, file.entries.empty() ? content : base_test::zipped(file.entries));
      fs::permissions(file.name, fs::perms(static_cast<unsigned>(file.permissions)));
    }
  }
}

const eclipse_dry_run::PluginFunctions& library() {
  static const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
  static const eclipse_dry_run::PluginFunctions library(plugin);
  return library;
}

eclipse_lint::Findings findings_in(const std::string& input, const eclipse_lint::Settings& settings) {
  library();
  const WithoutRights without_rights;
  eclipse_p2::Repositories sites;
  eclipse_p2::ProfileStates states;
  return eclipse_lint::lint(library(), sites, states, input, settings);
}

std::vector<std::string> summary_of(const eclipse_lint::Findings& findings) {
  std::vector<std::string> summary;
  for (const auto& finding : findings) {
    const eclipse_lint::Location& location = finding.location;
    std::string line = location.file;
    if (location.line != 0) {
      line +=
          ":" + std::to_string(location.line) + ":" + std::to_string(location.column) + "+" + std::to_string(location.length);
    }
    summary.push_back(line + " " + std::string(finding.rule->name));
  }
  return summary;
}

}  // namespace lint_test
