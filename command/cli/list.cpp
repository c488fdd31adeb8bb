#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/file_error.h"
#include "base/json_text.h"
#include "base/printable.h"
#include "base/text.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "p2/repository.h"
#include "report/json_parts.h"
#include "terminal/standard_streams.h"
#include "terminal/table.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_report;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* list_examples =
    "  eclipse-int list tools/sites/alpha tools/sites/beta.zip\n"
    "      List the features of a directory and of an archive.\n"
    "  eclipse-int list --all tools/sites/alpha\n"
    "      List all units, including categories and bundles.\n"
    "  eclipse-int list --json tools/sites/alpha | jq -r '.repositories[].units[].id'\n"
    "      Print only the ids, with the help of jq.\n";

constexpr const char* list_exit_status =
    "Exit status:\n"
    "  0  success\n"
    "  2  there is no p2 repository at a path, or no director can load it; an error in the arguments; or standard\n"
    "     output cannot be written\n";

struct ListOptions {
  std::vector<std::string> paths;
  bool all = false;
  bool json = false;
};

/// A repository that was asked for, by the path that the user gave.
struct Listed {
  std::string path;
  const Repository& repository;
};

std::string_view kind_of(const Unit& unit, const UnitDescription& description) {
  if (description.is_category) return "category";
  return is_feature(unit, description) ? "feature" : "other";
}

/// The categories that units are in, by the ids of the units.
using Categories = std::map<std::string, std::vector<Unit>>;

Categories categories_in(const Repository& repository) {
  Categories categories;
  for (const auto& [category, description] : repository.descriptions) {
    for (const auto& member : description.members) categories[member].push_back(category);
  }
  return categories;
}

std::vector<Unit> listed_units(const Repository& repository, bool all) {
  std::vector<Unit> units;
  for (const auto& [unit, description] : repository.descriptions) {
    if (all || is_feature(unit, description)) units.push_back(unit);
  }
  return units;
}

std::string labels_of(const std::vector<Unit>& categories, const Repository& repository) {
  std::vector<std::string> labels;
  for (const Unit& category : categories) {
    const std::string& label = repository.descriptions.at(category).label;
    labels.push_back(label.empty() ? category.id : label);
  }
  return joined(labels);
}

std::string text_of(const Listed& listed, bool all) {
  const Repository& repository = listed.repository;
  const std::vector<Unit> units = listed_units(repository, all);
  if (units.empty()) return printable(listed.path) + (all ? " has no units\n" : " has no features\n");
  Table table;
  if (all) {
    table.add({"UNIT", "VERSION", "KIND", "NAME", "CATEGORIES"});
  } else {
    table.add({"FEATURE", "VERSION", "NAME", "CATEGORIES"});
  }
  Categories categories = categories_in(repository);
  for (const Unit& unit : units) {
    const UnitDescription& description = repository.descriptions.at(unit);
    std::vector<std::string> row = {unit.id, unit.version, description.label, labels_of(categories[unit.id], repository)};
    if (all) row.insert(row.begin() + 2, std::string(kind_of(unit, description)));
    table.add(std::move(row));
  }
  return printable(listed.path) + "\n" + table.text();
}

Json ids_of(const std::vector<Unit>& units) {
  Json ids = Json::array();
  for (const Unit& unit : units) ids.push_back(unit.id);
  return ids;
}

Json json_of(const Listed& listed, bool all) {
  const Repository& repository = listed.repository;
  Json units = Json::array();
  Categories categories = categories_in(repository);
  for (const Unit& unit : listed_units(repository, all)) {
    const UnitDescription& description = repository.descriptions.at(unit);
    units.push_back({{"id", unit.id},
                     {"version", unit.version},
                     {"kind", kind_of(unit, description)},
                     {"name", description.label},
                     {"categories", ids_of(categories[unit.id])}});
  }
  return {{"path", listed.path},
          {"kind", repository.is_composite   ? "composite"
                   : repository.is_directory ? "directory"
                                             : "archive"},
          {"complete", repository.units.has_value()},
          {"unexaminedBecause", repository.unexamined_because},
          {"missingChildren", repository.missing_children},
          {"units", std::move(units)}};
}

/// What makes it impossible to list what is at a path; empty when nothing does.
std::string error_in(const Repository& repository) {
  if (!repository.exists) return "does not exist; correct the path";
  if (!repository.error.empty()) return "no director can load it: " + repository.error;
  if (repository.is_repository) return "";
  if (repository.nested.empty()) return "is not a p2 repository; give a directory or archive with p2 metadata at its top";
  return "has its p2 metadata in " + in_quotes(repository.nested) + ", not at its top" +
         (repository.is_directory ? "; give that directory" : "; make the archive from that directory");
}

void warn_of_what_is_left_out(const Listed& listed) {
  const std::string begin = "warning: " + printable(listed.path) + ": ";
  const Repository& repository = listed.repository;
  if (!repository.unexamined_because.empty())
    print_message(begin + "it may have more units: " + printable(repository.unexamined_because));
  if (!repository.missing_children.empty()) {
    print_message(begin + "the director skips these children, which do not exist or cannot be loaded: " +
                  printable(joined(repository.missing_children)));
  }
}

void print(const std::vector<Listed>& all_listed, const ListOptions& options) {
  if (options.json) {
    Json repositories = Json::array();
    for (const Listed& listed : all_listed) repositories.push_back(json_of(listed, options.all));
    return print_json({{"repositories", std::move(repositories)}});
  }
  for (const Listed& listed : all_listed) {
    if (&listed != &all_listed.front()) std::cout << "\n";
    std::cout << text_of(listed, options.all);
  }
}

int list_command(const ListOptions& options) {
  Repositories repositories;
  std::vector<Listed> all_listed;
  int status = 0;
  for (const std::string& path : options.paths) {
    const Listed listed{path, repositories.at(path)};
    if (const std::string error = error_in(listed.repository); !error.empty()) {
      print_message(FileError(path, error).what());
      status = 2;
      continue;
    }
    warn_of_what_is_left_out(listed);
    all_listed.push_back(listed);
  }
  print(all_listed, options);
  return status;
}

}  // namespace

Subcommand add_list(const Parser& program) {
  const Parser parser = program.add_subcommand("list", "List the features that p2 repositories (update sites) offer");
  const auto options = std::make_shared<ListOptions>();
  parser.add_option("REPOSITORY", options->paths, "Directories and archives that are p2 repositories")
      .required()
      .option_text("...");
  parser.add_flag("--all", options->all, "List every unit, including categories and bundles");
  add_json_option(parser, options->json, "the repositories");
  parser.set_help("eclipse-int list REPOSITORY... [OPTIONS]", list_examples, list_exit_status);
  return {parser, [options] { return list_command(*options); }};
}

}  // namespace eclipse_cli
