// The units that the director needs for the features of an input.
#ifndef ECLIPSE_INT_LINT_NEEDED_UNITS_H
#define ECLIPSE_INT_LINT_NEEDED_UNITS_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lint/input.h"
#include "p2/filter.h"
#include "p2/repository.h"
#include "p2/unit.h"

namespace eclipse_lint {

/// Repositories that can be loaded, each with the first line that names it.
using Sites = std::vector<std::pair<const eclipse_p2::Repository*, const Record*>>;

Sites loaded_sites(const Input& input);

/// A unit that a line names, in the version that the director takes.
struct NamedFeature {
  eclipse_p2::Unit unit;
  const Record* record;
  const eclipse_p2::UnitDescription* description;  ///< null when none of this input, or two repositories, describe it
};

/// A requirement that neither a repository nor the instance meets: they have what is required in other versions only, for other
/// systems only, or not at all.
struct UnmetRequirement {
  const Record* record;  ///< that names the feature which needs it
  eclipse_p2::Unit unit;
  const eclipse_p2::Requirement* requirement;
  std::vector<std::string> offered;    ///< versions in the repositories, also those for other systems
  std::vector<std::string> installed;  ///< versions in the instance
  std::string filter;                  ///< of one for other systems, whose version would do; else empty
  bool is_certain;                     ///< what the instance has is known
  bool is_include = false;             ///< of a unit that a feature includes, which no other unit provides

  bool is_of_something_unknown() const { return offered.empty() && installed.empty(); }
  /// The instance may have it under the name of another unit.
  bool may_be_met() const { return is_of_something_unknown() && !is_include; }
};

/// The features in the versions that the director takes, and what they require by name on this system. Where several versions
/// would do, it follows what features include, in the highest version, but not what bundles require of each other.
class NeededUnits {
 public:
  /// The units of the input's sites are known. The records, and the repositories that they name, outlive this object.
  explicit NeededUnits(const Input& input);

  const Sites& sites() const { return sites_; }
  bool has(const eclipse_p2::Unit& unit) const { return units_.count(unit) != 0; }
  const std::set<eclipse_p2::Unit>& all() const { return units_; }
  const std::vector<NamedFeature>& named() const { return named_; }
  const eclipse_p2::Environment& environment() const { return environment_; }
  /// As far as is known.
  bool is_installed(const eclipse_p2::Unit& unit) const;
  /// The records that name features which need any of these units that the instance does not have.
  std::vector<const Record*> records_that_need(const std::vector<eclipse_p2::Unit>& units) const;
  /// Those that name features which the director cannot install whatever else it does: they are for other systems, or need
  /// something that is not available. None when it is not known what the instance has.
  std::set<const Record*> impossible_records() const;
  /// The units that a feature with this description requires in exactly one version, of which a repository describes this one.
  std::vector<eclipse_p2::Unit> pinned_by(const eclipse_p2::UnitDescription& description) const;
  bool is_for_other_system(const NamedFeature& named) const;
  /// Null when repositories describe it differently, or none does.
  const eclipse_p2::UnitDescription* description_of(const eclipse_p2::Unit& unit) const;
  /// Only those that no choice of the director can avoid. None when a repository is not known.
  const std::vector<UnmetRequirement>& unmet() const { return unmet_; }

 private:
  /// A unit that may still require others.
  struct Open {
    eclipse_p2::Unit unit;
    const Record* record;
    bool is_certain;  ///< the director has no choice
  };
  /// A unit that provides what is required.
  struct Provider {
    eclipse_p2::Unit unit;
    std::string version;        ///< of what it provides
    const std::string* filter;  ///< null when it is not known
  };
  using Described = decltype(eclipse_p2::Repository::descriptions)::value_type;

  void index();
  void add(const eclipse_p2::Unit& unit, const Record* record, bool is_certain);
  void add_provider(const Open& open, const eclipse_p2::Unit& unit, bool is_certain);
  void add_requirements(Open open);
  void add_required(const Open& open, const eclipse_p2::UnitDescription& description,
                    const eclipse_p2::Requirement& requirement);
  void note_unmet(const Open& open, const eclipse_p2::UnitDescription& description, const eclipse_p2::Requirement& requirement,
                  const std::vector<Provider>& providers);
  std::vector<Provider> providers_of(const eclipse_p2::Requirement& requirement) const;
  bool may_be_here(const Provider& provider) const;
  std::vector<std::string> installed_versions(const std::string& id) const;

  const eclipse_p2::UnitVersions& offered_;
  Sites sites_;
  eclipse_p2::Environment environment_;
  bool knows_all_ = false;        ///< what the repositories offer
  bool knows_installed_ = false;  ///< what the instance has
  /// Several of a unit that repositories describe differently.
  std::map<eclipse_p2::Unit, std::vector<const eclipse_p2::UnitDescription*>> descriptions_;
  /// Those that provide something under another name than their own, by that name.
  std::multimap<std::string_view, std::pair<const Described*, const eclipse_p2::Capability*>> further_;
  std::set<std::string_view> patched_;                           ///< names in requirements that a patch may replace
  std::multimap<std::string_view, std::string_view> installed_;  ///< ids and versions
  std::vector<NamedFeature> named_;
  std::set<eclipse_p2::Unit> units_;
  std::set<eclipse_p2::Unit> certain_;                                ///< those that the director has to take
  std::map<eclipse_p2::Unit, std::set<eclipse_p2::Unit>> needed_by_;  ///< those of them that require a unit directly
  std::vector<Open> open_;
  std::vector<UnmetRequirement> unmet_;
};

}  // namespace eclipse_lint

#endif
