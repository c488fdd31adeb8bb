#include <algorithm>
#include <iterator>

#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/texts.h"

using namespace eclipse_base;

namespace eclipse_lint {

void Reporter::report(Location location, std::string message, std::optional<Correction> correction) {
  report(rule_.severity, std::move(location), std::move(message), std::move(correction));
}

void Reporter::report(Severity severity, Location location, std::string message, std::optional<Correction> correction) {
  report(severity, std::move(location), std::move(message), std::string(rule_.fix), std::move(correction));
}

void Reporter::report(Location location, std::string message, std::string fix, std::optional<Correction> correction) {
  report(rule_.severity, std::move(location), std::move(message), std::move(fix), std::move(correction));
}

void Reporter::report(Severity severity, Location location, std::string message, std::string fix,
                      std::optional<Correction> correction) {
  if (++count_ > eclipse_base::largest::findings) {
    if (file_left_out_.empty()) file_left_out_ = std::move(location.file);
    return;
  }
  findings_.push_back({&rule_,
                       severity,
                       std::move(location),
                       printable(message, {.longest = no_limit}),
                       printable(fix, {.longest = no_limit}),
                       std::nullopt,
                       std::move(correction),
                       false,
                       {}});
}

void Reporter::fails(const std::vector<const Record*>& records) {
  if (count_ > eclipse_base::largest::findings) return;
  for (const Record* const record : records) findings_.back().failing.push_back(record->where());
}

void Reporter::report_left_out() {
  if (count_ <= eclipse_base::largest::findings) return;
  findings_.push_back({&rule_,
                       rule_.severity,
                       Location{file_left_out_},
                       "there are " + eclipse_base::counted(count_ - eclipse_base::largest::findings, "more finding") +
                           " of this rule, here and in later files, which are left out",
                       "fix those that are shown, and repeat the command",
                       std::nullopt,
                       std::nullopt,
                       false,
                       {}});
}

std::string options_for(Corrects corrects) {
  switch (corrects) {
    case Corrects::no:
      return "";
    case Corrects::safely:
      return "`--fix` does this where only one result is possible.";
    case Corrects::unsafely:
      return "`--fix --unsafe-fixes` does this where one result is probable; check it afterwards.";
    case Corrects::both:
      return "`--fix` does this where only one result is possible; with `--unsafe-fixes`, also where one is probable.";
  }
  return "";
}

std::string_view name_of(Group group) {
  switch (group) {
    case Group::files:
      return "files";
    case Group::lines:
      return "lines";
    case Group::repositories:
      return "repositories";
    case Group::features:
      return "features";
    case Group::orders:
      return "orders";
    case Group::eclipse:
      return "eclipse";
    case Group::session:
      return "session";
    case Group::removal:
      return "removal";
  }
  return "";
}

std::string_view heading_of(Group group) {
  switch (group) {
    case Group::files:
      return "Descriptor files and their locations";
    case Group::lines:
      return "Lines and columns";
    case Group::repositories:
      return "Repositories (column 1)";
    case Group::features:
      return "Features (column 2)";
    case Group::orders:
      return "Orders (column 4)";
    case Group::eclipse:
      return "The Eclipse instance of a session";
    case Group::session:
      return "Sessions as a whole";
    case Group::removal:
      return "Removals";
  }
  return "";
}

const std::vector<Rule>& rules() {
  static const std::vector<Rule> all = [] {
    std::vector<Rule> rules;
    for (const auto& more : {files_rules(),
                             lines_ignored_rules(),
                             lines_unintended_rules(),
                             lines_encoding_rules(),
                             lines_columns_rules(),
                             lines_leftovers_rules(),
                             repositories_paths_rules(),
                             repositories_characters_rules(),
                             repositories_contents_rules(),
                             repositories_places_rules(),
                             repositories_artifacts_rules(),
                             repositories_units_rules(),
                             features_rules(),
                             features_units_rules(),
                             features_singletons_rules(),
                             orders_rules(),
                             eclipse_rules(),
                             eclipse_instance_rules(),
                             eclipse_metadata_cache_rules(),
                             session_rules(),
                             removal_rules()}) {
      rules.insert(rules.end(), more.begin(), more.end());
    }
    return rules;
  }();
  return all;
}

const Rule* find_rule(std::string_view name) {
  const auto found = std::find_if(rules().begin(), rules().end(), [&](const Rule& rule) { return rule.name == name; });
  return found == rules().end() ? nullptr : &*found;
}

std::optional<Group> find_group(std::string_view name) {
  const auto found = std::find_if(groups.begin(), groups.end(), [&](Group group) { return name_of(group) == name; });
  return found == groups.end() ? std::nullopt : std::optional(*found);
}

std::vector<const Rule*> rules_named(std::string_view rule_or_group) {
  const auto group = find_group(rule_or_group);
  std::vector<const Rule*> named;
  for (const Rule& rule : rules()) {
    if (rule.name == rule_or_group || rule.group == group) named.push_back(&rule);
  }
  return named;
}

namespace {

/// "there is no KIND "NAME"", with what is probably meant.
std::string unknown(std::string_view kind, std::string_view name, const std::vector<std::string>& known) {
  const std::string message = "there is no " + std::string(kind) + " " + in_quotes(name);
  const auto meant = similar_word(name, known);
  return message + (meant ? "; " + did_you_mean(*meant) : "; \"eclipse-int explain\" lists them all");
}

std::vector<std::string> rule_names() {
  std::vector<std::string> names;
  for (const Rule& rule : rules()) names.emplace_back(rule.name);
  return names;
}

}  // namespace

std::string unknown_rule(std::string_view name) { return unknown("rule", name, rule_names()); }

std::string unknown_rule_or_group(std::string_view name) {
  std::vector<std::string> names = rule_names();
  for (const Group group : groups) names.emplace_back(name_of(group));
  return unknown("rule or group", name, names);
}

}  // namespace eclipse_lint
