#include "lint/needed_jars.h"

#include <algorithm>

#include "p2/artifact_name.h"

using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

bool is_only_in(const Repository& site, const Sites& sites, const std::string& artifact) {
  return std::all_of(sites.begin(), sites.end(), [&](const auto& other) {
    return other.first == &site || (other.first->artifacts && other.first->artifacts->count(artifact) == 0);
  });
}

std::vector<const Jar*> needed_jars_of(const Repository& site, const NeededUnits& needed) {
  std::vector<const Jar*> jars;
  for (const Jar& jar : site.artifact_files) {
    if (needed.has(unit_of_artifact(jar.first)) && is_only_in(site, needed.sites(), jar.first)) jars.push_back(&jar);
  }
  return jars;
}

}  // namespace

const std::vector<NeededJar>& NeededJars::wrong() const {
  if (wrong_) return *wrong_;
  auto& wrong = wrong_.emplace();
  for (const auto& [site, record] : needed_->sites()) {
    examine(needed_jars_of(*site, *needed_), [&, &of_site = record](const Jar& jar, const JarErrors& errors) {
      if (errors != JarErrors()) wrong.push_back({of_site, &jar.second.name, unit_of_artifact(jar.first), errors});
    });
  }
  return wrong;
}

}  // namespace eclipse_lint
