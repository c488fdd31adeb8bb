#include "report/verification_json.h"

#include <nlohmann/json.hpp>

#include "report/json_parts.h"

using namespace eclipse_p2;
using namespace eclipse_verify;
using namespace eclipse_instance;

namespace eclipse_report {

namespace {

Json unit_json(const CheckedUnit& checked, bool same) {
  return {{"unit", text_of(checked.unit)},           {"locations", checked.places}, {"brought", checked.brought},
          {"installed", checked.is_installed},       {"byName", checked.is_root},   {"requiredBy", checked.required_by},
          {"otherVersions", checked.other_versions}, {"newer", checked.newer},      {"same", same}};
}

}  // namespace

Json verification_json(const Verification& verification) {
  Json units = Json::array();
  for (const CheckedUnit& checked : verification.units) {
    units.push_back(unit_json(checked, verification.is_as_it_should_be(checked)));
  }
  Json not_removed = Json::array();
  for (const CheckedUnit& checked : verification.unremoved) {
    not_removed.push_back({{"unit", text_of(checked.unit)}, {"locations", checked.places}});
  }
  Json missing_files = Json::array();
  for (const UnitFile& file : verification.missing_files) {
    missing_files.push_back({{"unit", text_of(file.unit)}, {"file", file.path.string()}});
  }
  return {{"removal", verification.is_removal},
          {"executable", verification.executable},
          {"same", verification.is_same()},
          {"units", units},
          {"notRemoved", not_removed},
          {"missingFiles", missing_files},
          {"roots", texts_of(verification.installed.roots)},
          {"source", verification.source == Source::profile ? "profile" : "director"},
          {"knowsAll", verification.knows_all()}};
}

void print_verification(const Verification& verification, const std::optional<InstanceDamage>& damage) {
  Json json = verification_json(verification);
  add_damage(json, damage);
  print_json(json);
}

void print_unverifiable(const std::string& executable, const std::string& error, const InstanceDamage& damage) {
  Json json = {{"executable", executable}, {"error", error}};
  add_damage(json, damage);
  print_json(json);
}

void print_nothing_to_verify(const eclipse_plan::Plan& plan) {
  print_json({{"same", true}, {"units", Json::array()}, {"reason", plan.last_log_line}, {"reasons", plan.reasons}});
}

}  // namespace eclipse_report
